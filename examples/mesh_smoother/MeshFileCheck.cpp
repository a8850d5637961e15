#include "MeshFileCheck.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "MeshFormat.h"

namespace {

constexpr const char* cutShort = "it is cut short";

using Words = std::vector<std::string_view>;

// The words of a line, up to a comment.
Words words(std::string_view line)
{
    constexpr std::string_view blanks = " \t\r";
    line = line.substr(0, line.find('#'));
    Words found;
    for (std::size_t start = line.find_first_not_of(blanks); start != std::string_view::npos;) {
        const std::size_t end = std::min(line.find_first_of(blanks, start), line.size());
        found.push_back(line.substr(start, end - start));
        start = line.find_first_not_of(blanks, end);
    }
    return found;
}

// Walks the lines that hold something but a comment.
class Lines
{
public:
    explicit Lines(std::istream& file) : m_file(file) {}

    /// The words of the next line, valid until the next call; none at the end of the file.
    Words next()
    {
        Words found;
        while (found.empty() && std::getline(m_file, m_line))
            found = words(m_line);
        return found;
    }

    bool isAtEnd() const { return m_file.eof(); }
    const std::string& text() const { return m_line; }

private:
    std::istream& m_file;
    std::string m_line;
};

std::size_t toCount(std::string_view word)
{
    const bool isNumber = !word.empty() && std::all_of(word.begin(), word.end(), [](unsigned char character) {
        return std::isdigit(character) != 0;
    });
    return isNumber && word.size() < 12 ? std::stoull(std::string(word)) : 0;
}

// A list of counted lines: vertices, and faces that begin with their number of corners.
std::string checkCountedLines(Lines& lines, std::size_t vertices, std::size_t faces)
{
    for (std::size_t i = 0; i < vertices; ++i)
        if (lines.next().size() < 3)
            return cutShort;
    for (std::size_t i = 0; i < faces; ++i) {
        const Words face = lines.next();
        if (face.empty() || face.size() < 1 + toCount(face.front()))
            return cutShort;
    }
    return {};
}

std::string checkOff(std::istream& file)
{
    Lines lines(file);
    Words header = lines.next();
    if (header.empty() || header.front().find("OFF") == std::string_view::npos)
        return "it does not begin as an OFF file does";
    header.erase(header.begin());
    if (header.empty())
        header = lines.next();
    if (header.size() < 2)
        return cutShort;
    const std::size_t vertices = toCount(header[0]);
    const std::size_t faces = toCount(header[1]);
    return checkCountedLines(lines, vertices, faces);
}

struct PlyElement
{
    std::string name;
    std::size_t count = 0;
    std::size_t bytes = 0; // at least, in a binary file
};

std::size_t plyTypeSize(std::string_view type)
{
    constexpr struct
    {
        std::string_view name;
        std::size_t size;
    } types[] = {{"char", 1},  {"uchar", 1},   {"int8", 1},   {"uint8", 1},  {"short", 2}, {"ushort", 2},
                 {"int16", 2}, {"uint16", 2},  {"int", 4},    {"uint", 4},   {"int32", 4}, {"uint32", 4},
                 {"float", 4}, {"float32", 4}, {"double", 8}, {"float64", 8}};
    for (const auto& candidate : types)
        if (type == candidate.name)
            return candidate.size;
    return 0;
}

std::size_t plyPropertySize(const Words& property)
{
    if (property.size() < 3)
        return 0;
    if (property[1] != "list")
        return plyTypeSize(property[1]);
    const bool isCorners = property.size() > 4 && property[4].rfind("vertex_ind", 0) == 0;
    return plyTypeSize(property[2]) + (isCorners ? 3 * plyTypeSize(property[3]) : 0);
}

struct PlyHeader
{
    bool isText = true;
    bool isComplete = false;
    std::vector<PlyElement> elements;
};

PlyHeader readPlyHeader(std::istream& file)
{
    PlyHeader header;
    Lines lines(file);
    for (Words found = lines.next(); !found.empty(); found = lines.next()) {
        if (found.size() > 1 && found[0] == "format")
            header.isText = found[1] == "ascii";
        else if (found.size() > 2 && found[0] == "element")
            header.elements.push_back({std::string(found[1]), toCount(found[2]), 0});
        else if (found[0] == "property" && !header.elements.empty())
            header.elements.back().bytes += plyPropertySize(found);
        else if (found[0] == "end_header") {
            header.isComplete = true;
            break;
        }
    }
    return header;
}

std::string checkPlyText(std::istream& file, const PlyHeader& header)
{
    Lines lines(file);
    for (const PlyElement& element : header.elements) {
        const std::size_t vertices = element.name == "vertex" ? element.count : 0;
        const std::size_t faces = element.name == "face" ? element.count : 0;
        if (std::string defect = checkCountedLines(lines, vertices, faces); !defect.empty())
            return defect;
    }
    return {};
}

FileCheck checkPly(std::istream& file, std::uintmax_t size)
{
    const PlyHeader header = readPlyHeader(file);
    if (!header.isComplete)
        return {"it has no complete PLY header"};
    if (header.isText)
        return {checkPlyText(file, header)};
    auto needed = static_cast<std::uintmax_t>(file.tellg());
    for (const PlyElement& element : header.elements)
        needed += element.count * element.bytes;
    return {size < needed ? cutShort : "", false};
}

bool isTextStl(const std::string& start)
{
    return start.rfind("solid", 0) == 0 && start.find("facet") != std::string::npos;
}

FileCheck checkStl(std::istream& file, std::uintmax_t size)
{
    std::string start(1024, '\0');
    file.read(start.data(), static_cast<std::streamsize>(start.size()));
    start.resize(static_cast<std::size_t>(file.gcount()));
    if (isTextStl(start)) {
        file.clear();
        file.seekg(-static_cast<std::streamoff>(std::min<std::uintmax_t>(size, 256)), std::ios::end);
        const std::string end{std::istreambuf_iterator<char>(file), {}};
        return {end.find("endsolid") == std::string::npos ? cutShort : ""};
    }
    constexpr std::size_t headerSize = 84;
    constexpr std::uintmax_t triangleSize = 50;
    if (start.size() < headerSize)
        return {cutShort};
    std::uint32_t count = 0;
    std::memcpy(&count, start.data() + 80, sizeof(count));
    return {size < headerSize + triangleSize * count ? cutShort : "", false};
}

std::string checkObj(std::istream& file)
{
    Lines lines(file);
    for (Words found = lines.next(); !found.empty(); found = lines.next()) {
        const bool isPlaceOrFace = found[0] == "v" || found[0] == "f";
        if (isPlaceOrFace && found.size() < 4)
            return lines.isAtEnd() ? cutShort : "line \"" + lines.text().substr(0, 40) + "\" is incomplete";
    }
    return {};
}

bool lastByteEndsALine(std::istream& file)
{
    file.clear();
    file.seekg(-1, std::ios::end);
    return file.get() == '\n';
}

FileCheck checkContent(std::istream& file, const std::string& extension, std::uintmax_t size)
{
    if (extension == ".off")
        return {checkOff(file)};
    if (extension == ".ply")
        return checkPly(file, size);
    if (extension == ".stl")
        return checkStl(file, size);
    return {checkObj(file)};
}

std::string accessDefect(const std::filesystem::path& path)
{
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(path, error);
    if (status.type() == std::filesystem::file_type::not_found)
        return "there is no such file";
    if (error)
        return error.message();
    if (!std::filesystem::is_regular_file(status))
        return "it is not a file";
    if (!isMeshFileName(path))
        return "its name ends in none of .obj, .ply, .stl and .off";
    return std::filesystem::file_size(path) == 0 ? "it is empty" : "";
}

} // namespace

FileCheck checkMeshFile(const std::filesystem::path& path)
{
    if (const std::string defect = accessDefect(path); !defect.empty())
        return {defect};
    std::ifstream file(path, std::ios::binary);
    if (!file)
        return {"it cannot be opened for reading"};
    FileCheck check = checkContent(file, meshExtension(path), std::filesystem::file_size(path));
    check.isLastLineOpen = check.isText && !lastByteEndsALine(file);
    return check;
}
