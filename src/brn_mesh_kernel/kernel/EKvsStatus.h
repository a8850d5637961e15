#pragma once
/// \file
/// The result of kernel and diagnostics operations. Declared by the library below, which returns it as well.
///
///     if (kernel.ProfilerWaypoint(L"Load") != Brennic::Core::Success) { /* no profiling run is open */ }

#include <brn_mesh_common/EKvsStatus.h>
