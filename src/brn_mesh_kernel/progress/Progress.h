#pragma once
/// \file
/// Counts the completed units of a piece of work, and folds the progress of its parts into its own.
///
///     using Brennic::Core::Progress;
///     auto whole = std::make_shared<Progress>(0, L"Import");
///     auto reading = std::make_shared<Progress>(fileCount, L"Reading");
///     auto building = std::make_shared<Progress>(meshCount, L"Building");
///     whole->addChildWithPendingCount(reading, 30);
///     whole->addChildWithPendingCount(building, 70); // the total of `whole` is 100 now
///     whole->setDelegate(statusBar, true);           // notified of every step, in the GUI thread
///     ++*reading;
///
/// The counts that the delegate receives lose fractions of units to truncation, and hosts rely on them. A
/// display shows `getState()->getFraction()`, which is exact. A parent whose own count must arrive at its
/// total has `setKeepsRemainders(true)`.
///
///     whole->setReportInterval(std::chrono::milliseconds(50)); // of thousands of steps a second, 20 are told
///
/// The counts stay exact; only reports to receivers and watchers are left out, and never the last one.
///
///     whole->cancel(); // from any thread; the work asks `isCancelled()`, or has set a handler
///
/// Each time the count is set, it is reported to the delegate, even if it stays the same. A child's delegate
/// is its parent. The parent changes its own count by the change of the child's fraction times the pending
/// count, truncated to an integer, and reports in turn, up to the root.
///
/// Threads: the completed count may be set and read from any thread. One thread at a time may report to the
/// same parent, as its list of children has no lock; and nothing else of an object may be changed while
/// another thread uses it. An increment reads and then writes: two at the same moment can count as one.
/// For displays there is `getState()`, which may be read from any thread at any time.
///
/// Lifetime: a progress that gets children must be owned by a `std::shared_ptr`. It owns its children, until
/// its end; they hold it weakly. Receivers and watchers may release the last pointer to what reports to them.
///
/// docs/progress.md follows one update from `++*reading` to the receiver.

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include <brn_mesh_kernel/library/Export.h>
#include <brn_mesh_kernel/objects/Delegator.h>
#include <brn_mesh_kernel/objects/SharedObject.h>
#include <brn_mesh_kernel/progress/ProgressReportingProtocol.h>
#include <brn_mesh_kernel/progress/ProgressState.h>

extern template class BRN_MESH_KERNEL_EXPORT Brennic::Objects::SharedObject<Brennic::Core::Progress>;
extern template class BRN_MESH_KERNEL_EXPORT
    Brennic::Core::Broadcaster<Brennic::Core::ProgressReportingProtocol>;
extern template class BRN_MESH_KERNEL_EXPORT
    Brennic::Core::Delegator<Brennic::Core::ProgressReportingProtocol>;

namespace Brennic::Core {

/// How far a piece of work is, and the work that it consists of.
class BRN_MESH_KERNEL_EXPORT Progress : public Objects::SharedObject<Progress>,
                                        public Delegator<ProgressReportingProtocol>,
                                        public ProgressReportingProtocol
{
public:
    /// Makes a progress of which nothing is completed.
    ///
    /// \param totalUnitCount the whole work in units of the caller's choice; 0 or less if it is not known.
    /// \param description what the work is, for people.
    /// Thread: any.
    Progress(int totalUnitCount = -1, // NOLINT(google-explicit-constructor)
             const std::wstring& description = std::wstring());

    /// Releases the children. Watchers of the state are notified of the end. Nothing is reported to the delegate,
    /// but for what an interval has left out; what a receiver throws is dropped.
    /// Thread: any.
    ~Progress() override;

    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// Sets the total; nothing is reported.
    /// Thread: any, but no other thread may use this object meanwhile.
    void setTotalUnitCount(int totalUnitCount);

    /// Returns the total, in units.
    /// Thread: any.
    int getTotalUnitCount() const;

    /// Sets the completed count and reports: `progressCompleted` if it has reached the total, otherwise
    /// `progressUpdated`. What a receiver in this thread throws passes through; the count is set by then.
    /// Thread: any; the receivers of this thread, up to the root, are called before it returns.
    void setCompletedUnitCount(int completedUnitCount);

    /// Returns the completed count, in units.
    /// Thread: any.
    int getCompletedUnitCount();

    /// Adds \p unitCount, which may be negative, to the completed count and reports as a set does. The count
    /// stops at the ends of the range of `int`.
    /// Thread: any; two calls at the same moment can count as one.
    void incrementCompletedUnitCount(int unitCount);

    /// Increments the completed count by 1, reports, and returns the count.
    /// Thread: any; two calls at the same moment can count as one.
    int operator++();

    /// Increments the completed count, reports, and returns the count (no reference to this object).
    /// Thread: any; two calls at the same moment can count as one.
    int operator+=(int unitCount);

    /// Returns the completed count divided by the total, not limited to 0 to 1: above 1 if more than the
    /// total is completed, infinite or not a number if the total is 0.
    /// Thread: any.
    float getFractionCompleted();

    /// Whether the total is 0 or less.
    /// Thread: any.
    bool isIndeterminateProgress() const;

    /// Whether the completed count is at least the total. True as well while the total is unknown.
    /// Thread: any.
    bool isComplete();

    /// Makes \p child a part that stands for \p pendingUnitCount units of this object's total.
    ///
    /// This object becomes the child's delegate in place of any other, and its total grows to the sum of its
    /// children's units where it is smaller, at most to the largest `int`. Nothing is reported. Ignored are
    /// an empty pointer, a child that is there already, this object, and what it is a part of, over whatever
    /// levels. If no shared pointer owns this object, the child is left without a delegate.
    ///
    /// A tree has at most 256 levels, including the root's. A child keeps its level below former parents,
    /// even after their destruction.
    /// \throws std::length_error if the child, or what is below it, would lie deeper; nothing is changed.
    /// Thread: any, but no other thread may use this object, report on its children, or add to what is below
    /// \p child meanwhile.
    /// Ownership: this object shares the child until its end.
    void addChildWithPendingCount(std::shared_ptr<Progress> child, int pendingUnitCount);

    /// Carries what truncation cuts from a child's report over to its next one.
    ///
    /// A child that completes has then moved this object's count by exactly its pending count, whatever the
    /// totals and the steps are. Without it, which is the default, the rest of each report is lost: 100 steps
    /// of 1 on 100 pending units move the count by 31. What `getState()->getFraction()` returns does not
    /// depend on it.
    /// Thread: any, but no child may report meanwhile.
    void setKeepsRemainders(bool keepsRemainders);

    /// Reports a set of the count only if the last report was made at least \p interval ago. Zero or less, the
    /// default, reports each. It holds for the delegate and the watchers of this object: every count is stored,
    /// and each step of a part moves what it is a part of. So a tree whose receiver is at its root needs the
    /// interval there, and not at the parts.
    ///
    /// - The step with which the count reaches a known total is reported at once, and to the delegate once; steps
    ///   after it, at the interval.
    /// - The newest count is always reported in the end. If the steps pause after one that was left out, watchers
    ///   and a receiver of the GUI thread are called in the GUI thread, once the interval has passed and it serves
    ///   events. A receiver of the stepping thread can be called in no other: it is called at the next step
    ///   after the interval, or by \ref fail, by this function, or by the destructor, whichever comes first. The same
    ///   holds of a receiver that is set, or an application object that is made, after a step was left out.
    /// - One thread at a time reports. A step that another thread takes meanwhile is left out, and told by that
    ///   one. Increments by several threads count each.
    /// - The interval is never shorter than was set; it may be longer by a tick of the system's clock, of 1 to 16 ms.
    /// - What was left out when this function is called is reported in the call.
    /// Thread: any that keeps this object until it returns.
    void setReportInterval(std::chrono::milliseconds interval);

    /// Asks the work, and all parts of it, to stop; see `ProgressState::cancel`.
    /// Thread: any that keeps this object until it returns; handlers and watchers are called in it.
    void cancel();

    /// Whether the work was asked to stop. For loops: costs one atomic load.
    /// Thread: any.
    bool isCancelled() const;

    /// Has \p handler called when this object is cancelled, by itself or with what it is a part of: once, in
    /// the cancelling thread, with no lock held. If it is cancelled already, the handler is called at once,
    /// in this thread. It replaces an earlier one, is released at the end of this object, and may be empty.
    /// \throws what the handler throws, if it is called at once.
    /// Thread: any. Ownership: the handler is copied; what it refers to must live until it has been replaced
    /// or this object has ended, and no cancellation is under way.
    void setCancelHandler(std::function<void()> handler);

    /// Says that the work has failed, and why, for people. Nothing is reported to the delegate, but for what an
    /// interval has left out, and nothing else changes: neither the counts nor the parts, nor what this is a part of.
    /// Displays show the last text.
    /// Thread: any that keeps this object until it returns; watchers are called in it.
    void fail(const std::wstring& text);

    /// Replaces the description; nothing is reported.
    /// Thread: any, but no other thread may use this object meanwhile.
    void setDescription(const std::wstring& description);

    /// Returns the description.
    /// Thread: any.
    std::wstring getDescription() const;

    /// Returns what can be read of this object and its children from any thread, also while others change it
    /// and after its end. Always the same, and never empty.
    /// Thread: any. Ownership: shared; it does not prolong the life of this object.
    std::shared_ptr<ProgressState> getState() const;

    /// Takes the report of a child: moves the completed count by the change of the child's fraction times its
    /// units, in single precision and truncated, and reports. A change that is not a number counts as 0, and
    /// one beyond the range of `int` as the nearest `int`. The child's description is not used.
    /// Thread: that of the report; one at a time.
    void progressUpdated(Progress* child, float fraction, const std::wstring& description) override;

    /// The same as \ref progressUpdated with the fraction 1.
    /// Thread: that of the report; one at a time.
    void progressCompleted(Progress* child, const std::wstring& description) override;

private:
    struct ProgressImpl;

    std::unique_ptr<ProgressImpl> m_impl;
};

} // namespace Brennic::Core
