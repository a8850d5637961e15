#pragma once
/// \file
/// Internal, not installed. What the system says of registers, processor and kernel, as records of the dump.

#include <ucontext.h>

#include <brn_mesh_common/minidump/FixedText.h>
#include <brn_mesh_common/minidump/Format.h>
#include <sys/user.h>

namespace Brennic::Minidump {

/// From a signal handler's third argument.
ContextAmd64 toContext(const ucontext_t& interrupted);

/// From what a tracer reads.
ContextAmd64 toContext(const user_regs_struct& general, const user_fpregs_struct& floatingPoint);

/// The processor and the kernel that the process runs on: all but the offset of the kernel's text.
SystemInfo querySystemInfo();

/// Name, release and build of the kernel.
FixedText<256> querySystemText();

} // namespace Brennic::Minidump
