#pragma once
/// \file
/// The plainest way to report progress: a queued call to an object in the GUI thread for each update.

#include <QCoreApplication>
#include <QMetaObject>

#include "peers/ProgressReceiver.h"

class QueuedProgress
{
public:
    static constexpr const char* name = "queued call";

    explicit QueuedProgress(ProgressReceiver& receiver) : m_receiver(receiver) {}

    void update(int value)
    {
        QMetaObject::invokeMethod(
            QCoreApplication::instance(), [&receiver = m_receiver, value] { receiver.hear(value); },
            Qt::QueuedConnection);
    }

private:
    ProgressReceiver& m_receiver;
};
