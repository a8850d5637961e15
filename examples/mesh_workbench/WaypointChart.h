#pragma once
/// \file
/// A bar chart of waypoints: a row for each, its bar as long as the stretch that it ends has taken.

#include <vector>

#include <QFrame>
#include <QRect>

#include "WaypointFile.h"

class WaypointChart : public QFrame
{
    Q_OBJECT

public:
    explicit WaypointChart(QWidget* parent = nullptr);

    void setWaypoints(std::vector<Waypoint> waypoints);
    const std::vector<Waypoint>& waypoints() const { return m_waypoints; }

    /// Where the bar of each waypoint is, and the colour of bars.
    std::vector<QRect> bars() const;
    QColor barColor() const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    int rowHeight() const;
    int widest(QString (*text)(const Waypoint&)) const;
    QRect row(std::size_t index) const;
    QRect barArea() const;

    std::vector<Waypoint> m_waypoints;
};
