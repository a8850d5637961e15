#pragma once
/// \file
/// Reading what the code under test has written.

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <boost/nowide/convert.hpp>

namespace Brennic::Testing {

/// The path as the library takes it. `path::wstring` would convert by the C locale.
inline std::wstring wide(const std::filesystem::path& path)
{
    return boost::nowide::widen(path.u8string());
}

/// The bytes of a file; empty if there is none. Where reading fails in the middle, as in what the system tells of a process
/// that ends, what was read before.
inline std::string readFile(const std::filesystem::path& path)
{
    std::ostringstream bytes;
    bytes << std::ifstream(path, std::ios::binary).rdbuf(); // unlike an iterator, it does not throw
    return bytes.str();
}

/// The text of what was written in text mode, which Windows ends lines with CR LF in.
inline std::string fromTextMode(const std::string& bytes)
{
    constexpr bool isWindows = std::filesystem::path::preferred_separator != '/';
    std::string text;
    text.reserve(bytes.size());
    for (std::size_t i = 0; i < bytes.size(); ++i)
        if (!isWindows || bytes.compare(i, 2, "\r\n") != 0)
            text += bytes[i];
    return text;
}

/// The text of a file; empty if there is none.
inline std::string readText(const std::filesystem::path& path)
{
    return fromTextMode(readFile(path));
}

inline void writeFile(const std::filesystem::path& path, const std::string& bytes)
{
    std::ofstream(path, std::ios::binary) << bytes;
}

inline std::vector<std::string> splitLines(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

inline std::vector<std::string> readLines(const std::filesystem::path& path)
{
    return splitLines(readText(path));
}

} // namespace Brennic::Testing
