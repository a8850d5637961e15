#include <brn_mesh_kernel/diagnostics/StepTimer_linux.h>

#include <ctime>

#include <brn_mesh_common/minidump/Clock_linux.h>
#include <brn_mesh_common/minidump/SignalMask_linux.h>
#include <brn_mesh_common/minidump/Syscall_linux.h>

namespace Brennic::Core {

void StepTimer::prepare(Handler handler)
{
    const int freeSignal =
        Minidump::findFreeSignal(Minidump::SignalSearch::FromLowest); // the dump takes the highest
    m_signal = freeSignal != 0 ? freeSignal : SIGRTMIN; // if the host uses all, take one of them
    m_timer = -1;                                       // the kernel numbers timers from 0
    struct sigaction action
    {
    };
    action.sa_sigaction = handler;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_RESTART; // a step that continues must not see EINTR
    sigaction(m_signal, &action, nullptr);
    Minidump::SignalMask::of({m_signal}).apply(SIG_UNBLOCK);
}

void StepTimer::start(std::int64_t milliseconds, int value)
{
    stop();
    struct sigevent event
    {
    };
    event.sigev_notify = SIGEV_THREAD_ID; // on this thread, and not on any that the system picks
    event.sigev_signo = m_signal;
    event.sigev_value.sival_int = value;
    event._sigev_un._tid = Minidump::threadId();
    if (Minidump::systemCall(SYS_timer_create, CLOCK_MONOTONIC, &event, &m_timer) < 0) {
        m_timer = -1;
        return;
    }
    itimerspec time{};
    time.it_value = Minidump::toTimespec(milliseconds * 1'000'000);
    Minidump::systemCall(SYS_timer_settime, m_timer, 0, &time, nullptr);
}

void StepTimer::stop()
{
    if (m_timer >= 0)
        Minidump::systemCall(SYS_timer_delete, m_timer);
    m_timer = -1;
}

} // namespace Brennic::Core
