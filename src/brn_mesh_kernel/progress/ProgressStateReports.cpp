/// \file
/// When a state is reported while an interval is set, and when its work will be done.

#include <brn_mesh_kernel/progress/ProgressStateImpl.h>

#include <algorithm>

namespace Brennic::Core {

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
std::optional<ProgressState::ProgressStateImpl::Clock::time_point>
ProgressState::ProgressStateImpl::latestEnd()
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

ProgressState::Report ProgressState::reportInIntervals(Progress* progress, ReportReceivers& receivers)
{
    Report now = report(progress);
    const tbb::spin_rw_mutex::scoped_lock lock(m_impl->countLock, true);
    now.completedUnitCount = m_impl->completedUnitCount;
    receivers = m_impl->gate.told(m_impl->isComplete(now.completedUnitCount));
    return now;
}

} // namespace Brennic::Core
