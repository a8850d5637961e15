#include "StlReader.h"

#include <algorithm>
#include <map>
#include <utility>

#include "BinaryNumber.h"
#include "MeshLines.h"

namespace {

constexpr std::size_t headerSize = 84;
constexpr std::size_t triangleSize = 50;

class StlMesh
{
public:
    double corner(const std::array<double, 3>& position)
    {
        m_mesh.addPosition(position);
        const auto [found, isNew] = m_corners.emplace(m_mesh.positions.back(), m_corners.size());
        if (!isNew)
            m_mesh.positions.pop_back();
        return static_cast<double>(found->second);
    }

    RawMesh& mesh() { return m_mesh; }

private:
    RawMesh m_mesh;
    std::map<RawMesh::Position, std::size_t> m_corners;
};

std::size_t triangleCount(std::string_view bytes)
{
    return bytes.size() < headerSize ? 0 : static_cast<std::size_t>(binaryUint32(bytes.substr(80)));
}

// Binary headers may begin as texts do, but a text holds no zero bytes.
bool isText(std::string_view bytes)
{
    const bool hasBinarySize =
        bytes.size() >= headerSize && bytes.size() == headerSize + triangleSize * triangleCount(bytes);
    return !hasBinarySize && bytes.substr(0, 5) == "solid" &&
           bytes.substr(0, headerSize).find('\0') == std::string_view::npos;
}

void addTriangle(StlMesh& stl, std::string_view triangle)
{
    std::array<double, 3> corners = {};
    for (std::size_t i = 0; i < corners.size(); ++i) {
        const std::string_view place = triangle.substr(12 * (i + 1));
        corners[i] =
            stl.corner({binaryFloat(place), binaryFloat(place.substr(4)), binaryFloat(place.substr(8))});
    }
    stl.mesh().addTriangle(corners);
}

RawMesh readBinary(std::string_view bytes)
{
    const std::size_t count = triangleCount(bytes);
    if (bytes.size() < headerSize || (bytes.size() - headerSize) / triangleSize < count)
        throw MeshFileDefect(cutShort);
    StlMesh stl;
    for (std::size_t i = 0; i < count; ++i)
        addTriangle(stl, bytes.substr(headerSize + triangleSize * i, triangleSize));
    return std::move(stl.mesh());
}

double readCorner(StlMesh& stl, MeshLines& lines)
{
    const Words& words = lines.require(4);
    if (words[0] != "vertex")
        lines.fail("stands where a vertex should");
    return stl.corner({lines.number(words[1]), lines.number(words[2]), lines.number(words[3])});
}

void requireLine(MeshLines& lines, std::string_view keyword)
{
    if (lines.require(1)[0] != keyword)
        lines.fail("is damaged");
}

void readFacet(StlMesh& stl, MeshLines& lines)
{
    requireLine(lines, "outer");
    const double first = readCorner(stl, lines);
    const double second = readCorner(stl, lines);
    stl.mesh().addTriangle({first, second, readCorner(stl, lines)});
    requireLine(lines, "endloop");
    requireLine(lines, "endfacet");
}

void readSolid(StlMesh& stl, MeshLines& lines)
{
    for (;;) {
        const Words& words = lines.require(1);
        if (words[0] == "endsolid")
            return;
        if (words[0] != "facet")
            lines.fail("is damaged");
        readFacet(stl, lines);
    }
}

RawMesh readText(std::string_view text)
{
    StlMesh stl;
    MeshLines lines(text);
    for (const Words* words = &lines.next(); !words->empty(); words = &lines.next()) {
        if (words->front() != "solid")
            lines.fail("is damaged");
        readSolid(stl, lines);
    }
    return std::move(stl.mesh());
}

} // namespace

RawMesh readStl(std::string_view bytes)
{
    return isText(bytes) ? readText(bytes) : readBinary(bytes);
}
