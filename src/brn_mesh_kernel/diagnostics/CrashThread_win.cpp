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
    m_isLost = !Minidump::waitWithLittleStack(m_answered, milliseconds) || !m_isDone;
    return !m_isLost;
}

void CrashThread::giveUp()
{
    SetEvent(m_answered);
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
