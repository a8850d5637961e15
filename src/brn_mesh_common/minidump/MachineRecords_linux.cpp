#include <brn_mesh_common/minidump/MachineRecords_linux.h>

#include <bitset>
#include <charconv>
#include <cstring>

#include <brn_mesh_common/minidump/Syscall_linux.h>
#include <cpuid.h>
#include <sys/utsname.h>

namespace Brennic::Minidump {

namespace {

constexpr std::size_t mxCsrOffset = 24; // in what fxsave stores
constexpr std::uint16_t userDataSegment =
    0x2b; // the value in every 64-bit thread; a signal frame does not have it

std::uint64_t word(greg_t value)
{
    return static_cast<std::uint64_t>(value);
}

void setFloatSave(ContextAmd64& context, const void* fxsave)
{
    std::memcpy(context.floatSave.data(), fxsave, context.floatSave.size());
    std::memcpy(&context.mxCsr, context.floatSave.data() + mxCsrOffset, sizeof context.mxCsr);
}

void setGeneral(ContextAmd64& context, const greg_t (&registers)[NGREG])
{
    context.rax = word(registers[REG_RAX]);
    context.rcx = word(registers[REG_RCX]);
    context.rdx = word(registers[REG_RDX]);
    context.rbx = word(registers[REG_RBX]);
    context.rsp = word(registers[REG_RSP]);
    context.rbp = word(registers[REG_RBP]);
    context.rsi = word(registers[REG_RSI]);
    context.rdi = word(registers[REG_RDI]);
    context.r8 = word(registers[REG_R8]);
    context.r9 = word(registers[REG_R9]);
    context.r10 = word(registers[REG_R10]);
    context.r11 = word(registers[REG_R11]);
    context.r12 = word(registers[REG_R12]);
    context.r13 = word(registers[REG_R13]);
    context.r14 = word(registers[REG_R14]);
    context.r15 = word(registers[REG_R15]);
    context.rip = word(registers[REG_RIP]);
}

void setGeneral(ContextAmd64& context, const user_regs_struct& registers)
{
    context.rax = registers.rax;
    context.rcx = registers.rcx;
    context.rdx = registers.rdx;
    context.rbx = registers.rbx;
    context.rsp = registers.rsp;
    context.rbp = registers.rbp;
    context.rsi = registers.rsi;
    context.rdi = registers.rdi;
    context.r8 = registers.r8;
    context.r9 = registers.r9;
    context.r10 = registers.r10;
    context.r11 = registers.r11;
    context.r12 = registers.r12;
    context.r13 = registers.r13;
    context.r14 = registers.r14;
    context.r15 = registers.r15;
    context.rip = registers.rip;
}

std::uint8_t countProcessors()
{
    std::array<std::uint64_t, 16> set{};
    systemCall(SYS_sched_getaffinity, 0, sizeof set, set.data());
    std::size_t count = 0;
    for (const std::uint64_t word : set)
        count += std::bitset<64>(word).count();
    return static_cast<std::uint8_t>(count < 255 ? count : 255);
}

void setProcessor(SystemInfo& info)
{
    unsigned a = 0;
    unsigned b = 0;
    unsigned c = 0;
    unsigned d = 0;
    __get_cpuid(0, &a, &b, &c, &d);
    info.processorVendor = {b, d, c};
    __get_cpuid(1, &a, &b, &c, &d);
    info.processorVersion = a;
    info.processorFeatures = d;
    const unsigned family = (a >> 8) & 0xf;
    const unsigned model = (a >> 4) & 0xf;
    const unsigned extendedModel = (a >> 12) & 0xf0;
    info.processorLevel = static_cast<std::uint16_t>(family == 0xf ? family + ((a >> 20) & 0xff) : family);
    info.processorRevision = static_cast<std::uint16_t>(((extendedModel | model) << 8) | (a & 0xf));
    if (__get_cpuid(0x80000001, &a, &b, &c, &d) != 0)
        info.processorExtendedFeatures = d;
}

// "6.1.0-18-amd64" gives 6, 1 and 0.
void setRelease(SystemInfo& info, const utsname& system)
{
    const char* next = system.release;
    const char* const end = next + std::string_view(system.release).size();
    for (std::uint32_t* const part : {&info.majorVersion, &info.minorVersion, &info.buildNumber}) {
        next = std::from_chars(next, end, *part).ptr;
        next += next != end ? 1 : 0;
    }
}

utsname querySystem()
{
    utsname system{};
    systemCall(SYS_uname, &system);
    return system;
}

} // namespace

ContextAmd64 toContext(const ucontext_t& interrupted)
{
    ContextAmd64 context{};
    const auto& registers = interrupted.uc_mcontext.gregs;
    context.flags = contextAmd64Full;
    setGeneral(context, registers);
    const std::uint64_t segments = word(registers[REG_CSGSFS]); // cs, gs, fs, ss, 16 bits each
    context.cs = static_cast<std::uint16_t>(segments);
    context.gs = static_cast<std::uint16_t>(segments >> 16);
    context.fs = static_cast<std::uint16_t>(segments >> 32);
    context.ss = context.ds = context.es = userDataSegment;
    context.eflags = static_cast<std::uint32_t>(registers[REG_EFL]);
    if (interrupted.uc_mcontext.fpregs != nullptr)
        setFloatSave(context, interrupted.uc_mcontext.fpregs);
    return context;
}

ContextAmd64 toContext(const user_regs_struct& general, const user_fpregs_struct& floatingPoint)
{
    ContextAmd64 context{};
    context.flags = contextAmd64Full;
    setGeneral(context, general);
    context.cs = static_cast<std::uint16_t>(general.cs);
    context.ds = static_cast<std::uint16_t>(general.ds);
    context.es = static_cast<std::uint16_t>(general.es);
    context.fs = static_cast<std::uint16_t>(general.fs);
    context.gs = static_cast<std::uint16_t>(general.gs);
    context.ss = static_cast<std::uint16_t>(general.ss);
    context.eflags = static_cast<std::uint32_t>(general.eflags);
    setFloatSave(context, &floatingPoint);
    return context;
}

SystemInfo querySystemInfo()
{
    SystemInfo info{};
    info.architecture = architectureAmd64;
    info.platform = platformLinux;
    info.processorCount = countProcessors();
    setProcessor(info);
    setRelease(info, querySystem());
    return info;
}

FixedText<256> querySystemText()
{
    const utsname system = querySystem();
    FixedText<256> text;
    text.append(system.sysname).append(' ').append(system.release).append(' ').append(system.version);
    return text;
}

} // namespace Brennic::Minidump
