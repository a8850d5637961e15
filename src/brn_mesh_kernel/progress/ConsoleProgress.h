#pragma once
/// \file
/// Shows on the terminal how far a progress has come, in one line that is drawn again and again:
///
///     Smooth     [############--------]  61 %  0:07 elapsed  0:04 left
///
///     auto whole = std::make_shared<Brennic::Core::Progress>(100, L"Smooth");
///     {
///         const Brennic::Core::ConsoleProgress line(whole); // takes the place of the delegate
///         application.exec();                               // while workers report
///     }                                                     // the line is gone
///
/// The text is the description, UTF-8, cut to the terminal's width, whatever that is at the moment. It is drawn ten times
/// a second at most, by a timer: it stands still while the GUI thread serves no events. Where the standard output is no
/// terminal, or one that `TERM` calls "dumb", nothing is ever printed.
///
/// Records that the kernel logs, in whatever thread, never mix with the line. Whoever prints to the standard output
/// otherwise keeps it away meanwhile by a `Pause`.
///
/// Threads: made, used and destroyed in the GUI thread, while there is an application object. A `Pause` belongs to any.
///
/// Lifetime: shares the progress until its own end, at which the line is erased and the terminal as it was. A terminal
/// has one line: of several objects each draws over the other.

#include <memory>

#include <brn_mesh_kernel/library/Export.h>

namespace Brennic::Core {

class Progress;

/// The live line of a terminal.
class BRN_MESH_KERNEL_EXPORT ConsoleProgress
{
public:
    /// Keeps the line away while it lives, so that something else can be printed; it comes back by itself. Nests.
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
    /// Thread: GUI thread; no other thread may change the description of \p root meanwhile. Ownership: shared, until
    /// \ref finish.
    explicit ConsoleProgress(std::shared_ptr<Progress> root);
    /// The same as \ref finish.
    /// Thread: GUI thread.
    ~ConsoleProgress();
    ConsoleProgress(const ConsoleProgress&) = delete;
    ConsoleProgress& operator=(const ConsoleProgress&) = delete;

    /// Whether the standard output was a terminal when the object was made: otherwise nothing is printed, and the host
    /// may want to tell by lines of its own.
    /// Thread: any.
    bool isLive() const;

    /// Erases the line for good, and puts the terminal back to what it was. The progress is left without a delegate,
    /// unless it was given another. A second call does nothing.
    /// Thread: GUI thread.
    void finish();

private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};

} // namespace Brennic::Core
