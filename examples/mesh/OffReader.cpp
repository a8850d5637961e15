#include "OffReader.h"

#include "MeshLines.h"

namespace {

// Letters before the word name what follows a position; four coordinates are not among them.
bool isOffWord(std::string_view word)
{
    constexpr std::string_view off = "OFF";
    return word.size() >= off.size() && word.substr(word.size() - off.size()) == off &&
           word.find_first_not_of("STCN") == word.size() - off.size();
}

// The counts of vertices and faces stand behind the first word or on the next line.
std::array<std::size_t, 2> readCounts(MeshLines& lines)
{
    const Words& first = lines.next();
    if (first.empty() || !isOffWord(first[0]))
        throw MeshFileDefect("it does not begin as an OFF file does");
    if (first.size() > 1 && first[1] == "BINARY")
        throw MeshFileDefect("binary OFF is not supported");
    if (first.size() > 2)
        return {lines.count(first[1]), lines.count(first[2])};
    if (first.size() > 1)
        lines.fail("is incomplete");
    const Words& second = lines.require(2);
    return {lines.count(second[0]), lines.count(second[1])};
}

void addVertex(RawMesh& mesh, MeshLines& lines)
{
    const Words& words = lines.require(3);
    mesh.addPosition({lines.number(words[0]), lines.number(words[1]), lines.number(words[2])});
}

void addFace(RawMesh& mesh, MeshLines& lines)
{
    const Words& words = lines.require(1);
    const std::size_t corners = lines.count(words[0]);
    if (corners == 0 || corners > mesh.positions.size())
        lines.fail("has an impossible count");
    if (words.size() <= corners)
        lines.fail("is incomplete");
    mesh.requireTriangle(corners);
    mesh.addTriangle({lines.number(words[1]), lines.number(words[2]), lines.number(words[3])});
}

} // namespace

RawMesh readOff(std::string_view text)
{
    RawMesh mesh;
    MeshLines lines(text);
    const auto [vertices, faces] = readCounts(lines);
    for (std::size_t i = 0; i < vertices; ++i)
        addVertex(mesh, lines);
    for (std::size_t i = 0; i < faces; ++i)
        addFace(mesh, lines);
    mesh.requireCornersExist();
    mesh.isLastLineOpen = text.back() != '\n';
    return mesh;
}
