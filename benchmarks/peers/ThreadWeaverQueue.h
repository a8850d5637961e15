#pragma once
/// \file
/// Callables as jobs of a queue of KDE's ThreadWeaver. With Qt 5 only.

#include <ThreadWeaver/Queue>
#include <ThreadWeaver/Queueing>

class ThreadWeaverQueue
{
public:
    static constexpr const char* name = "ThreadWeaver";

    explicit ThreadWeaverQueue(int workers) { m_queue.setMaximumNumberOfThreads(workers); }

    template <typename Function>
    void run(const Function& function)
    {
        m_queue.enqueue(ThreadWeaver::make_job(function));
    }

private:
    ThreadWeaver::Queue m_queue;
};
