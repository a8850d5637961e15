#pragma once
/// \file
/// The interface through which a `Progress` tells how far its work has come.
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

/// Hears what a \ref Progress has to tell.
class BRN_MESH_KERNEL_EXPORT ProgressReportingProtocol
{
public:
    /// Hears that the count of a progress that is not complete was set.
    ///
    /// \param progress the one that reports; where the call comes later than the report, it may have gone.
    /// \param fraction the part that was done: 0 to 1, but not limited to that, and not a number where the
    ///        total is 0. The count of \p progress may have moved on since.
    /// \param description what \p progress is about.
    /// An exception reaches whoever set the count if the receiver is registered for that thread; in the GUI
    /// thread it reaches the event loop.
    /// Thread: the one that set the count, or the GUI thread; locks held: none.
    virtual void progressUpdated(Progress* progress, float fraction, const std::wstring& description);

    /// Hears that the count of a progress that is complete was set, once for each time.
    ///
    /// The rest is as for \ref progressUpdated.
    /// Thread: the one that set the count, or the GUI thread; locks held: none.
    virtual void progressCompleted(Progress* progress, const std::wstring& description);
};

} // namespace Brennic::Core
