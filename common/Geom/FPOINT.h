/// @file
/// The plain three-coordinate point of the function code.
#pragma once

#include "foundation/MissingValue.h"
#include "foundation/kvi_export.h"

/// Three coordinates in the units of the function; a coordinate is missing when it is exactly the
/// missing value.
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
/// By x, then by y; z is ignored.
KVI_API bool operator<(const FPOINT& a, const FPOINT& b);

/// The point whose coordinates are all missing.
template <>
inline FPOINT MissingValue<FPOINT>()
{
    return {MissingValue<double>(), MissingValue<double>(), MissingValue<double>()};
}

namespace gtl
{

/// Whether two points count as one abscissa of a function.
template <class T>
struct equalX;

/// Compares x within 8 significant digits, and at least within 5e-8; y and z are ignored. A point
/// with a missing coordinate equals nothing, and neither does a NaN x.
template <>
struct KVI_API equalX<FPOINT>
{
    /// Whether @p a and @p b share their abscissa.
    bool operator()(const FPOINT& a, const FPOINT& b) const;
};

} // namespace gtl
