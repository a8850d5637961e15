#pragma once
/// \file
/// The time that each name took in each report, as bars in SVG.

#include <optional>
#include <vector>

#include <QString>

#include <brn_waypoints/Summary.h>

class QXmlStreamWriter;

namespace Brennic::Waypoints {

class BarChart
{
public:
    /// Of many names those that took least share one group of bars at the end.
    explicit BarChart(const std::vector<Summary>& summaries);

    /// Writes one `svg` element, as wide as the page; the bars of a report have the class `seriesN`, N from 0 on as
    /// \ref seriesClass says.
    void write(QXmlStreamWriter& out) const;

    /// The class of the report's bars and of its mark in a legend.
    static QString seriesClass(std::size_t report);

    static constexpr std::size_t seriesCount = 8; ///< colours; further reports begin again

private:
    struct Group
    {
        QString name;
        std::vector<std::optional<double>> seconds; ///< of each report that has the name

        double longest() const;
        void add(const Group& other);
    };

    void addTimes(const Summary& summary, std::size_t report);
    void foldSmallest();
    double longest() const;
    void writeAxis(QXmlStreamWriter& out, double step, double percentPerSecond) const;
    void writeGroup(QXmlStreamWriter& out, const Group& group, double top, double percentPerSecond) const;
    double groupHeight() const;
    double height() const;

    std::size_t m_reportCount;
    std::vector<Group> m_groups;
};

} // namespace Brennic::Waypoints
