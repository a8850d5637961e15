#pragma once
/// \file
/// What the waypoints of each name of a report come to.

#include <cstddef>
#include <cstdint>
#include <vector>

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

} // namespace Brennic::Waypoints
