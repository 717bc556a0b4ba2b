/// @file
/// @internal The tables of a report.
#pragma once

#include "output/report/ReportPage.h"

#include <string>
#include <vector>

namespace percova::report
{

/// "least_at_x" as "least at x"
std::string WordsOf(std::string key);
/// Some of the numbers below @p count: all, or @p most of them at even distances with both ends.
std::vector<std::size_t> Chosen(std::size_t count, std::size_t most);

/// Writes the input of a run: single values, then a table for each list.
void WriteInput(Page& page, const StoredRun& run);
/// Writes the results: what holds for each state, then a table for each kind of item.
void WriteResults(Page& page, const StoredRun& run);

} // namespace percova::report
