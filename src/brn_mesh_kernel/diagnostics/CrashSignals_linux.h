#pragma once
/// \file
/// Internal, not installed. The signals of a process that dies of itself.

#include <csignal>

#include <brn_mesh_common/minidump/SignalMask_linux.h>

namespace Brennic::Core {

constexpr int crashSignals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS, SIGABRT};

inline Minidump::SignalMask crashSignalMask()
{
    return Minidump::SignalMask::of({SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS, SIGABRT});
}

} // namespace Brennic::Core
