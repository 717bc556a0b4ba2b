/// @file
/// @internal The solver over several processes, found when the program runs.
#pragma once

#include "numerics/solve/Pardiso.h"

#include <optional>

namespace numerics
{

/// The result of the first call, which loads libKVI_mumps and starts its communication: from the
/// folder whose absolute path is in the environment variable KVI_MUMPS, or from the folder of this
/// library or of the system, never from the current one. Nothing, and a warning in the log with the
/// reason, when there is none, when it belongs to another version, or when a process is missing. It
/// stays loaded, since MPI cannot start twice in one process.
const std::optional<PardisoFunctions>& FoundDistributed();

} // namespace numerics
