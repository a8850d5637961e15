#pragma once
/// \file
/// Results as tables of a Markdown page.

#include <vector>

#include <QString>

#include "report/Results.h"

/// A row for each library, a column for each circumstance, and the largest spread of the row.
QString markdownTable(const std::vector<Cell>& cells);

/// A row for each ratio or figure, with its target.
QString markdownTable(const std::vector<ComparedValue>& comparison);
