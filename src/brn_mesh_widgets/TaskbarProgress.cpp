#include <brn_mesh_widgets/TaskbarProgress.h>

#include <QElapsedTimer>
#include <QEvent>
#include <QPointer>
#include <QTimer>
#include <QWidget>

#include <brn_mesh_widgets/ProgressModel.h>
#include <brn_mesh_widgets/TaskbarEntry.h>

namespace Brennic::Widgets {

namespace {

constexpr int intervalMilliseconds = 50;

bool isVisible(ProgressModel::State state)
{
    switch (state) {
    case ProgressModel::Waiting:
    case ProgressModel::Running:
    case ProgressModel::Indeterminate:
    case ProgressModel::Failed:
        return true;
    case ProgressModel::Complete:
    case ProgressModel::Ended:
    case ProgressModel::Cancelled:
        break;
    }
    return false;
}

// What is not visible looks the same however far it is, so that it is told once.
TaskbarLook lookOf(const QModelIndex& root)
{
    constexpr double wholeBar = 1000;
    const auto state = static_cast<ProgressModel::State>(root.data(ProgressModel::StateRole).toInt());
    TaskbarLook look;
    if (!root.isValid() || !isVisible(state))
        return look;
    look.isVisible = true;
    look.isBusy = state == ProgressModel::Indeterminate;
    look.hasFailed = state == ProgressModel::Failed;
    look.thousandths = static_cast<int>(wholeBar * root.data(ProgressModel::FractionRole).toDouble());
    return look;
}

} // namespace

class TaskbarProgress::TaskbarProgressImpl
{
public:
    TaskbarProgressImpl(TaskbarProgress& owner, QWidget& window, const QString& desktopName);

    void setModel(ProgressModel* newModel);
    void forgetFailure();
    void show();
    void showLater();

    ProgressModel* ownModel = nullptr; // made when it is needed; a child of the owner

private:
    TaskbarLook look();

    TaskbarProgress& m_owner;
    const QWidget& m_window;
    TaskbarEntry m_entry;
    QPointer<ProgressModel> m_model;
    TaskbarLook m_shown;
    bool m_isFailureSeen = false;
    QTimer m_timer;
    QElapsedTimer m_sinceShown;
};

TaskbarProgress::TaskbarProgressImpl::TaskbarProgressImpl(TaskbarProgress& owner, QWidget& window,
                                                          const QString& desktopName)
    : m_owner(owner), m_window(window), m_entry(window, desktopName)
{
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&m_timer, &QTimer::timeout, &owner, [this] { show(); });
}

void TaskbarProgress::TaskbarProgressImpl::setModel(ProgressModel* newModel)
{
    if (m_model)
        m_model->disconnect(&m_owner);
    m_model = newModel;
    m_isFailureSeen = false;
    if (m_model) {
        QObject::connect(m_model, &ProgressModel::refreshed, &m_owner, [this] { showLater(); });
        QObject::connect(m_model, &QObject::destroyed, &m_owner, [this] {
            m_model.clear();
            show();
        });
    }
    show();
}

// The user has come to the window, which tells the failure itself.
void TaskbarProgress::TaskbarProgressImpl::forgetFailure()
{
    if (!m_shown.hasFailed)
        return;
    m_isFailureSeen = true;
    show();
}

void TaskbarProgress::TaskbarProgressImpl::show()
{
    m_timer.stop();
    const TaskbarLook wanted = look();
    if (wanted == m_shown)
        return;
    m_entry.show(wanted);
    m_shown = wanted;
    m_sinceShown.start();
}

// At once after a pause; else when the interval is over, with what holds then.
void TaskbarProgress::TaskbarProgressImpl::showLater()
{
    const qint64 elapsed = m_sinceShown.isValid() ? m_sinceShown.elapsed() : intervalMilliseconds;
    if (elapsed >= intervalMilliseconds)
        show();
    else if (!m_timer.isActive())
        m_timer.start(static_cast<int>(intervalMilliseconds - elapsed));
}

TaskbarLook TaskbarProgress::TaskbarProgressImpl::look()
{
    const TaskbarLook look = lookOf(m_model ? m_model->rootIndex() : QModelIndex());
    m_isFailureSeen =
        look.hasFailed && (m_isFailureSeen || m_window.isActiveWindow()); // the next one is told again
    return m_isFailureSeen ? TaskbarLook() : look;
}

TaskbarProgress::TaskbarProgress(QWidget* window, const QString& desktopName)
    : QObject(window), m_impl(std::make_unique<TaskbarProgressImpl>(*this, *window, desktopName))
{
    window->installEventFilter(this);
}

TaskbarProgress::~TaskbarProgress()
{
    m_impl->setModel(nullptr); // the own model is destroyed after the members that listen to it
}

void TaskbarProgress::setProgress(const std::shared_ptr<Core::Progress>& progress)
{
    if (m_impl->ownModel == nullptr)
        m_impl->ownModel = new ProgressModel(this);
    m_impl->ownModel->setProgress(progress);
    m_impl->setModel(m_impl->ownModel);
}

void TaskbarProgress::setModel(ProgressModel* model)
{
    m_impl->setModel(model);
}

bool TaskbarProgress::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == parent() && event->type() == QEvent::WindowActivate)
        m_impl->forgetFailure();
    return QObject::eventFilter(watched, event);
}

} // namespace Brennic::Widgets

#include "moc_TaskbarProgress.cpp" // NOLINT(bugprone-suspicious-include)
