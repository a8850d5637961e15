#pragma once
/// \file
/// Which changes of a count are reported while an interval between reports is set, and which are left out. Not installed.
///
/// One thread reports at a time: a change that another thread makes meanwhile is left out, and `end()` has the thread that
/// reports look again. So reports arrive in the order of the counts, and completion is reported once.
///
/// What is left out has to be reported later. If a thread takes further steps, one of them does it. For the case that none
/// does, the first step that is left out asks for a late report (`LeaveOutFirst`). That comes from the GUI thread, and reaches
/// watchers and receivers of that thread only. So the gate remembers for the others that something was left out, and the
/// time of the last report for each.
///
/// What is reported is read after the verdict (`told`). So it has what other threads have changed in between, and is not
/// reported again.
///
/// \p Clock has the functions of `ReportClock`; tests bring a clock of their own.
///
/// Threads: whoever owns a gate holds one lock around every call.

#include <algorithm>
#include <chrono>
#include <cstdint>

namespace Brennic::Core {

/// What follows from a change of the count.
enum class EReportVerdict
{
    Report,        ///< The caller reports, and calls `ReportGate::end` afterwards.
    LeaveOut,      ///< Nothing: a report will follow.
    LeaveOutFirst, ///< The caller sees to a late report, if anybody would receive it.
};

/// Who receives a report.
struct ReportReceivers
{
    bool delegate;
    bool watchers;
};

template <typename Clock>
class ReportGate
{
public:
    using Duration = std::chrono::nanoseconds;

    /// Sets the shortest time between two reports. A late report that is on its way counts no more.
    void setInterval(Duration interval)
    {
        m_interval = interval;
        m_lateReport = 0;
        m_isLateReportWanted = false;
    }

    /// The count was set. \p now is the time of `Clock::coarse`, read before the lock was taken.
    EReportVerdict step(Duration now, bool isComplete)
    {
        m_isComplete = isComplete;
        m_isLeftOutForDelegate = m_isLeftOutForWatchers = true;
        return next(now);
    }

    /// The caller, who is to report, has read what it reports. Returns who receives that.
    ReportReceivers told(bool isComplete)
    {
        if (isComplete && !m_hasReportedCompletion)
            m_receivers = {true, true};
        m_hasReportedCompletion = isComplete;
        clearLeftOut();
        return m_receivers;
    }

    /// The caller has reported, and nobody else did meanwhile.
    EReportVerdict end()
    {
        m_isReporting = false;
        ++m_reportCount;
        return isAnythingLeftOut() ? next(Clock::coarse()) : EReportVerdict::LeaveOut;
    }

    /// What was left out is to be reported now, if there is anything. If another thread reports, it will do that.
    EReportVerdict flush()
    {
        if (!isAnythingLeftOut())
            return EReportVerdict::LeaveOut;
        m_lastToDelegate = m_lastToWatchers = longAgo;
        return next(Clock::coarse());
    }

    /// The progress ends. Returns whether the delegate has yet to receive something.
    bool close()
    {
        m_lateReport = 0;
        const bool isLeftOut = m_isLeftOutForDelegate;
        m_isLeftOutForDelegate = m_isLeftOutForWatchers = false;
        return isLeftOut;
    }

    /// A late report is on its way from now on, in an event that the caller posts. Returns its number.
    std::uint64_t beginLateReport()
    {
        postLateReport();
        return m_lateReport = ++m_lateReportCount;
    }

    /// The event of a late report is posted again, behind the reports that were made until now.
    void postLateReport() { m_reportsBeforeLate = m_reportCount; }

    /// Somebody has come who would receive a late report.
    void addReceiver() { m_isLateReportWanted = false; }

    /// The late report was given up. Another one is asked for after the next report.
    void dropLateReport(std::uint64_t number)
    {
        if (m_lateReport == number)
            m_lateReport = 0;
    }

    /// The time of a late report has come. Returns how long it has to wait yet, and zero if it is done with: \p verdict
    /// says then whether the caller reports. It calls `end` afterwards if the report \p reachesDelegate.
    Duration lateReport(std::uint64_t number, bool reachesDelegate, EReportVerdict& verdict)
    {
        verdict = EReportVerdict::LeaveOut;
        if (m_lateReport != number)
            return Duration::zero();
        const bool isForDelegate = reachesDelegate && m_isLeftOutForDelegate;
        const bool isLeftOut = m_isLeftOutForWatchers || isForDelegate;
        const Duration last = isForDelegate ? std::max(m_lastToDelegate, m_lastToWatchers) : m_lastToWatchers;
        const Duration left = last + m_interval - Clock::coarse();
        // The events of reports that were made since it was posted may be behind it: it must not overtake them.
        const bool mayOvertake = isForDelegate && m_reportCount != m_reportsBeforeLate;
        if (isLeftOut && !m_isReporting && (mayOvertake || left > Duration::zero()))
            return std::max<Duration>(left, std::chrono::milliseconds(1));
        m_lateReport = 0;
        m_isLateReportWanted = false;
        if (isLeftOut && !m_isReporting)
            verdict = reachesDelegate ? report({isForDelegate, m_isLeftOutForWatchers}) : reportToWatchers();
        return Duration::zero();
    }

private:
    static constexpr Duration longAgo = Duration::min() / 2;

    bool isAnythingLeftOut() const { return m_isLeftOutForDelegate || m_isLeftOutForWatchers; }

    EReportVerdict next(Duration now)
    {
        const ReportReceivers due = {m_isLeftOutForDelegate && isDue(now, m_lastToDelegate),
                                     m_isLeftOutForWatchers && isDue(now, m_lastToWatchers)};
        if ((due.delegate || due.watchers) && !m_isReporting)
            return report(due);
        if (m_isReporting || m_lateReport != 0 || m_isLateReportWanted)
            return EReportVerdict::LeaveOut;
        m_isLateReportWanted = true;
        return EReportVerdict::LeaveOutFirst;
    }

    bool isDue(Duration now, Duration last) const
    {
        return m_interval == Duration::zero() || now - last >= m_interval ||
               (m_isComplete && !m_hasReportedCompletion);
    }

    EReportVerdict report(ReportReceivers receivers)
    {
        m_isReporting = true;
        m_receivers = receivers;
        clearLeftOut();
        m_isLateReportWanted = false;
        m_hasReportedCompletion = m_isComplete;
        const Duration now = Clock::exact();
        m_lastToDelegate = receivers.delegate ? now : m_lastToDelegate;
        m_lastToWatchers = receivers.watchers ? now : m_lastToWatchers;
        return EReportVerdict::Report;
    }

    void clearLeftOut()
    {
        m_isLeftOutForDelegate = m_isLeftOutForDelegate && !m_receivers.delegate;
        m_isLeftOutForWatchers = m_isLeftOutForWatchers && !m_receivers.watchers;
    }

    // A thread that takes a step meanwhile reports as well, since the delegate belongs to that thread. If that step
    // completes the work, the watchers may be told so twice.
    EReportVerdict reportToWatchers()
    {
        m_isLeftOutForWatchers = false;
        m_lastToWatchers = Clock::exact();
        return EReportVerdict::Report;
    }

    Duration m_interval{0};
    Duration m_lastToDelegate = longAgo; // when the last report was made
    Duration m_lastToWatchers = longAgo;
    bool m_isComplete = false;
    bool m_hasReportedCompletion = false;
    bool m_isReporting = false;
    ReportReceivers m_receivers{false, false}; // of the report that is being made
    bool m_isLeftOutForDelegate = false;
    bool m_isLeftOutForWatchers = false;
    bool m_isLateReportWanted = false;
    std::uint64_t m_lateReport = 0; // the number of the one that is on its way; 0 if none is
    std::uint64_t m_lateReportCount = 0;
    std::uint64_t m_reportCount = 0;       // of those that were made and posted
    std::uint64_t m_reportsBeforeLate = 0; // the count when the late report was posted
};

} // namespace Brennic::Core
