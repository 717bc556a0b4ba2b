/// @file
/// Reading the lines of a mesh file on all threads.
#pragma once

#include "mesh/MshFile.h"

#include <cstddef>
#include <functional>

namespace percova
{

/// Reads the next @p count entries: on all threads where each has a line of its own in a text part,
/// in sequence where they are few, not of one line each, or wrong.
/// @param read  reads so many entries into the file given, without regard to what was before
/// @throws MshError
void ReadLines(MshScanner& scanner, std::size_t count, MshFile& file,
               const std::function<void(MshScanner&, std::size_t, MshFile&)>& read);

} // namespace percova
