/// @file
/// Fields of CSV files (RFC 4180).
#pragma once

#include <string>
#include <vector>

namespace percova
{

/// A field of a CSV file, without line ends. A name that a spreadsheet would take for a formula is
/// marked as text.
std::string CsvField(std::string text);
/// The fields between commas, without a line end.
std::string CsvLine(const std::vector<std::string>& fields);

} // namespace percova
