#pragma once
/// \file
/// A picture of how many callables a second each library runs, by number of workers.

#include <vector>

#include <QString>

#include "report/Results.h"

/// An SVG with a line for each row and both axes logarithmic, readable on light and on dark pages. The columns are
/// expected from left to right.
QString throughputPlot(const std::vector<Cell>& cells, const QString& title);
