#include <brn_mesh_common/minidump/DumpWriter_linux.h>

#include <algorithm>
#include <ctime>

#include <brn_mesh_common/minidump/MachineRecords_linux.h>
#include <brn_mesh_common/minidump/ProcFile_linux.h>
#include <brn_mesh_common/minidump/Syscall_linux.h>

namespace Brennic::Minidump {

namespace {

constexpr std::uint64_t surroundings = 512; // of what a register points to, in each direction
constexpr std::uint64_t mostOfCallingStack = 512UL * 1024;
constexpr std::uint64_t mostOfOtherStack = 128UL * 1024;
constexpr std::uint64_t leastOfOtherStack = 8UL * 1024;
constexpr std::uint64_t mostOfAllOtherStacks = 16UL * 1024 * 1024;
constexpr std::uint64_t shortStack = 8UL * 1024;

// States, protections and types of memory, as the format knows them.
constexpr std::uint32_t stateCommitted = 0x1000;
constexpr std::uint32_t typePrivate = 0x20000;
constexpr std::uint32_t typeMapped = 0x40000;

std::uint32_t protectionOf(const Mapping& mapping)
{
    constexpr std::uint32_t data[] = {0x01, 0x02, 0x04, 0x04}; // none, read, write, read and write
    constexpr std::uint32_t code[] = {0x10, 0x20, 0x40, 0x40};
    const unsigned access = (mapping.isReadable ? 1U : 0U) + (mapping.isWritable ? 2U : 0U);
    return mapping.isExecutable ? code[access] : data[access];
}

// Readers expect the signal's number in the exception code, and si_code in its flags.
ExceptionRecord describeException(const siginfo_t* signal, std::uint64_t instruction)
{
    ExceptionRecord record{};
    record.code = signal == nullptr ? dumpRequested : static_cast<std::uint32_t>(signal->si_signo);
    record.flags = signal == nullptr ? 0 : static_cast<std::uint32_t>(signal->si_code);
    const bool isFault = signal != nullptr && signal->si_code > 0; // not sent by somebody
    record.address = isFault ? reinterpret_cast<std::uint64_t>(signal->si_addr) : instruction;
    return record;
}

} // namespace

DumpWriter::DumpWriter(Snapshot& snapshot, DumpFile& file, Extent extent)
    : m_snapshot(snapshot),
      m_file(file),
      m_extent(extent),
      m_threadCount(extent == Extent::CallingThread ? 1 : snapshot.threads.size())
{
}

void DumpWriter::write()
{
    // Leaves room for header and directory, which can only be written when all offsets are known.
    constexpr std::array<std::byte, sizeof(Header) + mostStreams * sizeof(DirectoryEntry)> room{};
    m_file.write(room);
    writeSystemInfo();
    writeContexts();
    writeMemory();
    writeThreadList();
    writeThreadNames();
    writeException();
    writeModules();
    if (m_extent != Extent::CallingThread) {
        writeMemoryInfo();
        writeMaps();
    }
    writeProcFile(StreamType::LinuxProcStatus, procPath(m_snapshot.process, "status"));
    // These are the same for all processes that share the memory, and the helper may always read its own.
    writeProcFile(StreamType::LinuxCommandLine, procPath(processId(), "cmdline"));
    writeProcFile(StreamType::LinuxAuxv, procPath(processId(), "auxv"));
    writeDirectory();
}

void DumpWriter::writeSystemInfo()
{
    SystemInfo info = querySystemInfo();
    info.systemTextRva = m_file.writeText(querySystemText().view());
    m_file.align();
    addStream(StreamType::SystemInfo, m_file.write(info));
}

void DumpWriter::writeContexts()
{
    m_file.align();
    m_firstContext = m_file.position();
    for (const CapturedThread* thread = m_snapshot.threads.begin(); thread != threadsEnd(); ++thread)
        m_file.write(thread->context);
}

// Every stack is in this list as well as in the thread list: lldb takes memory only from here.
void DumpWriter::writeMemory()
{
    MemoryList& memory = m_snapshot.memory;
    memory.clear();
    for (const CapturedThread* thread = m_snapshot.threads.begin(); thread != threadsEnd(); ++thread) {
        const AddressRange stack = stackOf(*thread);
        memory.add(stack.start, stack.end);
    }
    // Left out of the last attempt: reading this memory may be what made the earlier ones exceed their time.
    if (m_extent != Extent::CallingThread)
        addSurroundings(m_snapshot.threads.begin()->context);
    const EnvironmentBlock environment = findEnvironment();
    memory.exclude(environment.start, environment.end);
    memory.unite();
    memory.writeMemory(m_file);
    m_file.align();
    addStream(StreamType::MemoryList, memory.writeList(m_file));
}

void DumpWriter::addSurroundings(const ContextAmd64& context)
{
    const std::uint64_t pointers[] = {context.rip, context.rax, context.rcx, context.rdx,
                                      context.rbx, context.rbp, context.rsi, context.rdi,
                                      context.r8,  context.r9,  context.r10, context.r11,
                                      context.r12, context.r13, context.r14, context.r15};
    for (const std::uint64_t pointer : pointers) {
        const AddressRange range = findSurroundings(m_snapshot.map, pointer, surroundings);
        m_snapshot.memory.add(range.start, range.end);
    }
}

AddressRange DumpWriter::stackOf(const CapturedThread& thread) const
{
    if (!thread.hasRegisters)
        return {};
    return findStack(m_snapshot.map, thread.context.rsp, mostOfStack(thread));
}

std::uint64_t DumpWriter::mostOfStack(const CapturedThread& thread) const
{
    const bool isCalling = &thread == m_snapshot.threads.begin();
    if (m_extent != Extent::Full)
        return isCalling ? 2 * shortStack : shortStack;
    return isCalling ? mostOfCallingStack
                     : std::clamp(mostOfAllOtherStacks / m_threadCount, leastOfOtherStack, mostOfOtherStack);
}

Location DumpWriter::contextOf(const CapturedThread& thread) const
{
    const auto index = static_cast<std::uint32_t>(&thread - m_snapshot.threads.begin());
    const auto size = static_cast<std::uint32_t>(sizeof(ContextAmd64));
    return {size, m_firstContext + index * size};
}

// Not optional: lldb crashes on a dump without a thread list.
void DumpWriter::writeThreadList()
{
    m_file.align();
    const auto count = static_cast<std::uint32_t>(m_threadCount);
    Location list = m_file.write(count);
    for (const CapturedThread* thread = m_snapshot.threads.begin(); thread != threadsEnd(); ++thread) {
        const AddressRange stack = stackOf(*thread);
        Thread record{};
        record.threadId = static_cast<std::uint32_t>(thread->id);
        record.stack = m_snapshot.memory.find(stack.start, stack.end);
        record.context = contextOf(*thread);
        list.size += m_file.write(record).size;
    }
    addStream(StreamType::ThreadList, list);
}

void DumpWriter::writeThreadNames()
{
    m_snapshot.nameRecords.clear();
    for (const CapturedThread* thread = m_snapshot.threads.begin(); thread != threadsEnd(); ++thread) {
        std::array<char, 32> buffer{};
        const ProcPath path = taskPath(m_snapshot.process, thread->id, "comm");
        std::string_view text(buffer.data(), readFile(path.c_str(), buffer.data(), buffer.size()));
        const std::string_view name = takeLine(text);
        if (!name.empty())
            m_snapshot.nameRecords.add({static_cast<std::uint32_t>(thread->id), m_file.writeText(name)});
    }
    addList(StreamType::ThreadNames, m_snapshot.nameRecords.begin(), m_snapshot.nameRecords.end());
}

// Written for a dump without a crash too: lldb takes the registers of the first thread only from this stream.
void DumpWriter::writeException()
{
    const CapturedThread& thread = *m_snapshot.threads.begin();
    ExceptionStream stream{};
    stream.threadId = static_cast<std::uint32_t>(thread.id);
    stream.record = describeException(m_snapshot.exception, thread.context.rip);
    stream.context = contextOf(thread);
    m_file.align();
    addStream(StreamType::Exception, m_file.write(stream));
}

void DumpWriter::writeModules()
{
    m_snapshot.moduleRecords.clear();
    for (const LoadedModule& module : m_snapshot.modules)
        m_snapshot.moduleRecords.add(describe(module));
    addList(StreamType::ModuleList, m_snapshot.moduleRecords.begin(), m_snapshot.moduleRecords.end());
}

// The build id tells a debugger whether a file that it finds is the one that was running.
Module DumpWriter::describe(const LoadedModule& module)
{
    Module record{};
    record.base = module.base;
    record.size = static_cast<std::uint32_t>(std::min<std::uint64_t>(module.end - module.base, 0xffffffff));
    record.nameRva = m_file.writeText(module.path);
    if (module.buildId.size != 0) {
        m_file.align();
        record.codeView = m_file.write(elfBuildIdSignature);
        record.codeView.size += m_file.write(module.buildId.bytes.data(), module.buildId.size).size;
    }
    return record;
}

void DumpWriter::writeMemoryInfo()
{
    const MemoryInfoListHeader header{sizeof(MemoryInfoListHeader), sizeof(MemoryInfo),
                                      m_snapshot.map.size()};
    m_file.align();
    Location list = m_file.write(header);
    for (const Mapping& mapping : m_snapshot.map) {
        MemoryInfo info{};
        info.base = info.allocationBase = mapping.start;
        info.size = mapping.size();
        info.state = stateCommitted;
        info.protection = info.allocationProtection = protectionOf(mapping);
        info.type = mapping.isShared || !mapping.name.empty() ? typeMapped : typePrivate;
        list.size += m_file.write(info).size;
    }
    addStream(StreamType::MemoryInfoList, list);
}

void DumpWriter::writeMaps()
{
    const std::string_view text = m_snapshot.map.text();
    m_file.align();
    if (!text.empty())
        addStream(StreamType::LinuxMaps, m_file.write(text.data(), text.size()));
}

void DumpWriter::writeProcFile(StreamType type, const ProcPath& path)
{
    alignas(8) std::array<char, 0x4000> buffer;
    const std::size_t size = readFile(path.c_str(), buffer.data(), buffer.size());
    m_file.align();
    if (size != 0)
        addStream(type, m_file.write(buffer.data(), size));
}

// The header comes last too: without its signature, what an interrupted writer has left is not taken for a dump.
void DumpWriter::writeDirectory()
{
    timespec now{};
    systemCall(SYS_clock_gettime, CLOCK_REALTIME, &now);
    Header header{};
    header.signature = signature;
    header.version = version;
    header.streamCount = static_cast<std::uint32_t>(m_directory.size());
    header.directoryRva = sizeof header;
    header.time = static_cast<std::uint32_t>(now.tv_sec);
    header.flags = flagFullMemoryInfo;
    m_file.overwrite(0, &header, sizeof header);
    m_file.overwrite(sizeof header, m_directory.data(), m_directory.size() * sizeof(DirectoryEntry));
}

void DumpWriter::addStream(StreamType type, Location location)
{
    m_directory.add({type, location});
}

template <typename Record>
void DumpWriter::addList(StreamType type, const Record* first, const Record* last)
{
    m_file.align();
    const auto count = static_cast<std::uint32_t>(last - first);
    Location list = m_file.write(count);
    list.size += m_file.write(first, count * sizeof(Record)).size;
    addStream(type, list);
}

} // namespace Brennic::Minidump
