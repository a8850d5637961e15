#pragma once
/// \file
/// Lays out a table for a terminal: aligned by what is seen, whatever the script.

#include <vector>

#include <QString>
#include <QStringList>

namespace Brennic::Waypoints {

class TextTable
{
public:
    /// A table of as many columns as there are headings: the first is aligned to the left, the others to the right.
    explicit TextTable(const QStringList& headings);

    /// Adds a row of one cell for each column. A long first cell is cut.
    void addRow(const QStringList& cells);

    /// The lines, the headings first; each ends with a line end.
    QString text() const;

private:
    std::vector<QStringList> m_rows;
};

} // namespace Brennic::Waypoints
