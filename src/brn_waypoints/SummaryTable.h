#pragma once
/// \file
/// The summary of a report as texts, the same for every kind of output.

#include <vector>

#include <QString>
#include <QStringList>

#include <brn_waypoints/Summary.h>

namespace Brennic::Waypoints {

/// The headings: name, count, seconds, share, frames, memory.
QStringList summaryHeadings();

/// The cells of a row below \ref summaryHeadings.
QStringList summaryCells(const Summary& summary, const SummaryRow& row);

/// All rows, and the total as the last.
std::vector<QStringList> summaryTable(const Summary& summary);

/// "1.234": seconds with their milliseconds.
QString secondsText(double seconds);

} // namespace Brennic::Waypoints
