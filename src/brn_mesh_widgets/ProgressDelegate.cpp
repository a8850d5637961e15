#include <brn_mesh_widgets/ProgressDelegate.h>

#include <algorithm>
#include <utility>
#include <vector>

#include <QAbstractItemView>
#include <QApplication>
#include <QElapsedTimer>
#include <QPainter>
#include <QPersistentModelIndex>
#include <QPointer>
#include <QStyle>
#include <QStyleOptionProgressBar>
#include <QTimer>

#include <brn_mesh_widgets/ProgressModel.h>

namespace Brennic::Widgets {

namespace {

constexpr int tickMilliseconds = 33;
constexpr int periodMilliseconds = 2000;
constexpr int cellMargin = 2;

bool hasProgress(const QModelIndex& index)
{
    return index.data(ProgressModel::StateRole).isValid();
}

ProgressModel::State stateOf(const QModelIndex& index)
{
    return static_cast<ProgressModel::State>(index.data(ProgressModel::StateRole).toInt());
}

bool hasStopped(ProgressModel::State state)
{
    return state == ProgressModel::Ended || state == ProgressModel::Cancelled ||
           state == ProgressModel::Failed;
}

QStyle* styleOf(const QStyleOptionViewItem& option)
{
    return option.widget != nullptr ? option.widget->style() : QApplication::style();
}

QStyleOptionProgressBar barOption(const QStyleOptionViewItem& option, const QModelIndex& index)
{
    QStyleOptionProgressBar bar;
    bar.rect = option.rect.adjusted(cellMargin, cellMargin, -cellMargin, -cellMargin);
    bar.direction = option.direction;
    bar.palette = option.palette;
    bar.fontMetrics = option.fontMetrics;
    bar.state = (option.state & (QStyle::State_Enabled | QStyle::State_Active)) | QStyle::State_Horizontal;
    bar.minimum = 0;
    bar.maximum = 1000;
    bar.progress = static_cast<int>(bar.maximum * index.data(ProgressModel::FractionRole).toDouble());
    bar.text = index.data(Qt::DisplayRole).toString();
    const ProgressModel::State state = stateOf(index);
    if (hasStopped(state)) { // in the colours of what is disabled; the text stays legible
        const QColor text = bar.palette.color(QPalette::Text);
        bar.palette.setCurrentColorGroup(QPalette::Disabled);
        bar.palette.setColor(QPalette::Disabled, QPalette::Text, text);
        bar.state &= ~QStyle::State_Enabled;
        if (bar.text.isEmpty())
            bar.text = ProgressModel::stateText(state);
    }
    bar.textVisible = !bar.text.isEmpty();
    bar.textAlignment = Qt::AlignCenter;
    return bar;
}

// Where the piece of an indeterminate bar is: to the other end and back in one period.
QRect runningPiece(const QRect& bar, qint64 milliseconds)
{
    const double phase = static_cast<double>(milliseconds % periodMilliseconds) / periodMilliseconds;
    const double way = phase < 0.5 ? 2 * phase : 2 - 2 * phase;
    const int width = std::max(1, bar.width() / 4);
    return {bar.left() + static_cast<int>(way * (bar.width() - width)), bar.top(), width, bar.height()};
}

// Draws the style's full bar, clipped to one piece: styles animate their own busy bars in widgets only.
void paintIndeterminate(QPainter* painter, QStyleOptionProgressBar bar, const QStyleOptionViewItem& option,
                        qint64 milliseconds)
{
    const QStyle* const style = styleOf(option);
    style->drawControl(QStyle::CE_ProgressBarGroove, &bar, painter, option.widget);
    painter->setClipRect(runningPiece(bar.rect, milliseconds), Qt::IntersectClip);
    bar.progress = bar.maximum;
    style->drawControl(QStyle::CE_ProgressBarContents, &bar, painter, option.widget);
}

} // namespace

class ProgressDelegate::ProgressDelegateImpl
{
public:
    ProgressDelegateImpl();

    void keepMoving(const QWidget* widget, const QModelIndex& index);

    QTimer timer;
    QElapsedTimer time;

private:
    using Cell = std::pair<QPointer<QAbstractItemView>, QPersistentModelIndex>;

    void tick();

    std::vector<Cell> m_paintedCells; // since the last tick, and indeterminate
};

ProgressDelegate::ProgressDelegateImpl::ProgressDelegateImpl()
{
    time.start();
    timer.setInterval(tickMilliseconds);
    QObject::connect(&timer, &QTimer::timeout, &timer, [this] { tick(); });
}

void ProgressDelegate::ProgressDelegateImpl::keepMoving(const QWidget* widget, const QModelIndex& index)
{
    const auto* const constView = qobject_cast<const QAbstractItemView*>(widget);
    if (constView == nullptr)
        return;
    auto* const view = qobject_cast<QAbstractItemView*>(constView->viewport()->parentWidget());
    const Cell cell(view, index);
    if (std::find(m_paintedCells.begin(), m_paintedCells.end(), cell) == m_paintedCells.end())
        m_paintedCells.push_back(cell);
    if (!timer.isActive())
        timer.start();
}

// A cell that was not painted since the last tick is not visible. Without any visible cell the timer stops.
void ProgressDelegate::ProgressDelegateImpl::tick()
{
    if (m_paintedCells.empty())
        timer.stop();
    for (const auto& [view, index] : std::exchange(m_paintedCells, {}))
        if (view && index.isValid())
            view->update(index);
}

ProgressDelegate::ProgressDelegate(QObject* parent)
    : QStyledItemDelegate(parent), m_impl(std::make_unique<ProgressDelegateImpl>())
{
}

ProgressDelegate::~ProgressDelegate() = default;

bool ProgressDelegate::isAnimating() const
{
    return m_impl->timer.isActive();
}

void ProgressDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                             const QModelIndex& index) const
{
    if (!hasProgress(index)) {
        QStyledItemDelegate::paint(painter, option, index);
        return;
    }
    QStyleOptionViewItem item = option;
    initStyleOption(&item, index);
    item.text.clear(); // the background, the selection and the focus are the item's
    painter->save();
    styleOf(item)->drawControl(QStyle::CE_ItemViewItem, &item, painter, item.widget);
    const QStyleOptionProgressBar bar = barOption(item, index);
    if (stateOf(index) == ProgressModel::Indeterminate) {
        paintIndeterminate(painter, bar, item, m_impl->time.elapsed());
        m_impl->keepMoving(item.widget, index);
    } else {
        styleOf(item)->drawControl(QStyle::CE_ProgressBar, &bar, painter, item.widget);
    }
    painter->restore();
}

QSize ProgressDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    const QSize text = QStyledItemDelegate::sizeHint(option, index);
    if (!hasProgress(index))
        return text;
    const int height = option.fontMetrics.height() + 4 * cellMargin;
    return text.expandedTo({option.fontMetrics.averageCharWidth() * 16, height});
}

} // namespace Brennic::Widgets

#include "moc_ProgressDelegate.cpp" // NOLINT(bugprone-suspicious-include)
