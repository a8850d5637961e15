#include "WaypointChart.h"

#include <algorithm>
#include <utility>

#include <QLocale>
#include <QPainter>

namespace {

constexpr int margin = 8;
constexpr int gap = 8;
constexpr int leastBarWidth = 60;

QString nameOf(const Waypoint& waypoint)
{
    return waypoint.name;
}

QString figuresOf(const Waypoint& waypoint)
{
    constexpr double bytesPerMegabyte = 1048576.0;
    const QString iterations =
        waypoint.iterations == 0 ? QString() : WaypointChart::tr(", %1 iterations").arg(waypoint.iterations);
    return WaypointChart::tr("%1 s, %2%3 MB%4")
        .arg(waypoint.seconds, 0, 'f', 3)
        .arg(waypoint.bytes < 0 ? QString() : QStringLiteral("+"))
        .arg(waypoint.bytes / bytesPerMegabyte, 0, 'f', 1)
        .arg(iterations);
}

} // namespace

WaypointChart::WaypointChart(QWidget* parent) : QFrame(parent)
{
    setFrameStyle(QFrame::StyledPanel | QFrame::Sunken);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    setBackgroundRole(QPalette::Base);
    setAutoFillBackground(true);
}

void WaypointChart::setWaypoints(std::vector<Waypoint> waypoints)
{
    m_waypoints = std::move(waypoints);
    updateGeometry();
    update();
}

std::vector<QRect> WaypointChart::bars() const
{
    double longest = 0;
    for (const Waypoint& waypoint : m_waypoints)
        longest = std::max(longest, waypoint.seconds);
    const QRect area = barArea();
    std::vector<QRect> bars;
    for (std::size_t i = 0; i < m_waypoints.size(); ++i) {
        const double part = longest > 0 ? m_waypoints[i].seconds / longest : 0;
        const QRect place = row(i);
        bars.emplace_back(area.left(), place.top() + gap / 2,
                          std::max(1, static_cast<int>(part * area.width())), place.height() - gap);
    }
    return bars;
}

QColor WaypointChart::barColor() const
{
    return palette().color(QPalette::Highlight);
}

QSize WaypointChart::sizeHint() const
{
    return minimumSizeHint() + QSize(2 * leastBarWidth, rowHeight());
}

QSize WaypointChart::minimumSizeHint() const
{
    const int rows = std::max(3, static_cast<int>(m_waypoints.size()));
    return {2 * margin + 2 * gap + widest(nameOf) + leastBarWidth + widest(figuresOf),
            2 * margin + rows * rowHeight()};
}

void WaypointChart::paintEvent(QPaintEvent* event)
{
    QFrame::paintEvent(event);
    QPainter painter(this);
    if (m_waypoints.empty())
        painter.drawText(rect(), Qt::AlignCenter | Qt::TextWordWrap, tr("No run has been completed yet"));
    const std::vector<QRect> places = bars();
    const int right = barArea().right() + 1 + gap;
    for (std::size_t i = 0; i < m_waypoints.size(); ++i) {
        QRect text = row(i);
        painter.drawText(text, Qt::AlignLeft | Qt::AlignVCenter, nameOf(m_waypoints[i]));
        painter.fillRect(places[i], barColor());
        text.setLeft(right);
        painter.drawText(text, Qt::AlignLeft | Qt::AlignVCenter, figuresOf(m_waypoints[i]));
    }
}

int WaypointChart::rowHeight() const
{
    return fontMetrics().height() + 2 * gap;
}

int WaypointChart::widest(QString (*text)(const Waypoint&)) const
{
    int width = 0;
    for (const Waypoint& waypoint : m_waypoints)
        width = std::max(width, fontMetrics().horizontalAdvance(text(waypoint)));
    return width;
}

QRect WaypointChart::row(std::size_t index) const
{
    return {margin, margin + static_cast<int>(index) * rowHeight(), width() - 2 * margin, rowHeight()};
}

// Between the names and the figures.
QRect WaypointChart::barArea() const
{
    const int left = margin + widest(nameOf) + gap;
    const int right = width() - margin - widest(figuresOf) - gap;
    return {left, margin, std::max(1, right - left), height() - 2 * margin};
}

#include "moc_WaypointChart.cpp" // NOLINT(bugprone-suspicious-include)
