/// @file
/// The JSON schema of the problem file.
#pragma once

namespace percova
{

/// A schema of draft 2020-12, for editors and validators: every key with its meaning. Unknown keys
/// are allowed only at the top and in "mesh", those that begin with "note" everywhere.
const char* ProblemSchema();

} // namespace percova
