#include "Platform.h"

#include <atomic>
#include <cstring>
#include <utility>

#include <windows.h>

#include <QWinEventNotifier>

namespace {

std::atomic<bool> g_isCaught{false};

HANDLE interruption()
{
    static const HANDLE event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    return event;
}

// Called in a thread of the system's.
BOOL WINAPI passOn(DWORD kind)
{
    const bool isForUs = kind == CTRL_C_EVENT || kind == CTRL_BREAK_EVENT;
    if (!isForUs || g_isCaught.exchange(true))
        return FALSE; // the next handler ends the process
    SetEvent(interruption());
    return TRUE;
}

} // namespace

class TerminalOutput::Impl
{
public:
    Impl() : m_savedCodePage(GetConsoleOutputCP()) { SetConsoleOutputCP(CP_UTF8); }
    ~Impl()
    {
        if (m_savedCodePage != 0)
            SetConsoleOutputCP(m_savedCodePage);
    }
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

private:
    UINT m_savedCodePage; // 0 without a console
};

TerminalOutput::TerminalOutput() : m_impl(std::make_unique<Impl>()) {}

TerminalOutput::~TerminalOutput() = default;

void endInterrupted()
{
    constexpr UINT controlCExit = 0xC000013A; // what the system's own handler ends a process with
    ExitProcess(controlCExit);
}

class InterruptWatch::Impl
{
public:
    explicit Impl(std::function<void()> interrupted) : m_notifier(interruption())
    {
        QObject::connect(&m_notifier, &QWinEventNotifier::activated, &m_notifier,
                         [this, call = std::move(interrupted)] {
                             m_notifier.setEnabled(false);
                             call();
                         });
        SetConsoleCtrlHandler(passOn, TRUE);
    }

private:
    QWinEventNotifier m_notifier;
};

InterruptWatch::InterruptWatch(std::function<void()> interrupted)
    : m_impl(std::make_unique<Impl>(std::move(interrupted)))
{
}

InterruptWatch::~InterruptWatch() = default;

void raiseIllegalInstruction()
{
    RaiseException(EXCEPTION_ILLEGAL_INSTRUCTION, EXCEPTION_NONCONTINUABLE, 0, nullptr);
}

void printWithoutMemory(const char* text)
{
    DWORD written = 0;
    WriteFile(GetStdHandle(STD_ERROR_HANDLE), text, static_cast<DWORD>(std::strlen(text)), &written, nullptr);
}
