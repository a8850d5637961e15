#pragma once
/// \file
/// The base of every run-time service: something that is started and stopped.
///
///     struct Cache : Brennic::Core::IService {
///         Brennic::Core::EKvsStatus Initialize() override { return Brennic::Core::Success; }
///     };
///
/// A service is started and stopped from one thread, the host's main thread.

#include <brn_mesh_kernel/kernel/EKvsStatus.h>
#include <brn_mesh_kernel/library/Export.h>

namespace Brennic::Core {

/// Something that is started and stopped.
class BRN_MESH_KERNEL_EXPORT IService
{
public:
    /// An interface has no state of its own.
    /// Thread: any.
    IService() = default;

    /// Copies nothing.
    /// Thread: any.
    IService(const IService&) = default;

    /// Copies nothing.
    /// Thread: any.
    IService& operator=(const IService&) = default;

    /// Does not stop the service.
    /// Thread: any.
    virtual ~IService();

    /// Starts the service.
    /// \return `Success`, or what kept the service from starting.
    /// Thread: main thread.
    virtual EKvsStatus Initialize() = 0;

    /// Stops the service. Does nothing unless a service overrides it.
    /// Thread: main thread.
    virtual void Terminate();
};

} // namespace Brennic::Core
