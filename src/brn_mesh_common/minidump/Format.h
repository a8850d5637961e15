#pragma once
/// \file
/// Internal, not installed. The minidump file format: records as they lie in the file, little endian.

#include <array>
#include <cstddef>
#include <cstdint>

namespace Brennic::Minidump {

constexpr std::uint32_t signature = 0x504d444d; // "MDMP"
constexpr std::uint32_t version = 0xa793;
constexpr std::uint64_t flagFullMemoryInfo = 0x800;
constexpr std::uint32_t platformLinux = 0x8201;
constexpr std::uint16_t architectureAmd64 = 9;
constexpr std::uint32_t elfBuildIdSignature = 0x4270454c;
/// The exception code of a dump that was asked for without an exception.
constexpr std::uint32_t dumpRequested = 0xffffffff;

enum class StreamType : std::uint32_t
{
    ThreadList = 3,
    ModuleList = 4,
    MemoryList = 5,
    Exception = 6,
    SystemInfo = 7,
    MemoryInfoList = 16,
    ThreadNames = 24,
    LinuxProcStatus = 0x47670004,
    LinuxCommandLine = 0x47670006,
    LinuxAuxv = 0x47670008,
    LinuxMaps = 0x47670009,
};

#pragma pack(push, 4)

struct Header
{
    std::uint32_t signature;
    std::uint32_t version;
    std::uint32_t streamCount;
    std::uint32_t directoryRva;
    std::uint32_t checksum;
    std::uint32_t time;
    std::uint64_t flags;
};

/// Size and offset in the file.
struct Location
{
    std::uint32_t size;
    std::uint32_t rva;
};

struct DirectoryEntry
{
    StreamType type;
    Location location;
};

struct MemoryDescriptor
{
    std::uint64_t start;
    Location memory;
};

struct Thread
{
    std::uint32_t threadId;
    std::uint32_t suspendCount;
    std::uint32_t priorityClass;
    std::uint32_t priority;
    std::uint64_t environmentBlock;
    MemoryDescriptor stack;
    Location context;
};

struct ThreadName
{
    std::uint32_t threadId;
    std::uint64_t nameRva;
};

struct ExceptionRecord
{
    std::uint32_t code;
    std::uint32_t flags;
    std::uint64_t nestedRecord;
    std::uint64_t address;
    std::uint32_t parameterCount;
    std::uint32_t alignment;
    std::array<std::uint64_t, 15> parameters;
};

struct ExceptionStream
{
    std::uint32_t threadId;
    std::uint32_t alignment;
    ExceptionRecord record;
    Location context;
};

struct Module
{
    std::uint64_t base;
    std::uint32_t size;
    std::uint32_t checksum;
    std::uint32_t time;
    std::uint32_t nameRva;
    std::array<std::uint32_t, 13> fileVersion;
    Location codeView;
    Location miscellaneous;
    std::array<std::uint64_t, 2> reserved;
};

struct SystemInfo
{
    std::uint16_t architecture;
    std::uint16_t processorLevel;
    std::uint16_t processorRevision;
    std::uint8_t processorCount;
    std::uint8_t productType;
    std::uint32_t majorVersion;
    std::uint32_t minorVersion;
    std::uint32_t buildNumber;
    std::uint32_t platform;
    std::uint32_t systemTextRva;
    std::uint16_t suiteMask;
    std::uint16_t reserved;
    std::array<std::uint32_t, 3> processorVendor;
    std::uint32_t processorVersion;
    std::uint32_t processorFeatures;
    std::uint32_t processorExtendedFeatures;
};

struct MemoryInfoListHeader
{
    std::uint32_t headerSize;
    std::uint32_t entrySize;
    std::uint64_t entryCount;
};

struct MemoryInfo
{
    std::uint64_t base;
    std::uint64_t allocationBase;
    std::uint32_t allocationProtection;
    std::uint32_t alignment1;
    std::uint64_t size;
    std::uint32_t state;
    std::uint32_t protection;
    std::uint32_t type;
    std::uint32_t alignment2;
};

/// The x87 and SSE registers, as the fxsave instruction stores them.
using FloatSave = std::array<std::byte, 512>;

struct ContextAmd64
{
    std::array<std::uint64_t, 6> parameterHome;
    std::uint32_t flags;
    std::uint32_t mxCsr;
    std::uint16_t cs, ds, es, fs, gs, ss;
    std::uint32_t eflags;
    std::array<std::uint64_t, 6> debug;
    std::uint64_t rax, rcx, rdx, rbx, rsp, rbp, rsi, rdi;
    std::uint64_t r8, r9, r10, r11, r12, r13, r14, r15;
    std::uint64_t rip;
    FloatSave floatSave;
    std::array<std::uint64_t, 52> vectors;
    std::uint64_t vectorControl;
    std::array<std::uint64_t, 5> debugControl;
};

#pragma pack(pop)

// Control, integer, segment and floating-point registers.
constexpr std::uint32_t contextAmd64Full = 0x0010000f;

// What readers compare sizes and offsets with.
static_assert(sizeof(Header) == 32);
static_assert(sizeof(DirectoryEntry) == 12);
static_assert(sizeof(Thread) == 48);
static_assert(sizeof(ThreadName) == 12);
static_assert(sizeof(ExceptionStream) == 168);
static_assert(sizeof(Module) == 108);
static_assert(sizeof(SystemInfo) == 56);
static_assert(sizeof(MemoryInfo) == 48);
static_assert(sizeof(ContextAmd64) == 1232);
static_assert(offsetof(ContextAmd64, flags) == 48);
static_assert(offsetof(ContextAmd64, rax) == 120);
static_assert(offsetof(ContextAmd64, rip) == 248);
static_assert(offsetof(ContextAmd64, floatSave) == 256);

} // namespace Brennic::Minidump
