#pragma once
/// \file
/// Internal, not installed. One dump from start to end: who stops the threads, who writes, what is tried
/// next.
///
/// The ways, each tried when the one before is closed:
/// 1. A helper process stops all threads with ptrace and writes.
/// 2. The threads write down their own registers on a signal, and the helper writes; where it cannot, the calling
///    thread writes itself.
/// 3. The calling thread alone is written, in case something about the others made the helper fail.
///
/// If there is no dump in the end, standard error tells why.

#include <cstdint>

#include <brn_mesh_common/ExceptionPointers_linux.h>
#include <brn_mesh_common/minidump/Clock_linux.h>
#include <brn_mesh_common/minidump/DumpOutput_linux.h>
#include <brn_mesh_common/minidump/HelperProcess_linux.h>

namespace Brennic::Minidump {

/// What a dump is made in, as nothing may be allocated. Lies zeroed in static storage.
struct Workspace
{
    Snapshot snapshot;
    DumpOutput output;
};

class DumpSession
{
public:
    /// \param exception null for a dump without a crash; the registers are then those in \p context.
    DumpSession(Workspace& workspace, const siginfo_t* exception, const ucontext_t& context,
                const wchar_t* path);

    /// \return whether a complete dump has been written.
    bool run();

private:
    enum class Threads
    {
        Traced,
        Known
    };

    bool writeWithTracedThreads();
    bool writeWithSignalledThreads();
    bool writeCallingThread();
    void runHelper(Threads threads, Extent extent);
    static void helperMain(void* self);
    void captureAndWrite();
    void write();
    void keepCallingThreadOnly();

    Workspace& m_workspace;
    const ucontext_t& m_context;
    const wchar_t* m_path;
    Threads m_threads = Threads::Traced;
    Extent m_extent = Extent::Full;
    HelperEnd m_helperEnd = HelperEnd::NotStarted;
    bool m_isWritten = false;
};

} // namespace Brennic::Minidump
