#pragma once
/// \file
/// What the waypoints of each name of a report come to, as numbers and as the texts of every kind of output.

#include <cstddef>
#include <cstdint>
#include <vector>

#include <QString>
#include <QStringList>

#include <brn_waypoints/Report.h>

namespace Brennic::Waypoints {

struct SummaryRow
{
    QString name;
    std::size_t count = 0;
    double seconds = 0;
    std::int64_t frames = 0;
    std::int64_t memory = 0; ///< bytes
};

class Summary
{
public:
    explicit Summary(const Report& report);

    /// A row for each name, in the order in which the names come first.
    const std::vector<SummaryRow>& rows() const { return m_rows; }
    const SummaryRow& total() const { return m_total; }

    /// The row's part of the time of the whole, 0 to 1; 0 where nothing took time.
    double share(const SummaryRow& row) const;

private:
    std::vector<SummaryRow> m_rows;
    SummaryRow m_total;
};

/// The headings: name, count, seconds, share, frames, memory.
QStringList summaryHeadings();

/// The cells of a row below \ref summaryHeadings.
QStringList summaryCells(const Summary& summary, const SummaryRow& row);

/// All rows, and the total as the last.
std::vector<QStringList> summaryTable(const Summary& summary);

/// "1.234": seconds with their milliseconds.
QString secondsText(double seconds);

} // namespace Brennic::Waypoints
