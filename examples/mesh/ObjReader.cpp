#include "ObjReader.h"

#include "MeshLines.h"

namespace {

// A corner is counted from 1, or from the last position so far if it is negative.
double toCorner(const MeshLines& lines, std::string_view word, std::size_t positions)
{
    const double index = lines.number(word.substr(0, word.find('/')));
    return index < 0 ? static_cast<double>(positions) + index : index - 1;
}

void addFace(RawMesh& mesh, const MeshLines& lines, const Words& words)
{
    std::array<double, 3> corners = {};
    for (std::size_t i = 1; i < words.size(); ++i)
        corners[(i - 1) % 3] = toCorner(lines, words[i], mesh.positions.size());
    mesh.requireTriangle(words.size() - 1);
    mesh.addTriangle(corners);
}

void addLine(RawMesh& mesh, const MeshLines& lines, const Words& words)
{
    const bool isPlace = words[0] == "v";
    if (!isPlace && words[0] != "f")
        return;
    if (words.size() < 4)
        lines.fail("is incomplete");
    if (isPlace)
        mesh.addPosition({lines.number(words[1]), lines.number(words[2]), lines.number(words[3])});
    else
        addFace(mesh, lines, words);
}

} // namespace

RawMesh readObj(std::string_view text)
{
    RawMesh mesh;
    MeshLines lines(text);
    for (const Words* words = &lines.next(); !words->empty(); words = &lines.next())
        addLine(mesh, lines, *words);
    mesh.requireCornersExist();
    mesh.isLastLineOpen = !text.empty() && text.back() != '\n';
    return mesh;
}
