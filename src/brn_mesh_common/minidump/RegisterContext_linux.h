#pragma once
/// \file
/// Internal, not installed. Registers as the system gives them, turned into the dump's record.

#include <ucontext.h>

#include <brn_mesh_common/minidump/Format.h>
#include <sys/user.h>

namespace Brennic::Minidump {

/// From a signal handler's third argument.
ContextAmd64 toContext(const ucontext_t& interrupted);

/// From what a tracer reads.
ContextAmd64 toContext(const user_regs_struct& general, const user_fpregs_struct& floatingPoint);

} // namespace Brennic::Minidump
