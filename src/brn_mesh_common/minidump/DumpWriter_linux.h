#pragma once
/// \file
/// Internal, not installed. Puts the dump together, stream by stream, into a file.
///
/// Every payload is written before the list that points to it, and the directory last: no offset in a
/// finished file points to something that is not there.

#include <cstdint>

#include <brn_mesh_common/ExceptionPointers_linux.h>
#include <brn_mesh_common/minidump/DumpFile_linux.h>
#include <brn_mesh_common/minidump/FixedList.h>
#include <brn_mesh_common/minidump/Format.h>
#include <brn_mesh_common/minidump/MemoryList_linux.h>
#include <brn_mesh_common/minidump/MemoryMap_linux.h>
#include <brn_mesh_common/minidump/ModuleList_linux.h>
#include <brn_mesh_common/minidump/ProcFile_linux.h>
#include <brn_mesh_common/minidump/ThreadList_linux.h>

namespace Brennic::Minidump {

/// How much goes into the dump. Less is tried when there is no room for more.
enum class Extent
{
    Full,
    ShortStacks,
    CallingThread
};

/// What is known about the process. The first thread is the one that crashed or asked.
struct Snapshot
{
    std::int32_t process;
    const siginfo_t* exception; ///< null: a dump without a crash
    ThreadList threads;
    MemoryMap map;
    ModuleList modules;
    MemoryList memory;
    FixedList<ThreadName, 4096> nameRecords;
    FixedList<Module, 2048> moduleRecords;
};

class DumpWriter
{
public:
    /// Both live longer than the writer.
    DumpWriter(Snapshot& snapshot, DumpFile& file, Extent extent);

    /// Writes everything. Errors are recorded in the `DumpFile`.
    void write();

private:
    void writeSystemInfo();
    void writeContexts();
    void writeMemory();
    void writeThreadList();
    void writeThreadNames();
    void writeException();
    void writeModules();
    void writeMemoryInfo();
    void writeMaps();
    void writeProcFile(StreamType type, const ProcPath& path);
    void writeDirectory();

    const CapturedThread* threadsEnd() const { return m_snapshot.threads.begin() + m_threadCount; }
    AddressRange stackOf(const CapturedThread& thread) const;
    std::uint64_t mostOfStack(const CapturedThread& thread) const;
    void addSurroundings(const ContextAmd64& context);
    Location contextOf(const CapturedThread& thread) const;
    Module describe(const LoadedModule& module);
    void addStream(StreamType type, Location location);
    template <typename Record>
    void addList(StreamType type, const Record* first, const Record* last);

    static constexpr std::size_t mostStreams = 11;

    Snapshot& m_snapshot;
    DumpFile& m_file;
    Extent m_extent;
    std::size_t m_threadCount;
    std::uint32_t m_firstContext = 0;
    FixedList<DirectoryEntry, mostStreams> m_directory;
};

} // namespace Brennic::Minidump
