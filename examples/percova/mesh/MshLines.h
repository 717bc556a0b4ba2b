/// @file
/// Reading the lines of a mesh file on all threads.
#pragma once

#include "mesh/MshFile.h"

#include <cstddef>
#include <functional>

namespace percova
{

/// Reads the next @p count entries of a text part, when each has a line of its own.
/// @param read  reads so many entries into the file given, without regard to what was before
/// @returns false without a change when they are few, or not of one line each, or wrong: they are
///          to be read in sequence then
bool ReadLines(MshScanner& scanner, std::size_t count, MshFile& file,
               const std::function<void(MshScanner&, std::size_t, MshFile&)>& read);

} // namespace percova
