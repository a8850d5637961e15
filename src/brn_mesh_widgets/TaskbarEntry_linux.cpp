#include <brn_mesh_widgets/TaskbarEntry.h>

#include <optional>
#include <utility>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QGuiApplication>
#include <QVariantMap>

namespace Brennic::Widgets {

namespace {

// By which task bars find the entry; empty if the program has no name for them.
QString applicationUri(QString desktopName)
{
    const QString ending = QStringLiteral(".desktop");
    if (desktopName.isEmpty())
        desktopName = QGuiApplication::desktopFileName();
    if (desktopName.isEmpty())
        return {};
    return QStringLiteral("application://") + desktopName +
           (desktopName.endsWith(ending) ? QString() : ending);
}

// The protocol has no busy bars: one whose end is not known stands at its beginning.
QVariantMap propertiesOf(const TaskbarLook& look)
{
    return {{QStringLiteral("progress"), look.thousandths / 1000.0},
            {QStringLiteral("progress-visible"), look.isVisible},
            {QStringLiteral("urgent"), look.hasFailed}};
}

} // namespace

class TaskbarEntry::TaskbarEntryImpl
{
public:
    explicit TaskbarEntryImpl(QString name) : m_desktopName(std::move(name)) {}

    void show(const TaskbarLook& look);

private:
    const QString m_desktopName;
    QString m_uri;
    // Asked for when something is first shown, and once: to look for a bus that is not there takes time.
    std::optional<QDBusConnection> m_bus;
};

void TaskbarEntry::TaskbarEntryImpl::show(const TaskbarLook& look)
{
    if (m_uri.isEmpty())
        m_uri = applicationUri(m_desktopName);
    if (m_uri.isEmpty())
        return;
    if (!m_bus)
        m_bus = QDBusConnection::sessionBus();
    if (!m_bus->isConnected())
        return;
    QDBusMessage update = QDBusMessage::createSignal(
        QStringLiteral("/com/canonical/unity/launcherentry/progress"),
        QStringLiteral("com.canonical.Unity.LauncherEntry"), QStringLiteral("Update"));
    update << m_uri << propertiesOf(look);
    m_bus->send(update);
}

TaskbarEntry::TaskbarEntry(QWidget&, QString desktopName)
    : m_impl(std::make_unique<TaskbarEntryImpl>(std::move(desktopName)))
{
}

TaskbarEntry::~TaskbarEntry() = default;

void TaskbarEntry::show(const TaskbarLook& look)
{
    m_impl->show(look);
}

} // namespace Brennic::Widgets
