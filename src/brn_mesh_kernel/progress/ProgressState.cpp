/// \file
/// What a state knows of its work: counts, parts, watchers, cancellation.

#include <brn_mesh_kernel/progress/ProgressStateImpl.h>

#include <algorithm>
#include <exception>
#include <iterator>
#include <limits>
#include <stdexcept>
#include <utility>

#include <brn_mesh_kernel/progress/ProgressReportingProtocol.h>

namespace Brennic::Core {

namespace {

// Reports, and the ends of objects, go through the levels on the stack: about a kilobyte each without
// optimization.
constexpr int levelCount = 256;

} // namespace

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
    auto watchers = std::make_shared<ProgressStateImpl::Watchers>();
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
    std::shared_ptr<const ProgressStateImpl::Watchers> watchers;
    {
        const std::lock_guard<std::mutex> lock(m_impl->mutex);
        watchers = m_impl->watchers;
    }
    for (const std::weak_ptr<ProgressReportingProtocol>& entry : *watchers)
        if (const std::shared_ptr<ProgressReportingProtocol> watcher = entry.lock())
            now(*watcher);
}

} // namespace Brennic::Core
