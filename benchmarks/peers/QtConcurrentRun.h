#pragma once
/// \file
/// Callables on `QtConcurrent::run` with a pool of its own, whose threads stay while they have nothing to do.

#include <QThreadPool>
#include <QtConcurrent>

class QtConcurrentRun
{
public:
    static constexpr const char* name = "QtConcurrent";

    explicit QtConcurrentRun(int workers)
    {
        m_pool.setMaxThreadCount(workers);
        m_pool.setExpiryTimeout(-1);
    }

    template <typename Function>
    void run(const Function& function)
    {
        static_cast<void>(QtConcurrent::run(&m_pool, function));
    }

private:
    QThreadPool m_pool;
};
