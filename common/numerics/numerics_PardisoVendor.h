/// @file
/// @internal The vendor's PARDISO, found when the program runs.
#pragma once

#include "numerics/numerics_Pardiso.h"

#include <optional>
#include <string>

namespace math::impl
{

/// Loads Intel MKL: one library with everything (mkl_custom), the dispatching one (mkl_rt), or the
/// separate ones. @p folder is where to look, empty for the system's own places. The libraries
/// stay loaded, for their threads cannot be stopped from outside.
/// @returns nothing when there is no MKL that can be used
std::optional<PardisoFunctions> LoadVendorPardiso(const std::wstring& folder);

} // namespace math::impl
