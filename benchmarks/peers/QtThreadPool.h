#pragma once
/// \file
/// Callables on a `QThreadPool`, whose threads stay while they have nothing to do.

#include <QThreadPool>

class QtThreadPool
{
public:
    static constexpr const char* name = "QThreadPool";

    explicit QtThreadPool(int workers)
    {
        m_pool.setMaxThreadCount(workers);
        m_pool.setExpiryTimeout(-1);
    }

    template <typename Function>
    void run(const Function& function)
    {
        m_pool.start(function);
    }

private:
    QThreadPool m_pool;
};
