#include <brn_mesh_kernel/progress/ProgressState.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <exception>
#include <functional>
#include <iterator>
#include <limits>
#include <list>
#include <map>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <utility>

#include <tbb/spin_rw_mutex.h>

#include <brn_mesh_kernel/progress/Cancellation.h>
#include <brn_mesh_kernel/progress/ProgressEstimator.h>
#include <brn_mesh_kernel/progress/ProgressReportingProtocol.h>
#include <brn_mesh_kernel/progress/ReportClock.h>
#include <brn_mesh_kernel/progress/ReportGate.h>

namespace Brennic::Core {

namespace {

// Reports, and the ends of objects, go through the levels on the stack: about a kilobyte each without
// optimization.
constexpr int levelCount = 256;

// Replaced as a whole, so that a report only copies the pointer.
using Watchers = std::vector<std::weak_ptr<ProgressReportingProtocol>>;

using Clock = std::chrono::steady_clock;

struct CancellationPlatform
{
    using Mutex = std::mutex;
    using Flag = std::atomic<bool>;
    using Handler = std::function<void()>;
};

} // namespace

// Behind a pointer for the sake of hosts that use Qt's keywords: TBB's headers have functions named `emit`.
struct ProgressState::ProgressStateImpl
{
    // The new levels of parts.
    using Levels = std::map<const ProgressState*, int>;

    // What a cancellation has reached, and whom it has to tell.
    struct Cancelled
    {
        std::vector<ProgressState*> states;
        std::vector<Part> parts; // keeps them
        std::vector<std::function<void()>> handlers;
    };

    static bool collectLevels(const ProgressState& part, int newLevel, const ProgressState& whole,
                              Levels& levels);
    static void cancelAll(ProgressState& state, Cancelled& cancelled);

    // Without a lock: parts are only ever appended, and the last one's link to the next is not read.
    template <typename Predicate>
    bool isAnyPart(Predicate predicate);

    // Whether a unit is completed, or a part is no longer waiting.
    bool hasBegun();

    void setCountLocked(int count, std::int64_t moved);
    void goOn();
    void goOnLocked();
    void endTimeIsNow();
    std::optional<Clock::time_point> latestEnd();
    double secondsSoFar(EProgressStatus status);
    bool isComplete(int count) const;

    tbb::spin_rw_mutex countLock;
    int completedUnitCount = 0;    // guarded by countLock, like the next
    std::int64_t movedByParts = 0; // what the reports of the parts have added to it
    ReportGate<ReportClock> gate;  // guarded by countLock, like the next
    Clock::time_point startTime;   // of the first set of the count; the clock's beginning before that
    std::optional<Clock::time_point> endTime;
    std::atomic<bool> hasReportInterval{false};
    std::atomic<int> totalUnitCount{-1};
    std::atomic<bool> hasEnded{false};
    std::atomic<bool> isWatched{false};
    Cancellation<CancellationPlatform> cancellation;
    std::atomic<bool> hasFailed{false};
    std::atomic<int> level{0}; // larger than that of every whole that this has been a part of
    std::mutex mutex;
    std::shared_ptr<const std::wstring> description; // guarded by mutex
    std::wstring failure;                            // guarded by mutex
    std::list<Part> parts;                    // guarded by mutex; what is in it stays, and does not change
    std::int64_t pendingSum = 0;              // guarded by mutex
    std::shared_ptr<const Watchers> watchers; // guarded by mutex
    std::mutex estimateMutex;
    ProgressEstimator estimator; // guarded by estimateMutex
};

// Returns false if whole is reachable from part. A subtree that already lies deep enough is skipped: whole
// would have to lie deeper still to be in it. So a part that many parents share is visited once, not once for
// each of them.
bool ProgressState::ProgressStateImpl::collectLevels(const ProgressState& part, int newLevel,
                                                     const ProgressState& whole, Levels& levels)
{
    if (&part == &whole)
        return false;
    int& level = levels.emplace(&part, part.m_impl->level).first->second;
    if (level >= newLevel)
        return true;
    level = newLevel;
    const std::vector<Part> parts = part.getParts();
    return std::all_of(parts.begin(), parts.end(), [&](const Part& entry) {
        return collectLevels(*entry.state, newLevel + 1, whole, levels);
    });
}

void ProgressState::ProgressStateImpl::setCountLocked(int count, std::int64_t moved)
{
    completedUnitCount = count;
    movedByParts += moved;
    if (startTime == Clock::time_point())
        startTime = Clock::now();
    if (!isComplete(count))
        goOnLocked();
    else if (!endTime)
        endTime = Clock::now();
}

// Work that was complete goes on where its count falls or its total grows. Work that has failed does not.
void ProgressState::ProgressStateImpl::goOnLocked()
{
    if (endTime && !hasFailed && !isComplete(completedUnitCount))
        endTime.reset();
}

void ProgressState::ProgressStateImpl::goOn()
{
    const tbb::spin_rw_mutex::scoped_lock lock(countLock, true);
    goOnLocked();
}

void ProgressState::ProgressStateImpl::endTimeIsNow()
{
    const tbb::spin_rw_mutex::scoped_lock lock(countLock, true);
    if (!endTime)
        endTime = Clock::now();
}

// When the last part was complete. Empty where that does not tell it: the work counts by itself too, or goes on.
std::optional<Clock::time_point> ProgressState::ProgressStateImpl::latestEnd()
{
    {
        const tbb::spin_rw_mutex::scoped_lock lock(countLock, false);
        if (endTime || completedUnitCount != movedByParts)
            return endTime;
    }
    std::optional<Clock::time_point> latest;
    const bool isAnyOpen = isAnyPart([&latest](const Part& part) {
        const std::optional<Clock::time_point> end = part.state->m_impl->latestEnd();
        latest = std::max(latest, end);
        return !end;
    });
    return isAnyOpen ? std::nullopt : latest;
}

// Work whose count has lost units is complete when its parts are, and nobody has noted the time then.
double ProgressState::ProgressStateImpl::secondsSoFar(EProgressStatus status)
{
    const bool isOver = status == EProgressStatus::Complete || status == EProgressStatus::Failed || hasEnded;
    const std::optional<Clock::time_point> end =
        status == EProgressStatus::Complete ? latestEnd() : std::nullopt;
    const tbb::spin_rw_mutex::scoped_lock lock(countLock, true);
    if (startTime == Clock::time_point())
        return 0;
    const Clock::time_point now = Clock::now();
    if (!isOver)
        endTime.reset();
    else if (!endTime)
        endTime =
            std::max(end.value_or(now), startTime); // a part may have been complete before it became one
    return std::chrono::duration<double>(endTime.value_or(now) - startTime).count();
}

bool ProgressState::ProgressStateImpl::isComplete(int count) const
{
    const int total = totalUnitCount;
    return total > 0 && count >= total;
}

template <typename Predicate>
bool ProgressState::ProgressStateImpl::isAnyPart(Predicate predicate)
{
    std::unique_lock<std::mutex> lock(mutex);
    std::size_t left = parts.size();
    auto part = parts.cbegin();
    lock.unlock();
    for (; left > 0; --left) {
        if (predicate(*part))
            return true;
        if (left > 1)
            ++part;
    }
    return false;
}

// What is cancelled already has cancelled its parts, and will cancel those that are added.
void ProgressState::ProgressStateImpl::cancelAll(ProgressState& state, Cancelled& cancelled)
{
    std::function<void()> handler;
    if (!state.m_impl->cancellation.cancel(handler))
        return;
    cancelled.states.push_back(&state);
    cancelled.handlers.push_back(std::move(handler));
    for (const Part& part : state.getParts()) {
        cancelled.parts.push_back(part);
        cancelAll(*part.state, cancelled);
    }
}

bool ProgressState::ProgressStateImpl::hasBegun()
{
    {
        const tbb::spin_rw_mutex::scoped_lock lock(countLock, false);
        if (completedUnitCount != 0)
            return true;
    }
    return isAnyPart([](const Part& part) {
        ProgressStateImpl& impl = *part.state->m_impl;
        return impl.hasFailed || impl.hasEnded || impl.cancellation.isCancelled() || impl.hasBegun();
    });
}

// Calls a receiver with what was true when the report was made: it may be called in the GUI thread, much
// later.
void ProgressState::Report::operator()(ProgressReportingProtocol& receiver) const
{
    if (completedUnitCount >= totalUnitCount)
        receiver.progressCompleted(progress, *description);
    else
        receiver.progressUpdated(progress,
                                 static_cast<float>(completedUnitCount) / static_cast<float>(totalUnitCount),
                                 *description);
}

ProgressState::ProgressState(int totalUnitCount, const std::wstring& description)
    : m_impl(std::make_unique<ProgressStateImpl>())
{
    m_impl->totalUnitCount = totalUnitCount;
    m_impl->description = std::make_shared<const std::wstring>(description);
}

ProgressState::~ProgressState() = default;

int ProgressState::saturatedSum(int count, int change)
{
    using Range = std::numeric_limits<int>;
    const std::int64_t sum = std::int64_t{count} + change;
    return static_cast<int>(std::clamp<std::int64_t>(sum, Range::min(), Range::max()));
}

int ProgressState::getTotalUnitCount() const
{
    return m_impl->totalUnitCount;
}

int ProgressState::getCompletedUnitCount() const
{
    const tbb::spin_rw_mutex::scoped_lock lock(m_impl->countLock, false);
    return m_impl->completedUnitCount;
}

bool ProgressState::hasEnded() const
{
    return m_impl->hasEnded;
}

// The count without what the parts' reports have moved it by, which truncation has spoiled, and with the
// exact fractions of the parts in its place.
double ProgressState::getFraction() const
{
    const double total = m_impl->totalUnitCount;
    if (total <= 0)
        return 0;
    double units = 0;
    {
        const tbb::spin_rw_mutex::scoped_lock lock(m_impl->countLock, false);
        units = static_cast<double>(std::int64_t{m_impl->completedUnitCount} - m_impl->movedByParts);
    }
    m_impl->isAnyPart([&units](const Part& part) {
        units += part.pendingUnitCount * part.state->getFraction();
        return false;
    });
    return std::clamp(units / total, 0.0, 1.0);
}

// Whether it has ended is read first: the counts are the last ones then.
EProgressStatus ProgressState::getStatus() const
{
    const bool isOver = hasEnded();
    const int completed = getCompletedUnitCount();
    const int total = getTotalUnitCount();
    if (m_impl->hasFailed)
        return EProgressStatus::Failed;
    if (total > 0 && (completed >= total || getFraction() >= 1))
        return EProgressStatus::Complete;
    if (isCancelled())
        return EProgressStatus::Cancelled;
    if (isOver)
        return EProgressStatus::Ended;
    return m_impl->hasBegun() ? EProgressStatus::Running : EProgressStatus::Waiting;
}

// One caller at a time, so that the samples are in the order of their times.
ProgressEstimate ProgressState::getEstimate() const
{
    using Seconds = std::chrono::duration<double>;
    const std::lock_guard<std::mutex> lock(m_impl->estimateMutex);
    const EProgressStatus status = getStatus();
    const double fraction = getFraction();
    const double total = std::max(getTotalUnitCount(), 0);
    const double now = m_impl->secondsSoFar(status);
    ProgressEstimate estimate;
    estimate.elapsed = Seconds(now);
    if (status == EProgressStatus::Complete)
        estimate.remaining = Seconds(0);
    if (status == EProgressStatus::Running) {
        m_impl->estimator.add(now, fraction);
        estimate.unitsPerSecond = total * m_impl->estimator.fractionPerSecond(now);
        if (const std::optional<double> remaining = m_impl->estimator.remaining(now))
            estimate.remaining = Seconds(*remaining);
    } else if (now > 0) {
        estimate.unitsPerSecond = total * fraction / now;
    }
    return estimate;
}

std::wstring ProgressState::getFailure() const
{
    const std::lock_guard<std::mutex> lock(m_impl->mutex);
    return m_impl->failure;
}

void ProgressState::cancel()
{
    ProgressStateImpl::Cancelled cancelled;
    ProgressStateImpl::cancelAll(*this, cancelled);
    std::exception_ptr first;
    for (const std::function<void()>& handler : cancelled.handlers) {
        try {
            if (handler)
                handler();
        } catch (...) {
            first = first ? first : std::current_exception();
        }
    }
    for (const ProgressState* state : cancelled.states)
        state->notifyWatchers(nullptr);
    if (first)
        std::rethrow_exception(first);
}

bool ProgressState::isCancelled() const
{
    return m_impl->cancellation.isCancelled();
}

std::wstring ProgressState::getDescription() const
{
    const std::lock_guard<std::mutex> lock(m_impl->mutex);
    return *m_impl->description;
}

std::vector<ProgressState::Part> ProgressState::getParts(std::size_t first) const
{
    const std::lock_guard<std::mutex> lock(m_impl->mutex);
    const std::list<Part>& parts = m_impl->parts;
    const std::size_t count = parts.size() - std::min(first, parts.size());
    return {std::prev(parts.end(), static_cast<std::ptrdiff_t>(count)), parts.end()};
}

void ProgressState::addWatcher(const std::shared_ptr<ProgressReportingProtocol>& watcher)
{
    if (!watcher)
        return;
    auto watchers = std::make_shared<Watchers>();
    std::unique_lock<std::mutex> lock(m_impl->mutex);
    if (m_impl->watchers)
        std::copy_if(m_impl->watchers->begin(), m_impl->watchers->end(), std::back_inserter(*watchers),
                     [](const std::weak_ptr<ProgressReportingProtocol>& entry) { return !entry.expired(); });
    watchers->push_back(watcher);
    m_impl->watchers = std::move(watchers);
    m_impl->isWatched = true;
    lock.unlock();
    const tbb::spin_rw_mutex::scoped_lock countLock(m_impl->countLock, true);
    m_impl->gate.addReceiver();
}

void ProgressState::setTotalUnitCount(int totalUnitCount)
{
    m_impl->totalUnitCount = totalUnitCount;
    m_impl->goOn();
}

void ProgressState::setCompletedUnitCount(int completedUnitCount, std::int64_t movedByParts)
{
    const tbb::spin_rw_mutex::scoped_lock lock(m_impl->countLock, true);
    m_impl->setCountLocked(completedUnitCount, movedByParts);
}

EReportVerdict ProgressState::setCompletedUnitCountInIntervals(int completedUnitCount,
                                                               std::int64_t movedByParts)
{
    const std::chrono::nanoseconds now = ReportClock::coarse();
    const tbb::spin_rw_mutex::scoped_lock lock(m_impl->countLock, true);
    m_impl->setCountLocked(completedUnitCount, movedByParts);
    return m_impl->gate.step(now, m_impl->isComplete(completedUnitCount));
}

// One section, unlike an increment while every step is reported, which reads and then sets.
EReportVerdict ProgressState::incrementInIntervals(int unitCount, int& completedUnitCount,
                                                   std::int64_t* movedByPart)
{
    const std::chrono::nanoseconds now = ReportClock::coarse();
    const tbb::spin_rw_mutex::scoped_lock lock(m_impl->countLock, true);
    const int before = m_impl->completedUnitCount;
    completedUnitCount = saturatedSum(before, unitCount);
    const std::int64_t moved = movedByPart == nullptr ? 0 : std::int64_t{completedUnitCount} - before;
    if (movedByPart != nullptr)
        *movedByPart += moved;
    m_impl->setCountLocked(completedUnitCount, moved);
    return m_impl->gate.step(now, m_impl->isComplete(completedUnitCount));
}

bool ProgressState::hasReportInterval() const
{
    return m_impl->hasReportInterval.load(std::memory_order_relaxed);
}

void ProgressState::setReportInterval(std::chrono::nanoseconds interval)
{
    const tbb::spin_rw_mutex::scoped_lock lock(m_impl->countLock, true);
    m_impl->gate.setInterval(interval);
    m_impl->hasReportInterval.store(interval > std::chrono::nanoseconds::zero(), std::memory_order_relaxed);
}

EReportVerdict ProgressState::endReport()
{
    const tbb::spin_rw_mutex::scoped_lock lock(m_impl->countLock, true);
    return m_impl->gate.end();
}

EReportVerdict ProgressState::flushReports()
{
    const tbb::spin_rw_mutex::scoped_lock lock(m_impl->countLock, true);
    return m_impl->gate.flush();
}

bool ProgressState::closeReports()
{
    const tbb::spin_rw_mutex::scoped_lock lock(m_impl->countLock, true);
    return m_impl->gate.close();
}

std::uint64_t ProgressState::beginLateReport()
{
    const tbb::spin_rw_mutex::scoped_lock lock(m_impl->countLock, true);
    return m_impl->gate.beginLateReport();
}

void ProgressState::postLateReport()
{
    const tbb::spin_rw_mutex::scoped_lock lock(m_impl->countLock, true);
    m_impl->gate.postLateReport();
}

void ProgressState::dropLateReport(std::uint64_t number)
{
    const tbb::spin_rw_mutex::scoped_lock lock(m_impl->countLock, true);
    m_impl->gate.dropLateReport(number);
}

std::chrono::nanoseconds ProgressState::lateReport(std::uint64_t number, bool reachesDelegate,
                                                   EReportVerdict& verdict)
{
    const tbb::spin_rw_mutex::scoped_lock lock(m_impl->countLock, true);
    return m_impl->gate.lateReport(number, reachesDelegate, verdict);
}

void ProgressState::setDescription(const std::wstring& description)
{
    auto copy = std::make_shared<const std::wstring>(description);
    const std::lock_guard<std::mutex> lock(m_impl->mutex);
    m_impl->description.swap(copy);
}

// Returns null, without any change, if the part would close a cycle. The returned pointer stays valid.
const ProgressState::Part* ProgressState::addPart(const std::shared_ptr<ProgressState>& part,
                                                  int pendingUnitCount)
{
    ProgressStateImpl::Levels levels;
    if (!ProgressStateImpl::collectLevels(*part, m_impl->level + 1, *this, levels))
        return nullptr;
    if (std::any_of(levels.begin(), levels.end(),
                    [](const auto& entry) { return entry.second >= levelCount; }))
        throw std::length_error("A tree of progress has at most 256 levels!");
    std::unique_lock<std::mutex> lock(m_impl->mutex);
    m_impl->parts.push_back({part, pendingUnitCount}); // before the caller looks whether this is cancelled
    for (const auto& [state, level] : levels)
        state->m_impl->level = level;
    m_impl->pendingSum += pendingUnitCount;
    const auto sum = std::clamp<std::int64_t>(m_impl->pendingSum, std::numeric_limits<int>::min(),
                                              std::numeric_limits<int>::max());
    if (m_impl->totalUnitCount < sum)
        m_impl->totalUnitCount = static_cast<int>(sum);
    const Part& added = m_impl->parts.back();
    lock.unlock();
    m_impl->goOn();
    return &added;
}

// The handler that is replaced is released by this function's end.
void ProgressState::setCancelHandler(std::function<void()> handler)
{
    if (!m_impl->cancellation.setHandler(handler) && handler)
        handler();
}

void ProgressState::fail(const std::wstring& text)
{
    {
        const std::lock_guard<std::mutex> lock(m_impl->mutex);
        m_impl->failure = text;
        m_impl->hasFailed = true;
    }
    m_impl->endTimeIsNow();
}

void ProgressState::end(Progress* progress)
{
    m_impl->endTimeIsNow();
    m_impl->hasEnded = true;
    try {
        std::function<void()> handler; // what it holds on to may have ended with the work
        static_cast<void>(m_impl->cancellation.setHandler(handler));
        notifyWatchers(progress);
    } catch (...) { // NOLINT(bugprone-empty-catch): exceptions must not leave a destructor
    }
}

bool ProgressState::isWatched() const
{
    return m_impl->isWatched;
}

ProgressState::Report ProgressState::report(Progress* progress) const
{
    const int completed = getCompletedUnitCount();
    const std::lock_guard<std::mutex> lock(m_impl->mutex);
    return {progress, m_impl->totalUnitCount, completed, m_impl->description};
}

ProgressState::Report ProgressState::reportInIntervals(Progress* progress, ReportReceivers& receivers)
{
    Report now = report(progress);
    const tbb::spin_rw_mutex::scoped_lock lock(m_impl->countLock, true);
    now.completedUnitCount = m_impl->completedUnitCount;
    receivers = m_impl->gate.told(m_impl->isComplete(now.completedUnitCount));
    return now;
}

void ProgressState::notifyWatchers(Progress* progress) const
{
    if (isWatched())
        notifyWatchers(report(progress));
}

// A watcher may destroy the progress, and this object with it.
void ProgressState::notifyWatchers(const Report& now) const
{
    if (!isWatched())
        return;
    std::shared_ptr<const Watchers> watchers;
    {
        const std::lock_guard<std::mutex> lock(m_impl->mutex);
        watchers = m_impl->watchers;
    }
    for (const std::weak_ptr<ProgressReportingProtocol>& entry : *watchers)
        if (const std::shared_ptr<ProgressReportingProtocol> watcher = entry.lock())
            now(*watcher);
}

} // namespace Brennic::Core
