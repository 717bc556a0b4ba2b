/// @file
/// Gauss points and weights for integrals over elements.
#pragma once

#include "foundation/kvi_export.h"

#include <span>

namespace math
{

/// The reference elements, in the local coordinates of Shape.h.
enum class ElementShape
{
    Line,         ///< -1 <= r <= 1, length 2
    Triangle,     ///< r, s >= 0 and r + s <= 1, area 1/2
    Quadrilateral ///< -1 <= r, s <= 1, area 4
};

/// One point of a rule. The weights of a rule sum to the size of its reference element.
struct GaussPoint
{
    double r;      ///< first local coordinate
    double s;      ///< second local coordinate; 0 on a line
    double weight; ///< above zero in every rule
};

/// The rule with the fewest points in this table that integrates every polynomial of degree @p
/// degree exactly, up to rounding: of degree @p degree in each coordinate on lines and
/// quadrilaterals (Gauss-Legendre, r running fastest), of total degree @p degree on triangles
/// (symmetric rules).
///
/// | degree        | 0, 1 | 2 | 3 | 4  | 5  | 6  | 7  | 8  | 9  |
/// |---------------|------|---|---|----|----|----|----|----|----|
/// | line          | 1    | 2 | 2 | 3  | 3  | 4  | 4  | 5  | 5  |
/// | triangle      | 1    | 3 | 6 | 6  | 7  | 12 | 16 | 16 | -  |
/// | quadrilateral | 1    | 4 | 4 | 9  | 9  | 16 | 16 | 25 | 25 |
///
/// The points lie inside the element. Nothing is allocated; any thread may call.
/// @returns the points, which stay valid; none for a degree below 0 or beyond the table
/// Source: Dunavant (1985), Int. J. Numer. Methods Eng. 21(6), 1129-1148, for the triangles.
/// @code
/// double area = 0; // of a quadrilateral
/// for (const math::GaussPoint& p : math::GaussRule(math::ElementShape::Quadrilateral, 2))
///     area += p.weight * JacobianDeterminant(p.r, p.s);
/// @endcode
KVI_API std::span<const GaussPoint> GaussRule(ElementShape shape, int degree);

} // namespace math
