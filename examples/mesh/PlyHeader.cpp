#include "PlyHeader.h"

#include <algorithm>
#include <array>

#include "MeshLines.h"
#include "RawMesh.h"

namespace {

const PlyType* findType(std::string_view name)
{
    static constexpr std::array<PlyType, 16> types = {{{"char", 1, PlyType::Signed},
                                                       {"int8", 1, PlyType::Signed},
                                                       {"uchar", 1, PlyType::Unsigned},
                                                       {"uint8", 1, PlyType::Unsigned},
                                                       {"short", 2, PlyType::Signed},
                                                       {"int16", 2, PlyType::Signed},
                                                       {"ushort", 2, PlyType::Unsigned},
                                                       {"uint16", 2, PlyType::Unsigned},
                                                       {"int", 4, PlyType::Signed},
                                                       {"int32", 4, PlyType::Signed},
                                                       {"uint", 4, PlyType::Unsigned},
                                                       {"uint32", 4, PlyType::Unsigned},
                                                       {"float", 4, PlyType::Real},
                                                       {"float32", 4, PlyType::Real},
                                                       {"double", 8, PlyType::Real},
                                                       {"float64", 8, PlyType::Real}}};
    const auto* const found =
        std::find_if(types.begin(), types.end(), [name](const PlyType& type) { return type.name == name; });
    return found == types.end() ? nullptr : &*found;
}

const PlyType* requireType(const MeshLines& lines, std::string_view name)
{
    const PlyType* const type = findType(name);
    if (type == nullptr)
        lines.fail("names an unknown type");
    return type;
}

PlyFormat readFormat(MeshLines& lines)
{
    const Words& words = lines.require(3);
    if (words[0] != "format" || words[2] != "1.0")
        lines.fail("names an unknown format");
    if (words[1] == "ascii")
        return PlyFormat::Text;
    if (words[1] == "binary_little_endian")
        return PlyFormat::LittleEndian;
    if (words[1] != "binary_big_endian")
        lines.fail("names an unknown format");
    return PlyFormat::BigEndian;
}

PlyProperty readProperty(const MeshLines& lines, const Words& words)
{
    const bool isList = words.size() == 5 && words[1] == "list";
    if (!isList && words.size() != 3)
        lines.fail("is incomplete");
    PlyProperty property = {std::string(words.back()), requireType(lines, words[words.size() - 2]), nullptr};
    if (isList) {
        property.countType = requireType(lines, words[2]);
        if (property.countType->kind == PlyType::Real)
            lines.fail("counts with a type that cannot count");
    }
    return property;
}

void addElement(PlyHeader& header, const MeshLines& lines, const Words& words)
{
    if (words.size() != 3)
        lines.fail("is incomplete");
    const bool isKnown = std::any_of(header.elements.begin(), header.elements.end(),
                                     [&words](const PlyElement& known) { return known.name == words[1]; });
    if (isKnown)
        lines.fail("stands there a second time");
    header.elements.push_back({std::string(words[1]), lines.count(words[2]), {}});
}

void addLine(PlyHeader& header, const MeshLines& lines, const Words& words)
{
    if (words[0] == "element")
        addElement(header, lines, words);
    else if (words[0] == "property" && !header.elements.empty())
        header.elements.back().properties.push_back(readProperty(lines, words));
    else if (words[0] != "comment" && words[0] != "obj_info")
        lines.fail("does not belong into a PLY header");
}

const PlyElement& requireElement(const PlyHeader& header, const std::string& name)
{
    for (const PlyElement& element : header.elements)
        if (element.name == name)
            return element;
    throw MeshFileDefect("its PLY header names no element \"" + name + "\"");
}

void requireMesh(const PlyHeader& header)
{
    const std::vector<PlyProperty>& vertex = requireElement(header, "vertex").properties;
    for (const char* const axis : {"x", "y", "z"})
        if (std::count_if(vertex.begin(), vertex.end(), [axis](const PlyProperty& property) {
                return property.name == axis && property.countType == nullptr;
            }) != 1)
            throw MeshFileDefect("its vertices have no x, y and z");
    const std::vector<PlyProperty>& face = requireElement(header, "face").properties;
    if (std::count_if(face.begin(), face.end(),
                      [](const PlyProperty& property) { return property.isCornerList(); }) != 1)
        throw MeshFileDefect("its faces have no list of corners");
}

} // namespace

bool PlyProperty::isCornerList() const
{
    return countType != nullptr && (name == "vertex_index" || name == "vertex_indices");
}

PlyHeader readPlyHeader(std::string_view bytes)
{
    constexpr const char* noHeader = "it has no complete PLY header";
    MeshLines lines(bytes);
    const Words& first = lines.next();
    if (bytes.substr(0, 3) != "ply" || first.size() != 1 || first[0] != "ply")
        throw MeshFileDefect(noHeader);
    PlyHeader header;
    header.format = readFormat(lines);
    for (const Words* words = &lines.next(); words->empty() || words->front() != "end_header";
         words = &lines.next()) {
        if (words->empty())
            throw MeshFileDefect(noHeader);
        addLine(header, lines, *words);
    }
    requireMesh(header);
    header.body = lines.rest();
    return header;
}
