#include <brn_mesh_common/FileUtil.h>

#include <filesystem>

namespace Brennic::Objects::FileUtil {

namespace {

// std::filesystem knows the platform's separator. Its wide paths are not used: on Linux they throw for
// text that is no valid Unicode.
constexpr auto separator = static_cast<wchar_t>(std::filesystem::path::preferred_separator);
constexpr wchar_t separators[] = {L'/', separator, L'\0'};

} // namespace

std::wstring Combine(const std::wstring& directory, const std::wstring& name)
{
    if (directory.empty())
        return name;
    const bool hasSeparator = directory.find_last_of(separators) == directory.size() - 1;
    return hasSeparator ? directory + name : directory + separator + name;
}

std::wstring GetDirectoryPathFromFilePath(const std::wstring& filePath)
{
    const std::size_t last = filePath.find_last_of(separators);
    if (last == std::wstring::npos)
        return {};
    const std::size_t end = filePath.find_last_not_of(separators, last);
    return end == std::wstring::npos ? filePath.substr(0, 1) : filePath.substr(0, end + 1);
}

} // namespace Brennic::Objects::FileUtil
