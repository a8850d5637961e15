#pragma once
/// \file
/// The interface through which a `Progress` reports.
///
///     struct StatusBar final : Brennic::Core::ProgressReportingProtocol {
///         void progressUpdated(Brennic::Core::Progress*, float fraction, const std::wstring& text) override
///         {
///             show(text, 100 * fraction);
///         }
///     };
///     auto statusBar = std::make_shared<StatusBar>();
///     progress->setDelegate(statusBar, true); // called in the GUI thread
///
/// A receiver overrides what it needs: both functions do nothing by themselves. It may call the progress that
/// reports, set its delegate, and report progress of its own.
///
/// Threads: a receiver is called in the thread that it was registered for, with no locks held.
///
/// Lifetime: receivers are destroyed through their own types: this class has no virtual destructor.

#include <string>

#include <brn_mesh_kernel/library/Export.h>

namespace Brennic::Core {

class Progress;

/// Receives the reports of a \ref Progress.
class BRN_MESH_KERNEL_EXPORT ProgressReportingProtocol
{
public:
    /// Called each time the count is set and the progress is not complete, but for what an interval leaves out
    /// (`Progress::setReportInterval`).
    ///
    /// \param progress the one that reports. In the GUI thread the call may come after its destruction.
    /// \param fraction the completed count divided by the total: usually 0 to 1, but not limited to that, and not a
    ///        number where the total is 0. The count of \p progress may have changed since.
    /// \param description the description of \p progress.
    /// An exception propagates to the caller that set the count if the receiver is registered for that thread; in the
    /// GUI thread it propagates to the event loop.
    /// Thread: the one that set the count, or the GUI thread; locks held: none.
    virtual void progressUpdated(Progress* progress, float fraction, const std::wstring& description);

    /// Called each time the count is set and the progress is complete.
    ///
    /// The rest is as for \ref progressUpdated.
    /// Thread: the one that set the count, or the GUI thread; locks held: none.
    virtual void progressCompleted(Progress* progress, const std::wstring& description);
};

} // namespace Brennic::Core
