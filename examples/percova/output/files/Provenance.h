/// @file
/// When and by what a file was written.
#pragma once

#include <string>

namespace percova
{

/// The time of day in UTC, as "2026-11-22T14:05:00Z".
std::string UtcNow();
/// The program with the library's version, as "percova on KVI 0.1.0".
std::string ProgramVersion();

} // namespace percova
