#include <brn_mesh_common/minidump/RegisterContext_linux.h>

#include <cstring>

namespace Brennic::Minidump {

namespace {

constexpr std::size_t mxCsrOffset = 24; // in what fxsave stores
constexpr std::uint16_t userDataSegment =
    0x2b; // a signal frame does not tell; the value of every 64-bit thread

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

} // namespace Brennic::Minidump
