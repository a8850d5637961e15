#pragma once
/// \file
/// The plain Qt way to have something done in the GUI thread: a queued call of a functor to an object there.

#include <QCoreApplication>
#include <QMetaObject>

class GuiQueuedCall
{
public:
    static constexpr const char* name = "queued call";

    explicit GuiQueuedCall(int) {}

    template <typename Function>
    void run(const Function& function)
    {
        QMetaObject::invokeMethod(QCoreApplication::instance(), function, Qt::QueuedConnection);
    }
};
