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
constexpr std::int64_t timeForRecords = 100;

// A thread that ends does not answer. So who still exists is looked up this often.
constexpr std::int64_t timeBetweenLooks = 10;

// Where the handlers write. Static, because a handler may run late, after the object has been destroyed.
std::atomic<ThreadList*> g_threads{nullptr};
std::atomic<std::uint32_t> g_recording{0}; // handlers that may be using g_threads
std::atomic<std::uint32_t> g_answers{0};
std::atomic<std::uint32_t> g_round{0}; // ends when it changes
std::atomic<std::uint32_t> g_inHandler{0};

bool recordRegisters(const ucontext_t& interrupted)
{
    ThreadList* const threads = g_threads.load();
    CapturedThread* const own = threads == nullptr ? nullptr : threads->find(threadId());
    if (own == nullptr || own->hasRegisters)
        return false;
    own->context = toContext(interrupted);
    own->hasRegisters = true;
    return true;
}

void onRegistersAsked(int /*signal*/, siginfo_t* /*information*/, void* context)
{
    ++g_inHandler;
    const std::uint32_t round = g_round.load();
    ++g_recording;
    const bool hasRecorded = recordRegisters(*static_cast<const ucontext_t*>(context));
    --g_recording;
    if (hasRecorded) {
        ++g_answers;
        wakeAll(g_answers);
        waitWhileEqual(g_round, round, Deadline(longestWait));
    }
    --g_inHandler;
}

bool isMissing(const CapturedThread& thread)
{
    return !thread.hasRegisters && !thread.hasEnded;
}

void waitUntilZero(const std::atomic<std::uint32_t>& count, const Deadline& deadline)
{
    while (count != 0 && !deadline.hasPassed())
        sleepMicroseconds(20);
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
    waitUntilZero(g_inHandler, Deadline(timeForRecords));
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
    waitUntilZero(g_recording, Deadline(timeForRecords));
    m_threads.removeEnded();
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
        return isMissing(thread) && !thread.blocksSignal;
    };
    for (;;) {
        const std::uint32_t answers = g_answers;
        if (deadline.hasPassed() || std::none_of(m_threads.begin(), m_threads.end(), isAwaited))
            return;
        if (!waitWhileEqual(g_answers, answers, Deadline(timeBetweenLooks)))
            markEnded();
    }
}

// Threads without registers are blocked in a system call, or soon will be: /proc tells where.
void SignalledThreads::findWaitingPlaces(const Deadline& deadline)
{
    while (std::any_of(m_threads.begin(), m_threads.end(), isMissing) && !deadline.hasPassed()) {
        for (CapturedThread& thread : m_threads)
            findWaitingPlace(m_process, thread);
        markEnded();
        sleepMicroseconds(100);
    }
}

void SignalledThreads::markEnded()
{
    for (CapturedThread& thread : m_threads) {
        if (isMissing(thread))
            thread.hasEnded = readThreadStatus(m_process, thread.id).hasEnded;
    }
}

} // namespace Brennic::Minidump
