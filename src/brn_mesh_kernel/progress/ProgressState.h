#pragma once
/// \file
/// The readable side of a `Progress`: for other threads, while the work goes on and after the progress is destroyed.
///
///     const std::shared_ptr<Brennic::Core::ProgressState> state = progress->getState();
///     state->addWatcher(flag); // a std::shared_ptr, called in the thread that changes something
///     show(state->getDescription(), state->getCompletedUnitCount(), state->getTotalUnitCount());
///     for (const auto& part : state->getParts())
///         show(part.state->getDescription(), part.pendingUnitCount);
///
/// A display keeps the state and not the progress. So it does not extend the lifetime of the work's objects, does not
/// destroy them in its own thread, and still has their last values. Watchers do not replace the progress's delegate.
///
/// Threads: every operation may be called from any thread, at any time.
///
/// Lifetime: shared by its progress and by all callers of `getState()`. It shares the states of the parts. Watchers
/// are held weakly: they are no longer called once their owner releases them.

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include <brn_mesh_kernel/library/Export.h>

namespace Brennic::Core {

class Progress;
class ProgressReportingProtocol;

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
    /// after a change of the total, the description or the parts, and in the destructor of the progress, when
    /// \ref hasEnded. A watcher that is added twice is called twice. Its exceptions propagate to the caller that
    /// made the change, and the watchers after it and the delegate are not called; during the destructor they are
    /// dropped.
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

    void setTotalUnitCount(int totalUnitCount);
    void setCompletedUnitCount(int completedUnitCount);
    void setDescription(const std::wstring& description);
    const Part* addPart(const std::shared_ptr<ProgressState>& part, int pendingUnitCount);
    void end(Progress* progress);
    bool isWatched() const;
    Report report(Progress* progress) const;
    void notifyWatchers(Progress* progress) const;

    std::unique_ptr<ProgressStateImpl> m_impl;
};

} // namespace Brennic::Core
