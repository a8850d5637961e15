#include <brn_mesh_widgets/ProgressStatusBar.h>

#include <QHBoxLayout>
#include <QLabel>
#include <QPointer>
#include <QProgressBar>

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

    ProgressStatusBar& m_owner;
    QLabel* m_label;
    QProgressBar* m_bar;
};

ProgressStatusBar::ProgressStatusBarImpl::ProgressStatusBarImpl(ProgressStatusBar& owner)
    : m_owner(owner), m_label(new QLabel(&owner)), m_bar(new QProgressBar(&owner))
{
    m_label->setTextFormat(Qt::PlainText); // a description must not be interpreted as rich text
    m_label->setMinimumWidth(1);           // no long text makes the window wider
    auto* const layout = new QHBoxLayout(&owner);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_label);
    layout->addWidget(m_bar);
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
    m_bar->setVisible(isShown && !isAtEnd);
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
    m_bar->setValue(static_cast<int>(steps * root.data(ProgressModel::FractionRole).toDouble()));
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
