#pragma once
/// \file
/// Internal, not installed. The processor and the kernel that the process runs on.

#include <brn_mesh_common/minidump/FixedText.h>
#include <brn_mesh_common/minidump/Format.h>

namespace Brennic::Minidump {

/// All but the offset of the system's text.
SystemInfo querySystemInfo();

/// Name, release and build of the kernel.
FixedText<256> querySystemText();

} // namespace Brennic::Minidump
