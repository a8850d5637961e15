#include <brn_mesh_common/minidump/SignalledThreads_linux.h>

#include <algorithm>
#include <atomic>

#include <brn_mesh_common/minidump/MachineRecords_linux.h>
#include <brn_mesh_common/minidump/ProcFile_linux.h>
#include <brn_mesh_common/minidump/SignalMask_linux.h>
#include <brn_mesh_common/minidump/ThreadPlace_linux.h>

namespace Brennic::Minidump {

namespace {

// The longest that a thread waits in its handler, in case the dump ends without waking it.
constexpr std::int64_t longestWait = 26'000;

constexpr std::int64_t timeForPlaces = 1000;

// Where the handlers write. Static, because a handler may run late, after the object has been destroyed.
std::atomic<ThreadList*> g_threads{nullptr};
std::atomic<std::uint32_t> g_answers{0};
std::atomic<std::uint32_t> g_round{0}; // ends when it changes
std::atomic<std::uint32_t> g_inHandler{0};

void writeDownRegisters(const ucontext_t& interrupted)
{
    const std::uint32_t round = g_round.load();
    ThreadList* const threads = g_threads.load();
    CapturedThread* const own = threads == nullptr ? nullptr : threads->find(threadId());
    if (own == nullptr || own->hasRegisters)
        return;
    own->context = toContext(interrupted);
    own->hasRegisters = true;
    ++g_answers;
    wakeAll(g_answers);
    waitWhileEqual(g_round, round, Deadline(longestWait));
}

void onRegistersAsked(int /*signal*/, siginfo_t* /*information*/, void* context)
{
    ++g_inHandler;
    writeDownRegisters(*static_cast<const ucontext_t*>(context));
    --g_inHandler;
}

} // namespace

SignalledThreads::SignalledThreads(std::int32_t process, ThreadList& threads)
    : m_process(process), m_threads(threads)
{
}

SignalledThreads::~SignalledThreads()
{
    if (m_signal == 0)
        return;
    ++g_round;
    wakeAll(g_round);
    const Deadline deadline(100);
    while (g_inHandler != 0 && !deadline.hasPassed())
        sleepMicroseconds(20);
    // Ignoring the signal first discards it where it is still pending. With the default action it would kill the
    // process.
    struct sigaction ignore
    {
    };
    ignore.sa_handler = SIG_IGN;
    sigaction(m_signal, &ignore, nullptr);
    sigaction(m_signal, &m_before, nullptr);
}

bool SignalledThreads::stop(const Deadline& deadline)
{
    m_signal = findFreeSignal(SignalSearch::FromHighest);
    if (m_signal == 0)
        return false;
    g_answers = 0;
    g_threads = &m_threads;
    struct sigaction action
    {
    };
    action.sa_sigaction = onRegistersAsked;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_RESTART;
    sigaction(m_signal, &action, &m_before);
    // Threads that still run may start new ones.
    while (signalNewThreads() && !deadline.hasPassed())
        waitForAnswers(deadline);
    findWaitingPlaces(Deadline(timeForPlaces));
    g_threads = nullptr; // a handler that runs later must not change records that are being written
    for (CapturedThread& thread : m_threads)
        findCrash(thread);
    return true;
}

bool SignalledThreads::signalNewThreads()
{
    const std::size_t knownBefore = m_threads.size();
    TaskDirectory tasks(m_process);
    while (const std::int32_t id = tasks.next()) {
        if (m_threads.find(id) == nullptr)
            signal(id);
    }
    return m_threads.size() != knownBefore;
}

void SignalledThreads::signal(std::int32_t id)
{
    const ThreadStatus status = readThreadStatus(m_process, id);
    if (status.hasEnded)
        return;
    CapturedThread* const thread = m_threads.add(id);
    if (thread == nullptr)
        return;
    // Sent even if it is blocked: a new thread blocks all signals only for a moment.
    const bool isSent = systemCall(SYS_tgkill, m_process, id, m_signal) == 0;
    thread->blocksSignal = !isSent || SignalMask::of({m_signal}).intersects(status.blockedSignals);
}

void SignalledThreads::waitForAnswers(const Deadline& deadline)
{
    const auto isAwaited = [](const CapturedThread& thread) {
        return !thread.hasRegisters && !thread.blocksSignal;
    };
    for (std::uint32_t answers = g_answers; std::any_of(m_threads.begin(), m_threads.end(), isAwaited);
         answers = g_answers) {
        if (!waitWhileEqual(g_answers, answers, deadline))
            break;
    }
}

// Threads without registers are blocked in a system call, or soon will be: /proc tells where.
void SignalledThreads::findWaitingPlaces(const Deadline& deadline)
{
    const auto isUnknown = [](const CapturedThread& thread) { return !thread.hasRegisters; };
    while (std::any_of(m_threads.begin(), m_threads.end(), isUnknown) && !deadline.hasPassed()) {
        for (CapturedThread& thread : m_threads)
            findWaitingPlace(m_process, thread);
        sleepMicroseconds(100);
    }
}

} // namespace Brennic::Minidump
