#pragma once
/// \file
/// The readable side of a `Progress`: for other threads, while the work goes on and after the progress is
/// destroyed.
///
///     const std::shared_ptr<Brennic::Core::ProgressState> state = progress->getState();
///     state->addWatcher(flag); // a std::shared_ptr, called in the thread that changes something
///     show(state->getDescription(), state->getCompletedUnitCount(), state->getTotalUnitCount());
///     for (const auto& part : state->getParts())
///         show(part.state->getDescription(), part.pendingUnitCount);
///
/// A display keeps the state and not the progress. So it does not extend the lifetime of the work's objects,
/// does not destroy them in its own thread, and still has their last values. Watchers do not replace the
/// progress's delegate.
///
/// Threads: every operation may be called from any thread, at any time.
///
/// Lifetime: shared by its progress and by all callers of `getState()`. It shares the states of the parts.
/// Watchers are held weakly: they are no longer called once their owner releases them.

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <brn_mesh_kernel/library/Export.h>

namespace Brennic::Core {

class Progress;
class ProgressReportingProtocol;

/// Inside the library: what follows from a step while an interval between reports is set.
enum class EReportVerdict;
struct ReportReceivers;

/// How a piece of work stands. Of several that apply, the first one counts.
enum class EProgressStatus
{
    Failed,    ///< `Progress::fail` was called.
    Complete,  ///< The completed count, or the exact fraction, has reached a total that is known.
    Cancelled, ///< It was cancelled, by itself or with what it is a part of.
    Ended,     ///< The progress was destroyed before its count reached the total.
    Running,   ///< Something is completed, or a part is no longer waiting.
    Waiting,   ///< Nothing has been reported yet.
};

/// When work will be done, judged by how its exact fraction has moved so far.
struct ProgressEstimate
{
    /// Since the count was first set, and until the work is complete, has failed or has ended.
    std::chrono::duration<double> elapsed{0};
    /// Until the work is complete; empty while that cannot be judged.
    std::optional<std::chrono::duration<double>> remaining{};
    /// The speed, in units of the total; 0 while that cannot be judged. Of work that is over, that of the whole.
    double unitsPerSecond = 0;
};

/// The state of a progress; remains readable after the progress is destroyed.
class ProgressState // exported by function: what only a progress may call stays inside
{
public:
    /// A child of a progress.
    struct Part
    {
        std::shared_ptr<ProgressState> state; ///< never empty
        int pendingUnitCount = 0;             ///< the units of the parent that the child stands for
    };

    /// Forgets the watchers without notifying them.
    /// Thread: any.
    ~ProgressState();

    ProgressState(const ProgressState&) = delete;
    ProgressState& operator=(const ProgressState&) = delete;

    /// Returns the total, in units; 0 or less if it is not known.
    /// Thread: any; takes no lock.
    BRN_MESH_KERNEL_EXPORT int getTotalUnitCount() const;

    /// Returns the completed count, in units.
    /// Thread: any; waits while the count is being stored.
    BRN_MESH_KERNEL_EXPORT int getCompletedUnitCount() const;

    /// Whether the progress has been destroyed: nothing changes any more.
    /// Thread: any; takes no lock.
    BRN_MESH_KERNEL_EXPORT bool hasEnded() const;

    /// Returns the part of the work that is completed, from 0 to 1; 0 while the total is not known.
    ///
    /// It is computed from the fractions of the parts, in double precision. So it has what
    /// `getCompletedUnitCount` loses to truncation: it reaches 1 when all parts are complete. What the
    /// progress counted by itself, beside the reports of its parts, adds to it.
    /// Thread: any. Visits all parts.
    BRN_MESH_KERNEL_EXPORT double getFraction() const;

    /// Returns how long the work has taken and will take. It is judged by what \ref getFraction was at each call of
    /// this function: a display calls it whenever it draws. Steps of the work cost nothing for it.
    ///
    /// - Even work is judged by all of its past. When its speed changes and stays so, the remaining time is within a
    ///   tenth of that of the new speed once a window has passed: a tenth of the time so far, 2 seconds at least and 30
    ///   at most. That holds for who calls three times a second or more often, and takes up to half a second more.
    ///   Who calls less often needs the window and seven calls after the change, and work of large steps seven of them.
    /// - The remaining time counts down between two steps, and grows while the work stands still for longer than
    ///   its steps take.
    /// - Parts that are added later make the work longer; its speed stays known.
    /// - Nothing is said in the first second, before a twentieth is done or four calls have seen the fraction move,
    ///   while the total is not known, and after the work was cancelled, has failed or has ended. Nothing remains of
    ///   complete work.
    /// Thread: any; several displays may call it. Visits all parts.
    BRN_MESH_KERNEL_EXPORT ProgressEstimate getEstimate() const;

    /// Returns how the work stands. A part that fails or is cancelled does not change the status of the whole: the
    /// work decides what follows from it.
    /// Thread: any. Visits all parts.
    BRN_MESH_KERNEL_EXPORT EProgressStatus getStatus() const;

    /// Returns the text of `Progress::fail`; empty while it has not been called.
    /// Thread: any.
    BRN_MESH_KERNEL_EXPORT std::wstring getFailure() const;

    /// Asks the work to stop: it and all its parts are cancelled from now on, those that are added later too.
    /// What it is a part of is not. The second call does nothing.
    ///
    /// First all are cancelled, then the handlers (`Progress::setCancelHandler`) are called, then the
    /// watchers, with a null pointer for the sender. What a handler throws leaves this function after all
    /// have been called, the first of several exceptions. Counts stay as they are, and reports go on: the
    /// work itself decides when it stops.
    /// Thread: any, also after the progress has been destroyed; handlers and watchers are called in it, with
    /// no lock held. Ownership: the caller's pointer to this object must stay until it returns.
    BRN_MESH_KERNEL_EXPORT void cancel();

    /// Whether the work was asked to stop.
    /// Thread: any; takes no lock.
    BRN_MESH_KERNEL_EXPORT bool isCancelled() const;

    /// Returns the description.
    /// Thread: any.
    BRN_MESH_KERNEL_EXPORT std::wstring getDescription() const;

    /// Returns the parts in the order in which they were added, without the first \p first of them. As parts
    /// are never removed, a caller that has n of them gets the new ones by `getParts(n)`.
    /// Thread: any.
    BRN_MESH_KERNEL_EXPORT std::vector<Part> getParts(std::size_t first = 0) const;

    /// Notifies \p watcher of every change, independently of the delegate. An empty pointer is ignored.
    ///
    /// It is called after each set of the count, before the delegate is, and in the same way; and besides
    /// after a change of the total, the description or the parts, after a cancellation (with a null pointer
    /// for the sender) and a failure, and in the destructor of the progress, when \ref hasEnded. A watcher
    /// that is added twice is called twice. Its exceptions propagate to the caller that made the change, and
    /// the watchers after it and the delegate are not called; during the destructor they are dropped.
    ///
    /// `Progress::setReportInterval` leaves sets of the count out. If no later set is reported, the watcher is
    /// called in the GUI thread instead, with a null pointer for the sender.
    /// Thread: any; the watcher is called in the thread that makes the change, with no locks held.
    /// Ownership: stays with the caller; the watcher is held weakly.
    BRN_MESH_KERNEL_EXPORT void addWatcher(const std::shared_ptr<ProgressReportingProtocol>& watcher);

private:
    friend class Progress;
    struct ProgressStateImpl;

    // What watchers and the delegate receive: a snapshot of the counts and the description.
    struct Report
    {
        void operator()(ProgressReportingProtocol& receiver) const;

        Progress* progress;
        int totalUnitCount;
        int completedUnitCount;
        std::shared_ptr<const std::wstring> description; // never empty
    };

    ProgressState(int totalUnitCount, const std::wstring& description);

    static int saturatedSum(int count, int change);

    void setTotalUnitCount(int totalUnitCount);
    // movedByParts is how much of the change comes from a part's report: getFraction() computes that part
    // anew.
    void setCompletedUnitCount(int completedUnitCount, std::int64_t movedByParts = 0);
    // The same while an interval between reports is set; see ReportGate.h.
    EReportVerdict setCompletedUnitCountInIntervals(int completedUnitCount, std::int64_t movedByParts);
    // Adds what it has changed to movedByPart, unless that is null.
    EReportVerdict incrementInIntervals(int unitCount, int& completedUnitCount,
                                        std::int64_t* movedByPart = nullptr);
    bool hasReportInterval() const;
    void setReportInterval(std::chrono::nanoseconds interval);
    EReportVerdict endReport();
    EReportVerdict flushReports();
    bool closeReports();
    std::uint64_t beginLateReport();
    void postLateReport();
    void dropLateReport(std::uint64_t number);
    std::chrono::nanoseconds lateReport(std::uint64_t number, bool reachesDelegate, EReportVerdict& verdict);
    void setDescription(const std::wstring& description);
    const Part* addPart(const std::shared_ptr<ProgressState>& part, int pendingUnitCount);
    void setCancelHandler(std::function<void()> handler);
    void fail(const std::wstring& text);
    void end(Progress* progress);
    bool isWatched() const;
    Report report(Progress* progress) const;
    // The same for who has to report by a verdict.
    Report reportInIntervals(Progress* progress, ReportReceivers& receivers);
    void notifyWatchers(Progress* progress) const;
    void notifyWatchers(const Report& now) const;

    std::unique_ptr<ProgressStateImpl> m_impl;
};

} // namespace Brennic::Core
