#pragma once
/// \file
/// Callables on a queue of the library with as many workers as one likes. `dispatchAsync` does the same on a
/// global queue.

#include <functional>
#include <memory>
#include <type_traits>
#include <utility>

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
        add(*m_queue, function);
    }

private:
    template <typename Queue, typename = void>
    struct TakesCallables : std::false_type
    {
    };
    template <typename Queue>
    struct TakesCallables<
        Queue, std::void_t<decltype(std::declval<Queue&>().dispatch(std::declval<std::function<void()>>()))>>
        : std::true_type
    {
    };

    // To see what has changed, the benchmarks are also built with earlier versions, whose queues take only
    // tasks.
    template <typename Queue>
    static void add(Queue& queue, std::function<void()> function)
    {
        if constexpr (TakesCallables<Queue>::value)
            queue.dispatch(std::move(function));
        else
            queue.addTask(std::make_shared<Brennic::Core::Task>(function));
    }

    std::shared_ptr<Brennic::Core::TaskQueue> m_queue;
};
