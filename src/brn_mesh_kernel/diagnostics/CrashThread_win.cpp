#include <brn_mesh_kernel/diagnostics/CrashThread_win.h>

#include <brn_mesh_common/minidump/ShallowWait_win.h>

namespace Brennic::Core {

void CrashThread::start()
{
    if (m_thread != nullptr)
        return;
    m_asked = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    m_answered = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    m_thread = CreateThread(nullptr, 0, &CrashThread::main, this, 0, &m_id);
}

bool CrashThread::run(Work work, DWORD milliseconds)
{
    if (m_thread == nullptr || m_isLost || isCurrent())
        return false;
    m_work = work;
    m_isDone = false;
    SetEvent(m_asked);
    m_isLost = !waitForAnswer(milliseconds) || !m_isDone;
    return !m_isLost;
}

// Waits by functions that need little stack, as after an overflow, and looks now and then whether the thread
// gets on.
bool CrashThread::waitForAnswer(DWORD milliseconds) const
{
    if (milliseconds == 0 || milliseconds == INFINITE)
        return Minidump::waitWithLittleStack(m_answered, milliseconds);
    constexpr DWORD busyMultiple = 8;
    Minidump::StandstillWatch watch(m_thread, milliseconds, busyMultiple * milliseconds);
    while (!Minidump::waitWithLittleStack(m_answered, Minidump::timeBetweenLooks)) {
        if (watch.isOver(0))
            return false;
    }
    return true;
}

void CrashThread::giveUp()
{
    SetEvent(m_answered); // with m_isDone still false, run() returns false
}

DWORD WINAPI CrashThread::main(void* self)
{
    static_cast<CrashThread*>(self)->serve();
    return 0;
}

void CrashThread::serve()
{
    for (;;) {
        WaitForSingleObject(m_asked, INFINITE);
        m_work();
        m_isDone = true;
        SetEvent(m_answered);
    }
}

} // namespace Brennic::Core
