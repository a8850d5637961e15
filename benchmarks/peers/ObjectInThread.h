#pragma once
/// \file
/// The plain Qt way to run something in another thread: calls of functors to an object in a `QThread`.

#include <QMetaObject>
#include <QObject>
#include <QThread>

class ObjectInThread
{
public:
    static constexpr const char* name = "object in a QThread";

    explicit ObjectInThread(int)
    {
        m_object.moveToThread(&m_thread);
        m_thread.start();
    }
    ~ObjectInThread()
    {
        m_thread.quit();
        m_thread.wait();
    }
    ObjectInThread(const ObjectInThread&) = delete;
    ObjectInThread& operator=(const ObjectInThread&) = delete;

    template <typename Function>
    void run(const Function& function)
    {
        QMetaObject::invokeMethod(&m_object, function, Qt::QueuedConnection);
    }

    template <typename Function>
    void runAndWait(const Function& function)
    {
        QMetaObject::invokeMethod(&m_object, function, Qt::BlockingQueuedConnection);
    }

private:
    QObject m_object;
    QThread m_thread;
};
