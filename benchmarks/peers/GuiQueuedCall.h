#pragma once
/// \file
/// The plain Qt way to run something in the GUI thread: a queued call of a functor to an object there.

#include <QCoreApplication>
#include <QMetaObject>

class GuiQueuedCall
{
public:
    static constexpr const char* name = "queued call to the GUI thread";

    explicit GuiQueuedCall(int) {}

    template <typename Function>
    void run(const Function& function)
    {
        QMetaObject::invokeMethod(QCoreApplication::instance(), function, Qt::QueuedConnection);
    }
};
