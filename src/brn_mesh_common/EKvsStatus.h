#pragma once
/// \file
/// The result of operations of `brn_mesh_common` and of the kernel.
///
///     if (kernel.ProfilerWaypoint(L"Load") != Brennic::Core::Success) { /* no profiling run is open */ }
///
/// `Success` is zero and every other value is a failure, also one that is not listed here.

#include <cstdint>

namespace Brennic::Core {

/// What became of an operation.
enum EKvsStatus : std::int32_t
{
    /// The operation was carried out.
    Success = 0,
    /// A service could not start, or a query found nothing.
    Failure = 1,
    /// A waypoint was asked for while no profiling run is open.
    NotRunning = 2,
};

} // namespace Brennic::Core
