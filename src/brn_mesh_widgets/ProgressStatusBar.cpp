#include <brn_mesh_widgets/ProgressStatusBar.h>

#include <cmath>

#include <QHBoxLayout>
#include <QLabel>
#include <QPointer>
#include <QProgressBar>
#include <QTime>
#include <QTimer>

#include <brn_mesh_widgets/ProgressModel.h>

namespace Brennic::Widgets {

namespace {

bool isEnd(ProgressModel::State state)
{
    switch (state) {
    case ProgressModel::Complete:
    case ProgressModel::Ended:
    case ProgressModel::Cancelled:
    case ProgressModel::Failed:
        return true;
    case ProgressModel::Waiting:
    case ProgressModel::Running:
    case ProgressModel::Indeterminate:
        break;
    }
    return false;
}

QString joined(const QString& description, const QString& text)
{
    if (description.isEmpty() || text.isEmpty())
        return description + text;
    return ProgressStatusBar::tr("%1: %2").arg(description, text);
}

// Such as "1:23 left"; empty for what is not worth telling.
QString timeLeft(const QVariant& seconds)
{
    constexpr double hour = 3600;
    constexpr double day = 24 * hour;
    const double left = std::round(seconds.toDouble());
    if (!seconds.isValid() || left < 1 || left >= day)
        return {};
    const QTime time = QTime(0, 0).addSecs(static_cast<int>(left));
    const QString format = left < hour ? QStringLiteral("m:ss") : QStringLiteral("h:mm:ss");
    return ProgressStatusBar::tr("%1 left").arg(time.toString(format));
}

} // namespace

class ProgressStatusBar::ProgressStatusBarImpl
{
public:
    explicit ProgressStatusBarImpl(ProgressStatusBar& owner);

    void setModel(ProgressModel* newModel);
    void show();

    QPointer<ProgressModel> model;
    ProgressModel* ownModel = nullptr; // made when it is needed; a child of the widget
    AtEnd atEnd = ShowStateAtEnd;

private:
    void showEnd(const QString& description, ProgressModel::State state);
    void showBar(const QString& description, const QModelIndex& root, bool isIndeterminate);
    void showTimeLeft();

    ProgressStatusBar& m_owner;
    QLabel* m_label;
    QProgressBar* m_bar;
    QLabel* m_timeLeft;
    QTimer m_second; // runs while the bar is shown: the time passes without reports too
};

ProgressStatusBar::ProgressStatusBarImpl::ProgressStatusBarImpl(ProgressStatusBar& owner)
    : m_owner(owner),
      m_label(new QLabel(&owner)),
      m_bar(new QProgressBar(&owner)),
      m_timeLeft(new QLabel(&owner))
{
    m_label->setTextFormat(Qt::PlainText); // a description must not be interpreted as rich text
    m_label->setMinimumWidth(1);           // no long text makes the window wider
    auto* const layout = new QHBoxLayout(&owner);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_label);
    layout->addWidget(m_bar);
    layout->addWidget(m_timeLeft);
    m_timeLeft->setTextFormat(Qt::PlainText);
    m_second.setInterval(1000);
    QObject::connect(&m_second, &QTimer::timeout, &m_owner, [this] { showTimeLeft(); });
    show();
}

void ProgressStatusBar::ProgressStatusBarImpl::setModel(ProgressModel* newModel)
{
    if (model)
        model->disconnect(&m_owner);
    model = newModel;
    if (model) {
        QObject::connect(model, &ProgressModel::refreshed, &m_owner, [this] { show(); });
        QObject::connect(model, &QObject::destroyed, &m_owner, [this] {
            model.clear();
            show();
        });
    }
    show();
}

void ProgressStatusBar::ProgressStatusBarImpl::show()
{
    const QModelIndex root = model ? model->rootIndex() : QModelIndex();
    const auto state = static_cast<ProgressModel::State>(root.data(ProgressModel::StateRole).toInt());
    const bool isAtEnd = isEnd(state);
    const bool isShown = root.isValid() && !(isAtEnd && atEnd == HideAtEnd);
    m_label->setVisible(isShown);
    const bool isBarShown = isShown && !isAtEnd;
    m_bar->setVisible(isBarShown);
    if (!isBarShown)
        m_second.stop();
    else if (!m_second.isActive())
        m_second.start();
    if (!isBarShown || state == ProgressModel::Waiting)
        m_timeLeft->clear();
    m_timeLeft->setVisible(isBarShown && !m_timeLeft->text().isEmpty());
    m_label->setToolTip(root.data(Qt::ToolTipRole).toString());
    const QString description = root.data(ProgressModel::DescriptionRole).toString();
    if (isShown && isAtEnd)
        showEnd(description, state);
    else if (isShown)
        showBar(description, root, state == ProgressModel::Indeterminate);
}

void ProgressStatusBar::ProgressStatusBarImpl::showEnd(const QString& description, ProgressModel::State state)
{
    const QString failure = model->rootIndex().data(ProgressModel::FailureRole).toString().simplified();
    const QString text = ProgressModel::stateText(state);
    m_label->setText(joined(description, state == ProgressModel::Failed ? joined(text, failure) : text));
}

void ProgressStatusBar::ProgressStatusBarImpl::showBar(const QString& description, const QModelIndex& root,
                                                       bool isIndeterminate)
{
    constexpr int steps = 1000;
    m_label->setText(description);
    m_bar->setRange(0, isIndeterminate ? 0 : steps);
    // The model's text, so that a view beside it shows the same.
    m_bar->setFormat(root.sibling(root.row(), ProgressModel::ProgressColumn).data().toString());
    // The estimate is judged by what it is asked for: the more often, the sooner a change of speed is followed.
    static_cast<void>(root.data(ProgressModel::RemainingRole));
    m_bar->setValue(static_cast<int>(steps * root.data(ProgressModel::FractionRole).toDouble()));
}

// Once a second only, so that it can be read, however fast the reports come.
void ProgressStatusBar::ProgressStatusBarImpl::showTimeLeft()
{
    const QModelIndex root = model ? model->rootIndex() : QModelIndex();
    m_timeLeft->setText(timeLeft(root.data(ProgressModel::RemainingRole)));
    m_timeLeft->setVisible(!m_timeLeft->text().isEmpty());
}

ProgressStatusBar::ProgressStatusBar(QWidget* parent)
    : QWidget(parent), m_impl(std::make_unique<ProgressStatusBarImpl>(*this))
{
}

ProgressStatusBar::~ProgressStatusBar()
{
    m_impl->setModel(nullptr); // the own model is destroyed after the members that listen to it
}

void ProgressStatusBar::setProgress(const std::shared_ptr<Core::Progress>& progress)
{
    if (m_impl->ownModel == nullptr)
        m_impl->ownModel = new ProgressModel(this);
    m_impl->ownModel->setProgress(progress);
    m_impl->setModel(m_impl->ownModel);
}

void ProgressStatusBar::setModel(ProgressModel* model)
{
    m_impl->setModel(model);
}

void ProgressStatusBar::setAtEnd(AtEnd atEnd)
{
    m_impl->atEnd = atEnd;
    m_impl->show();
}

ProgressStatusBar::AtEnd ProgressStatusBar::atEnd() const
{
    return m_impl->atEnd;
}

} // namespace Brennic::Widgets

#include "moc_ProgressStatusBar.cpp" // NOLINT(bugprone-suspicious-include)
