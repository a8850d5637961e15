#pragma once
/// \file
/// Lets a thread of the host leave a crash dump even when it has overflowed its stack.
///
///     void solverThread()
///     {
///         Brennic::Core::CrashStack crashStack; // first of all
///         ...
///     }
///
/// A crash is handled on the crashing thread. A thread that has overflowed its stack has no room to do so,
/// and the process dies without a dump. While this object lives, its thread has a second stack for the crash
/// handler. The thread that calls `Kernel::Initialize` and the library's worker threads have one already.
/// Crashes other than stack overflows are caught on every thread, with or without this object.
///
/// The object also unblocks the signals of a crash in its thread.
///
/// Made and destroyed on the same thread, usually as the first local variable of its function. Costs 1 MiB of
/// address space, of which nothing is used until there is a crash.
///
/// On Windows a stack overflow is caught on every thread. There the object reserves 64 KiB of the thread's
/// own stack, until the thread ends, for what the system does after the dump.

#include <memory>

#include <brn_mesh_kernel/library/Export.h>

namespace Brennic::Core {

/// Gives the thread that makes it a stack for the crash handler, as long as it lives.
class BRN_MESH_KERNEL_EXPORT CrashStack
{
public:
    /// Gives the calling thread its second stack, unless it has one that is as large.
    ///
    /// Throws `std::bad_alloc` if there is no memory for the object itself; see \ref isInstalled for the
    /// rest. Thread: any, before it needs it. Not safe in a signal handler.
    CrashStack();
    /// Takes the stack away and puts the thread's previous one back. On Windows the reserve stays.
    /// Thread: the one that made the object.
    ~CrashStack();
    CrashStack(const CrashStack&) = delete;
    CrashStack& operator=(const CrashStack&) = delete;

    /// Whether the thread has a second stack, on Windows a reserve: false if the system had no memory for
    /// one. Nothing is logged.
    /// Thread: any.
    bool isInstalled() const;

private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};

} // namespace Brennic::Core
