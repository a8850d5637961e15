#pragma once
/// \file
/// Internal, not installed. The only file that knows whether log4cplus was built for narrow or for wide text.
///
/// Narrow text in log4cplus is UTF-8 here, and its streams pass the bytes through. Wide streams convert by
/// their locale, so they get one that writes UTF-8 whatever the host has set.

#include <filesystem>
#include <iostream>
#include <locale>
#include <sstream>
#include <string>
#include <type_traits>

#include <boost/nowide/convert.hpp>
#include <boost/nowide/utf8_codecvt.hpp>
#include <log4cplus/consoleappender.h>
#include <log4cplus/fileappender.h>
#include <log4cplus/spi/loggingevent.h>
#include <log4cplus/streams.h>
#include <log4cplus/tstring.h>

#include <brn_mesh_common/ValidUnicode.h>

namespace Brennic::Core {

/// Returns the text as log4cplus takes it, what is no valid Unicode replaced by U+FFFD.
template <typename Text = log4cplus::tstring>
Text toLog4cplusText(const std::wstring& text)
{
    if constexpr (std::is_same_v<Text, std::wstring>)
        return Objects::Util::validUnicode(text);
    else
        return boost::nowide::narrow(text);
}

/// Returns log4cplus's text as UTF-8.
inline std::string toUtf8(const std::wstring& text)
{
    return boost::nowide::narrow(text);
}
inline std::string toUtf8(const std::string& text)
{
    return text;
}

/// The locale for log files: UTF-8 for wide streams, without effect on narrow ones.
inline std::locale utf8Locale()
{
    return std::locale(std::locale::classic(), new boost::nowide::utf8_codecvt<wchar_t>);
}

/// Writes wide records to the standard output as UTF-8. The wide standard stream itself depends on the C
/// locale.
class Utf8ConsoleAppender : public log4cplus::ConsoleAppender
{
public:
    using log4cplus::ConsoleAppender::ConsoleAppender;
    ~Utf8ConsoleAppender() override { destructorImpl(); }

protected:
    void append(const log4cplus::spi::InternalLoggingEvent& event) override
    {
        log4cplus::tostringstream record;
        layout->formatAndAppend(record, event);
        const log4cplus::thread::MutexGuard guard(getOutputMutex());
        std::cout << toUtf8(record.str());
    }
};

/// Opens the file by its wide name. log4cplus may do it by the narrow one, which not every file has.
class WideFileAppender : public log4cplus::RollingFileAppender
{
public:
    WideFileAppender(const log4cplus::tstring& path, long maxSize, int maxBackups, bool flushes)
        : log4cplus::RollingFileAppender(LOG4CPLUS_TEXT("NUL"), maxSize, maxBackups, flushes)
    {
        out.close();
        out.clear();
        filename = path;
        WideFileAppender::open(fileOpenMode);
    }
    ~WideFileAppender() override { destructorImpl(); }

protected:
    void open(std::ios_base::openmode mode) override
    {
        out.open(std::filesystem::path(filename), mode);
        if (!out.good())
            getErrorHandler()->error(LOG4CPLUS_TEXT("Unable to open file: ") + filename);
    }
};

using RollingFileAppender = std::conditional_t<std::is_same_v<log4cplus::tchar, char>,
                                               log4cplus::RollingFileAppender, WideFileAppender>;

using ConsoleAppender = std::conditional_t<std::is_same_v<log4cplus::tchar, char>, log4cplus::ConsoleAppender,
                                           Utf8ConsoleAppender>;

} // namespace Brennic::Core
