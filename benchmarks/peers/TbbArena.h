#pragma once
/// \file
/// Callables enqueued in an arena of oneTBB that has no slot for the threads that enqueue. oneTBB must be
/// told to allow more workers than the machine has cores.

#include <cstddef>

#include <tbb/global_control.h>
#include <tbb/task_arena.h>

class TbbArena
{
public:
    static constexpr const char* name = "oneTBB";

    explicit TbbArena(int workers)
        : m_allowed(tbb::global_control::max_allowed_parallelism, static_cast<std::size_t>(workers) + 1),
          m_arena(workers, 0)
    {
    }

    template <typename Function>
    void run(const Function& function)
    {
        m_arena.enqueue(function);
    }

private:
    tbb::global_control m_allowed;
    tbb::task_arena m_arena;
};
