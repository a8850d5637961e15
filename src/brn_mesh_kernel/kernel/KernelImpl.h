#pragma once
/// \file
/// Internal, not installed. The services of a kernel and the order in which they start and stop.

#include <memory>

#include <brn_mesh_kernel/kernel/IService.h>
#include <brn_mesh_kernel/kernel/Kernel.h>

namespace Brennic::Core {

class ExceptionHandler;
class LogSystem;
class Profiler;

class Kernel::Impl : public IService
{
public:
    Impl();
    ~Impl() override;

    EKvsStatus Initialize() override;
    void Terminate() override;

    // Made in this order and destroyed in the opposite one.
    const std::unique_ptr<LogSystem> logSystem;
    const std::unique_ptr<Profiler> profiler;
    const std::unique_ptr<ExceptionHandler> exceptionHandler;

private:
    void passDumpDirectory();
};

} // namespace Brennic::Core
