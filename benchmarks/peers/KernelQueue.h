#pragma once
/// \file
/// Callables on a queue of the library that has workers of its own: what `dispatchAsync` does with the global ones.

#include <memory>

#include <brn_mesh_kernel/tasks/Task.h>
#include <brn_mesh_kernel/tasks/TaskQueue.h>

class KernelQueue
{
public:
    static constexpr const char* name = "brn_mesh_kernel";

    explicit KernelQueue(int workers)
        : m_queue(Brennic::Core::TaskQueue::createQueue(Brennic::Core::eQOS_Normal, workers))
    {
    }

    template <typename Function>
    void run(const Function& function)
    {
        m_queue->addTask(std::make_shared<Brennic::Core::Task>(function));
    }

private:
    std::shared_ptr<Brennic::Core::TaskQueue> m_queue;
};
