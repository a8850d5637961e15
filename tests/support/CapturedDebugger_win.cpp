#include "support/CapturedDebugger.h"

#include <mutex>

#include <windows.h>

#include <boost/nowide/convert.hpp>

namespace Brennic::Testing {

namespace {

constexpr DWORD wideTextForTheDebugger = 0x4001000A; // DBG_PRINTEXCEPTION_WIDE_C

std::mutex g_mutex;
std::wstring g_text; // guarded by g_mutex

// Text for the debugger is an exception that a debugger handles. So does this, as if it were one.
LONG CALLBACK takeText(EXCEPTION_POINTERS* pointers)
{
    const EXCEPTION_RECORD& record = *pointers->ExceptionRecord;
    if (record.ExceptionCode != wideTextForTheDebugger)
        return EXCEPTION_CONTINUE_SEARCH;
    const std::lock_guard<std::mutex> lock(g_mutex);
    const auto length = static_cast<std::size_t>(record.ExceptionInformation[0]) - 1; // without the zero
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

} // namespace Brennic::Testing
