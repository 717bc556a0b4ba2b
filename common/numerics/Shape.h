/// @file
/// Shape functions of triangles and quadrilaterals with straight or curved sides.
///
/// Local coordinates (r, s), eight node places, a node being present when its flag is > 0:
/// @verbatim
///   quadrilateral, flag of node 3 > 0      triangle, flag of node 2 > 0 and of node 3 = 0
///       1 --- 4 --- 0     s                    2          s
///       |           |     ^                    | \        ^
///       5           7     |                    6   5      |
///       |           |     +--> r               |     \    +--> r
///       2 --- 6 --- 3                          0 - 4 - 1
///   (+1,+1) is node 0, counter-clockwise      (0,0), (1,0), (0,1) are nodes 0, 1, 2
/// @endverbatim
/// Mid-side nodes may be present in any combination; an absent one leaves its side straight.
/// Nothing is allocated. Any thread may call.
#pragma once

#include "foundation/kvi_export.h"

/// N[i] = the value of node i's function at (r, s). The corners count as present whatever their
/// flags; N is 0 for absent mid-side nodes, and everywhere when the flags are those of neither
/// shape.
KVI_API void Shape_Function(double N[8], double r, double s, const int nodes[8]);
/// dN[0][i] = the derivative of node i's function by r, dN[1][i] by s, at (r, s).
KVI_API void Shape_Derivative(double dN[2][8], double r, double s, const int nodes[8]);

/// What iGlobal_To_Local_Coords returns: 0 is failure, anything else a pair of coordinates.
enum LocalCoords : int
{
    kLocalCoordsFailed = 0,  ///< none found; r and s are as before
    kLocalCoordsInside = 1,  ///< found, in the element or on its edge
    kLocalCoordsOutside = 2, ///< found, but the point is not in the element
};

/// Finds the local coordinates (*r, *s) of the global point (x, y).
///
/// A point of a valid element (the Jacobian has one sign) is found, however the element is
/// distorted, scaled or displaced; a point outside is found if the extended map reaches it, which
/// for a distorted element is not everywhere. On the edge means within 1e-9 or the rounding of the
/// coordinates as given, in local units. Fails also for other node counts, an element without area
/// and numbers that are not finite.
/// @param coords     nodeCount x 2, row-major: the global x and y of each node
/// @param nodeCount  3, 4, 6 or 8. Rows 0 to 3 of a quadrilateral are its corners, rows 4 to 7
///                   its mid-side nodes 4 to 7. Rows 0 to 2 of a triangle are its corners, and
///                   rows 3, 4, 5 its mid-side nodes 4, 5, 6: node 3 has no row.
/// @returns a LocalCoords
KVI_API int iGlobal_To_Local_Coords(double* r, double* s, double x, double y, const double* coords,
                                    int nodeCount);
