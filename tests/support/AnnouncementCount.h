#pragma once
/// \file
/// Counts the tasks that a queue announces. The signal is protected, so it is connected by its signature.

#include <atomic>

#include <QByteArray>
#include <QMetaObject>
#include <QObject>

#include <brn_mesh_kernel/tasks/TaskQueue.h>

namespace Brennic::Testing {

class AnnouncementCount : public QObject
{
public:
    explicit AnnouncementCount(Core::TaskQueue& queue)
    {
        const int signal = queue.metaObject()->indexOfSignal("newTaskArrived(Task*)");
        QMetaObject::connect(&queue, signal, this, ownMethod(), Qt::DirectConnection);
    }

    int count() const { return m_count; }

    // Takes the place of what moc writes for a slot: the one method after those of QObject.
    int qt_metacall(QMetaObject::Call call, int id, void** arguments) override
    {
        const int own = QObject::qt_metacall(call, id, arguments);
        if (own == 0 && call == QMetaObject::InvokeMetaMethod)
            ++m_count;
        return own;
    }

private:
    static int ownMethod() { return QObject::staticMetaObject.methodCount(); }

    std::atomic<int> m_count{0};
};

} // namespace Brennic::Testing
