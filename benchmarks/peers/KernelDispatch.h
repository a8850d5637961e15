#pragma once
/// \file
/// Callables on the library's own queue of a service class.

#include <brn_mesh_kernel/tasks/Dispatch.h>
#include <brn_mesh_kernel/tasks/TaskQueue.h>

template <Brennic::Core::EQualityOfService qos>
class KernelDispatch
{
public:
    static constexpr const char* name = "brn_mesh_kernel";

    /// Ignores the number of workers, which the library chooses: \ref workers.
    explicit KernelDispatch(int) {}

    static int workers()
    {
        return qos == Brennic::Core::eQOS_GUI
                   ? 1
                   : Brennic::Core::TaskQueue::getGlobalQueue(qos)->getMaxConcurrency();
    }

    template <typename Function>
    void run(const Function& function)
    {
        Brennic::Core::dispatchAsync(function, qos);
    }

    template <typename Function>
    void runAndWait(const Function& function)
    {
        Brennic::Core::dispatchSync(function, qos);
    }
};
