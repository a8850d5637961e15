#include "support/CapturedDebugger.h"

#include <mutex>

#include <windows.h>

#include <boost/nowide/convert.hpp>

namespace Brennic::Testing {

namespace {

constexpr DWORD ansiTextForTheDebugger = 0x40010006; // DBG_PRINTEXCEPTION_C
constexpr DWORD wideTextForTheDebugger = 0x4001000A; // DBG_PRINTEXCEPTION_WIDE_C

std::mutex g_mutex;
std::wstring g_text;   // guarded by g_mutex
bool g_isAnsi = false; // guarded by g_mutex

std::wstring fromAnsi(const char* text, int length)
{
    std::wstring wide(static_cast<std::size_t>(length), L'\0');
    const int written = MultiByteToWideChar(CP_ACP, 0, text, length, wide.data(), length);
    wide.resize(static_cast<std::size_t>(written));
    return wide;
}

std::string toAnsi(const std::wstring& text)
{
    const auto length = static_cast<int>(text.size());
    std::string ansi(4 * text.size(), '\0');
    const int written = WideCharToMultiByte(CP_ACP, 0, text.data(), length, ansi.data(),
                                            static_cast<int>(ansi.size()), nullptr, nullptr);
    ansi.resize(static_cast<std::size_t>(written));
    return ansi;
}

// Text for the debugger is an exception that a debugger handles. So does this, as if it were one. Where the wide
// text is sent, it comes first, and the other is not sent once it has been handled.
LONG CALLBACK takeText(EXCEPTION_POINTERS* pointers)
{
    const EXCEPTION_RECORD& record = *pointers->ExceptionRecord;
    const bool isAnsi = record.ExceptionCode == ansiTextForTheDebugger;
    if (!isAnsi && record.ExceptionCode != wideTextForTheDebugger)
        return EXCEPTION_CONTINUE_SEARCH;
    const std::lock_guard<std::mutex> lock(g_mutex);
    g_isAnsi = isAnsi;
    const auto length = static_cast<std::size_t>(record.ExceptionInformation[0]) - 1; // without the zero
    if (isAnsi)
        g_text +=
            fromAnsi(reinterpret_cast<const char*>(record.ExceptionInformation[1]), static_cast<int>(length));
    else
        g_text.append(reinterpret_cast<const wchar_t*>(record.ExceptionInformation[1]), length);
    return EXCEPTION_CONTINUE_EXECUTION;
}

} // namespace

class CapturedDebugger::Impl
{
public:
    Impl() : m_handler(AddVectoredExceptionHandler(1, takeText))
    {
        const std::lock_guard<std::mutex> lock(g_mutex);
        g_text.clear();
    }
    ~Impl() { RemoveVectoredExceptionHandler(m_handler); }
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

private:
    void* m_handler;
};

CapturedDebugger::CapturedDebugger() : m_impl(std::make_unique<Impl>()) {}

CapturedDebugger::~CapturedDebugger() = default;

std::string CapturedDebugger::text() const
{
    const std::lock_guard<std::mutex> lock(g_mutex);
    return boost::nowide::narrow(g_text);
}

std::string CapturedDebugger::shown(const std::string& utf8Line) const
{
    constexpr std::size_t longestAnsiText = 32766; // what a UNICODE_STRING holds
    const std::lock_guard<std::mutex> lock(g_mutex);
    if (!g_isAnsi)
        return utf8Line;
    const std::string ansi = toAnsi(boost::nowide::widen(utf8Line).substr(0, longestAnsiText));
    return boost::nowide::narrow(fromAnsi(ansi.data(), static_cast<int>(ansi.size())));
}

} // namespace Brennic::Testing
