#pragma once
/// \file
/// Internal, not installed. Writes one dump: stops the threads, and tries another way if one fails.
///
/// The ways, in this order:
/// 1. A helper process stops all threads with ptrace and writes.
/// 2. Each thread records its own registers in a signal handler, and the helper writes; if the helper cannot,
///    the calling thread writes.
/// 3. The dump has the calling thread alone, in case another thread made the helper fail.
///
/// If all fail, a line on standard error says why.
///
/// A dump takes shape in this order: TracedThreads or SignalledThreads stop the threads and fill the
/// ThreadList, MemoryMap and ModuleList read `/proc`, DumpOutput finds a place for the file, DumpWriter
/// writes the streams into a DumpFile, and AtomicFile gives it its name.

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
