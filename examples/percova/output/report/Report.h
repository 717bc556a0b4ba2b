/// @file
/// The report of an earlier run: one HTML page for the screen and for paper.
#pragma once

#include "output/report/StoredRun.h"

#include <cstddef>
#include <ostream>

namespace percova
{

constexpr std::size_t kMostPictures = 12; ///< of one report, unless more are asked for

/// Writes a page that needs no other file: input, flows, balance, extreme values, warnings, tables
/// and pictures. Nothing is computed; what is missing in the folder of the run is named.
/// @param pictures  at most, besides that of the series; chosen evenly from the states
void WriteReport(std::ostream& out, const StoredRun& run, std::size_t pictures = kMostPictures);

} // namespace percova
