/// @file
/// The axis-aligned box.
#pragma once

#include "Geom/Geom_Point.h"
#include "Geom/Geom_Precision.h"
#include "foundation/MissingValue.h"
#include "foundation/kvi_export.h"

namespace Geom
{

/// A box; a default one is empty, so that growing it by a point gives that point's box.
struct Extents2D
{
    double minX = MissingValue<double>();  ///< least x
    double maxX = -MissingValue<double>(); ///< greatest x
    double minY = MissingValue<double>();  ///< least y
    double maxY = -MissingValue<double>(); ///< greatest y

    /// Exact equality.
    friend bool operator==(const Extents2D&, const Extents2D&) = default;
};

/// Grows @p extents so that it holds @p point; a NaN coordinate changes nothing on its axis.
KVI_API void ExtentsGrow2D(Extents2D& extents, const Point2D& point);

/// Whether two boxes meet, each side widened by the half-epsilon of its axis: false when b.minX >
/// a.maxX + hx or a.minX - hx > b.maxX, or the same on y; else true. The empty box meets nothing,
/// not even itself; a NaN bound separates nothing.
KVI_API bool IsExtentsIntersected2D(const Extents2D& a, const Extents2D& b,
                                    const Precision3D& precision);
/// Of boxes that meet within the process-wide precision, the larger minimums and smaller maximums,
/// so its width or height may be zero or a little less; of others, the empty box.
KVI_API Extents2D ExtentsIntersection2D(const Extents2D& a, const Extents2D& b);
/// Whether @p b lies strictly inside @p a widened by the half-epsilons. Deliberately not symmetric:
/// the containing box comes first. The empty box lies inside every box.
KVI_API bool ExtentsOverlap2D(const Extents2D& a, const Extents2D& b, const Precision3D& precision);

/// Greatest minus least x; minus infinity for the empty box.
KVI_API double WidthOf(const Extents2D& extents);
/// Greatest minus least y; minus infinity for the empty box.
KVI_API double HeightOf(const Extents2D& extents);
/// Width over height. A side of at most the axis's half-epsilon counts as 0; without a height there
/// is no ratio, and the answer is the missing value.
KVI_API double AspectOf(const Extents2D& extents, const Precision3D& precision);

} // namespace Geom
