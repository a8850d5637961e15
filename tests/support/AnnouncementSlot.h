#pragma once
/// \file
/// A host's slot that a queue's announcements call directly, in the thread that adds the task. The signal is
/// protected, so it is connected by its signature.

#include <functional>
#include <utility>

#include <QMetaObject>
#include <QObject>

#include <brn_mesh_kernel/tasks/Task.h>
#include <brn_mesh_kernel/tasks/TaskQueue.h>

namespace Brennic::Testing {

class AnnouncementSlot : public QObject
{
public:
    AnnouncementSlot(Core::TaskQueue& queue, std::function<void(Core::Task*)> slot) : m_slot(std::move(slot))
    {
        const int signal = queue.metaObject()->indexOfSignal("newTaskArrived(Task*)");
        QMetaObject::connect(&queue, signal, this, ownMethod(), Qt::DirectConnection);
    }

    // Takes the place of what moc writes for a slot: the one method after those of QObject.
    int qt_metacall(QMetaObject::Call call, int id, void** arguments) override
    {
        const int own = QObject::qt_metacall(call, id, arguments);
        if (own == 0 && call == QMetaObject::InvokeMetaMethod)
            m_slot(*static_cast<Core::Task**>(arguments[1]));
        return own;
    }

private:
    static int ownMethod() { return QObject::staticMetaObject.methodCount(); }

    std::function<void(Core::Task*)> m_slot;
};

} // namespace Brennic::Testing
