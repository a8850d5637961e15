#include <brn_mesh_common/minidump/DumpPath_linux.h>

#include <climits>
#include <cstdlib>
#include <ctime>
#include <cwchar>

#include <boost/nowide/utf/convert.hpp>
#include <brn_mesh_common/minidump/RandomName_linux.h>
#include <brn_mesh_common/minidump/Syscall_linux.h>
#include <fcntl.h>

namespace Brennic::Minidump {

namespace {

constexpr std::size_t longestName = 180; // short enough for a file name with the rest

// Reads the link of the calling process, which is always allowed. The dump's helper has the same executable.
void appendExecutableName(PathText& path)
{
    std::array<char, PATH_MAX> target{};
    const long size = systemCall(SYS_readlinkat, AT_FDCWD, "/proc/self/exe", target.data(), target.size());
    std::string_view name(target.data(), size > 0 ? static_cast<std::size_t>(size) : 0);
    name.remove_prefix(name.rfind('/') + 1);
    name = name.substr(0, name.find(" (deleted)"));
    path.append(name.empty() ? "process" : name.substr(0, longestName));
}

// Year, month, day from the days since 1970, in the calendar that starts its years in March.
void appendDate(PathText& path, std::uint64_t daysSince1970)
{
    const std::uint64_t days = daysSince1970 + 719468;
    const std::uint64_t era = days / 146097;
    const std::uint64_t dayOfEra = days % 146097;
    const std::uint64_t yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const std::uint64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const std::uint64_t monthFromMarch = (5 * dayOfYear + 2) / 153;
    const std::uint64_t month = monthFromMarch < 10 ? monthFromMarch + 3 : monthFromMarch - 9;
    path.appendDecimal(yearOfEra + era * 400 + (month <= 2 ? 1 : 0), 4);
    path.appendDecimal(month, 2).appendDecimal(dayOfYear - (153 * monthFromMarch + 2) / 5 + 1, 2);
}

// In UTC: local time needs tables that the C library loads and locks.
void appendTime(PathText& path)
{
    timespec now{};
    systemCall(SYS_clock_gettime, CLOCK_REALTIME, &now);
    const auto seconds = static_cast<std::uint64_t>(now.tv_sec);
    appendDate(path, seconds / 86400);
    path.append('-').appendDecimal(seconds / 3600 % 24, 2);
    path.appendDecimal(seconds / 60 % 60, 2).appendDecimal(seconds % 60, 2);
}

} // namespace

PathText toUtf8Path(const wchar_t* path)
{
    using Utf8 = boost::nowide::utf::utf_traits<char>;
    using Wide = boost::nowide::utf::utf_traits<wchar_t>;
    PathText text;
    for (const wchar_t* const end = path + std::wcslen(path); path != end;) {
        boost::nowide::utf::code_point code = Wide::decode(path, end);
        if (code == boost::nowide::utf::illegal || code == boost::nowide::utf::incomplete)
            code = 0xfffd;
        std::array<char, 4> bytes{};
        const char* const bytesEnd = Utf8::encode(code, bytes.data());
        text.append({bytes.data(), static_cast<std::size_t>(bytesEnd - bytes.data())});
    }
    return text;
}

PathText temporaryDumpPath(std::int32_t process)
{
    const char* const directory = std::getenv("TMPDIR");
    const bool isSet = directory != nullptr && directory[0] == '/';
    PathText path;
    path.append(isSet ? directory : "/tmp").append('/');
    appendExecutableName(path);
    path.append('-').appendDecimal(static_cast<std::uint64_t>(process)).append('-');
    appendTime(path);
    path.append('-');
    appendRandomName(path);
    path.append(".dmp");
    return path;
}

} // namespace Brennic::Minidump
