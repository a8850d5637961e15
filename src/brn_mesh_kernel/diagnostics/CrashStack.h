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
/// A crash is handled on the crashing thread, and a thread whose stack is used up has nothing left to handle
/// it with: the process just dies. While this object lives, its thread has a second stack for that. The
/// thread that calls `Kernel::Initialize` and the library's worker threads have one without asking; every
/// other crash than a stack overflow is caught on threads without one as well.
///
/// The object also lets through the signals of a crash, should the thread block them.
///
/// Made and destroyed on the same thread, usually as the first local variable of its function. Costs 1 MiB of
/// address space, of which nothing is used until there is a crash.
///
/// On Windows a stack overflow is caught on every thread. There the object keeps 64 KiB of the thread's own stack for
/// what the system does after the dump, until the thread ends.

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

    /// Whether the thread has a second stack, on Windows a reserve: false if the system had no memory for one.
    /// Nothing is logged.
    /// Thread: any.
    bool isInstalled() const;

private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};

} // namespace Brennic::Core
