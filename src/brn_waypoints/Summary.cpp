#include <brn_waypoints/Summary.h>

#include <QHash>

namespace Brennic::Waypoints {

namespace {

void add(const Waypoint& waypoint, SummaryRow& row)
{
    ++row.count;
    row.seconds += waypoint.seconds;
    row.frames += waypoint.frames;
    row.memory += waypoint.memory;
}

} // namespace

Summary::Summary(const Report& report)
{
    QHash<QString, std::size_t> places;
    m_total.name = QStringLiteral("total");
    for (const Waypoint& waypoint : report.waypoints) {
        auto place = places.find(waypoint.name);
        if (place == places.end()) {
            place = places.insert(waypoint.name, m_rows.size());
            m_rows.emplace_back().name = waypoint.name;
        }
        add(waypoint, m_rows[place.value()]);
        add(waypoint, m_total);
    }
}

double Summary::share(const SummaryRow& row) const
{
    return m_total.seconds > 0 ? row.seconds / m_total.seconds : 0;
}

} // namespace Brennic::Waypoints
