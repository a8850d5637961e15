#pragma once
/// \file
/// Shows a progress on the terminal, in one line that is redrawn in place:
///
///     Smooth     [############--------]  61 %  0:07 elapsed  0:04 left
///
///     auto whole = std::make_shared<Brennic::Core::Progress>(100, L"Smooth");
///     {
///         const Brennic::Core::ConsoleProgress line(whole); // takes the place of the delegate
///         application.exec();                               // while workers report
///     }                                                     // the line is erased
///
/// It shows the description, UTF-8, the exact fraction (`ProgressState::getFraction`), and the time that is left
/// (`ProgressState::getEstimate`) as soon as that can be judged; after `Progress::cancel` or `fail` that in its place.
/// The line is cut to the terminal's width, whatever that is at the moment. It is drawn ten times a second at most, by a
/// timer: it stands still while the GUI thread serves no events.
/// Where the standard output is no terminal, or one that `TERM` calls "dumb", nothing is ever printed.
///
/// Records that the kernel logs, from any thread, never mix with the line. Code that prints to the standard output by
/// other means hides the line with a `Pause`.
///
/// Threads: made, used and destroyed in the GUI thread, while there is an application object. A `Pause` belongs
/// to any.
///
/// Lifetime: shares the progress until its own destruction, which erases the line and restores the terminal. A
/// terminal has one line: several objects draw over each other.

#include <memory>

#include <brn_mesh_kernel/library/Export.h>

namespace Brennic::Core {

class Progress;

/// The live line of a terminal.
class BRN_MESH_KERNEL_EXPORT ConsoleProgress
{
public:
    /// Hides the line while the object lives, so that other text can be printed; the line then comes back. Nests.
    class BRN_MESH_KERNEL_EXPORT Pause
    {
    public:
        /// Erases the line, if there is one, before it returns.
        /// Thread: any; blocks while the line is being drawn. Not safe in a signal handler.
        Pause();
        /// Lets the line come back, unless there is another pause. What was printed should be flushed by then.
        /// Thread: any.
        ~Pause();
        Pause(const Pause&) = delete;
        Pause& operator=(const Pause&) = delete;
    };

    /// Becomes the delegate of \p root in place of any other, and begins to draw within a tenth of a second. The time
    /// that is shown begins here. An empty pointer shows a line that does not move.
    ///
    /// Throws `std::bad_alloc` if there is no memory; nothing is changed then.
    /// Thread: GUI thread. Ownership: shared, until \ref finish.
    explicit ConsoleProgress(std::shared_ptr<Progress> root);
    /// The same as \ref finish.
    /// Thread: GUI thread.
    ~ConsoleProgress();
    ConsoleProgress(const ConsoleProgress&) = delete;
    ConsoleProgress& operator=(const ConsoleProgress&) = delete;

    /// Whether the standard output was a terminal when the object was made. If not, nothing is printed, and the
    /// host may want to print lines of its own.
    /// Thread: any.
    bool isLive() const;

    /// Erases the line and restores the terminal. The progress has no delegate afterwards, unless the host has
    /// set another one. A second call does nothing.
    /// Thread: GUI thread.
    void finish();

private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};

} // namespace Brennic::Core
