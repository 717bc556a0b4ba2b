/// @file
/// percova convert: tables, series and pictures of earlier runs.
#pragma once

#include "CommandLine.h"

#include <iosfwd>
#include <string>
#include <vector>

namespace percova
{

/// Writes the tables of earlier runs from their result.json, and copies their histories and
/// pictures; nothing is computed. Every run is read before anything is written.
/// @param results  folders of runs, or the result.json in them
/// @param folder   for all of them; empty for the own folder of each, which has the copies
Exit ConvertRuns(const std::vector<std::string>& results, const std::string& folder,
                 std::ostream& out, std::ostream& err);

} // namespace percova
