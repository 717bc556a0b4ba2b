/// @file
/// The plain three-coordinate point of the function code.
#pragma once

#include "foundation/MissingValue.h"
#include "foundation/kvi_export.h"

/// Three coordinates in whatever units the function has; a coordinate is missing when it is
/// exactly the missing value.
struct KVI_API FPOINT
{
    double x; ///< coordinate x
    double y; ///< coordinate y
    double z; ///< coordinate z

    /// 1 when @p other is this object or has exactly its coordinates, else 0.
    int UndoEquality(const FPOINT& other) const;
    /// Copies the coordinates of @p other, unless it is this object.
    FPOINT& UndoAssignment(const FPOINT& other);
    /// There is nothing to free. @returns 0, success
    int UndoFreeMemory();
};

/// Exact equality of all three coordinates.
KVI_API bool operator==(const FPOINT& a, const FPOINT& b);
/// By x, then by y; z takes no part.
KVI_API bool operator<(const FPOINT& a, const FPOINT& b);

/// The point whose coordinates are all missing.
template <>
inline FPOINT MissingValue<FPOINT>()
{
    return {MissingValue<double>(), MissingValue<double>(), MissingValue<double>()};
}
