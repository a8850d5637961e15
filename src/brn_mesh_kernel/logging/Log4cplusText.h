#pragma once
/// \file
/// Internal, not installed. Text for log4cplus, and the library's own appenders for console and file. The
/// only file that knows whether log4cplus was built for narrow or for wide text.
///
/// Narrow text in log4cplus is UTF-8 here, and its streams pass the bytes through. Wide streams convert by
/// their locale, so they get one that writes UTF-8 whatever the host has set.

#include <algorithm>
#include <filesystem>
#include <ios>
#include <limits>
#include <locale>
#include <string>
#include <type_traits>

#include <boost/nowide/convert.hpp>
#include <boost/nowide/utf8_codecvt.hpp>
#include <log4cplus/consoleappender.h>
#include <log4cplus/fileappender.h>
#include <log4cplus/spi/loggingevent.h>
#include <log4cplus/tstring.h>

#include <brn_mesh_common/ValidUnicode.h>
#include <brn_mesh_kernel/library/LiveLine.h>
#include <brn_mesh_kernel/library/StandardOutput.h>

namespace Brennic::Core {

/// Returns the text as log4cplus takes it, what is no valid Unicode replaced by U+FFFD.
template <typename Text = log4cplus::tstring>
Text toLog4cplusText(const std::wstring& text)
{
    if constexpr (std::is_same_v<Text, std::string>)
        return boost::nowide::narrow(text);
    else if constexpr (sizeof(wchar_t) == sizeof(char16_t))
        return Objects::Util::validUnicode(text);
    else
        return boost::nowide::widen(boost::nowide::narrow(text)); // there and back replaces what is invalid
}

/// Returns log4cplus's text as UTF-8.
inline std::string toUtf8(const std::wstring& text)
{
    return boost::nowide::narrow(text);
}
inline const std::string& toUtf8(const std::string& text)
{
    return text;
}

/// The locale for log files: UTF-8 for wide streams, without effect on narrow ones.
inline std::locale utf8Locale()
{
    return std::locale(std::locale::classic(), new boost::nowide::utf8_codecvt<wchar_t>);
}

/// Keeps writing to a full file that cannot be renamed; log4cplus would empty it and lose the records.
/// Renaming is tried again when the file has grown by as much again.
class KeepingFileAppender : public log4cplus::RollingFileAppender
{
public:
    KeepingFileAppender(const log4cplus::tstring& path, long maxSize, int maxBackups, bool flushes)
        : log4cplus::RollingFileAppender(path, maxSize, maxBackups, flushes), m_maxSize(maxFileSize)
    {
    }
    ~KeepingFileAppender() override { destructorImpl(); }

protected:
    // log4cplus opens an empty file after it has renamed the full one, whether that worked or not. Opened for
    // appending the file is empty if it worked, and else has a size, from which the next limit follows.
    void open(std::ios_base::openmode mode) override
    {
        openByName(std::ios_base::app | std::ios_base::ate);
        if ((mode & std::ios_base::trunc) == 0 || !out.good())
            return;
        const std::streamoff size = out.tellp();
        const long most = std::numeric_limits<long>::max() - m_maxSize;
        maxFileSize = static_cast<long>(std::min<std::streamoff>(size, most)) + m_maxSize;
    }
    virtual void openByName(std::ios_base::openmode mode) { log4cplus::RollingFileAppender::open(mode); }

private:
    const long m_maxSize;
};

/// Opens the file by its wide name, on platforms where files have one. log4cplus may open it by a narrow
/// name, which not every file has there. Its constructor opens a file in any case, so it is given the null
/// device.
class WideFileAppender : public KeepingFileAppender
{
public:
    WideFileAppender(const log4cplus::tstring& path, long maxSize, int maxBackups, bool flushes)
        : KeepingFileAppender(LOG4CPLUS_TEXT("NUL"), maxSize, maxBackups, flushes)
    {
        out.close();
        out.clear();
        filename = path;
        WideFileAppender::openByName(fileOpenMode);
    }
    ~WideFileAppender() override { destructorImpl(); }

protected:
    void openByName(std::ios_base::openmode mode) override
    {
        out.open(std::filesystem::path(filename), mode);
        if (!out.good())
            getErrorHandler()->error(LOG4CPLUS_TEXT("Unable to open file: ") + filename);
    }
};

constexpr bool haveFilesWideNames = std::is_same_v<std::filesystem::path::value_type, wchar_t>;
using RollingFileAppender =
    std::conditional_t<haveFilesWideNames && std::is_same_v<log4cplus::tchar, wchar_t>, WideFileAppender,
                       KeepingFileAppender>;

/// Writes records to the standard output as UTF-8, by StandardOutput.h, because the wide standard stream
/// converts by the C locale. A terminal may show a live line there (LiveLine.h), which is erased first.
class ConsoleAppender : public log4cplus::ConsoleAppender
{
public:
    using log4cplus::ConsoleAppender::ConsoleAppender;
    ~ConsoleAppender() override { destructorImpl(); }

protected:
    void append(const log4cplus::spi::InternalLoggingEvent& event) override
    {
        const LiveLine::Hidden hidden;
        writeToStandardOutput(toUtf8(formatEvent(event)));
    }
};

} // namespace Brennic::Core
