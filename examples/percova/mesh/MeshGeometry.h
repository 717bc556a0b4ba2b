/// @file
/// Measures of single elements and sides.
#pragma once

#include "mesh/Mesh.h"

#include <cstddef>

namespace percova
{

/// Place of node @p k of an element among the eight that the library's kernels work on. A triangle
/// leaves places unused: place 3 always, for its middle nodes are at places 4 to 6.
constexpr int PlaceOf(ElementType type, int k)
{
    return type == ElementType::T6 && k > 2 ? k + 1 : k;
}
/// The eight flags that select the element type in the library's shape functions.
const int* PlaceFlags(ElementType type);

/// The smallest determinant of the Jacobian at the points where an element is integrated. At the
/// corners of a quadrilateral it may be zero: a corner may be straight.
double SmallestJacobian(const Mesh& mesh, std::size_t element);

/// Length of a side; that of a curved one by Simpson's rule.
double LengthOf(const Mesh& mesh, const Edge& edge);

/// A side as a line; a curved one in kChords chords.
Polyline ChordsOf(const Mesh& mesh, const Edge& edge);
constexpr int kChords = 16;

/// The nodes of an element along its sides, closed.
Polyline RingOf(const Mesh& mesh, std::size_t element);

/// Centre of mass of an element, within the chords of its sides.
Point CentreOf(const Mesh& mesh, std::size_t element);

/// The tolerance for positions in a model: 1e-9 of its size.
Geom::Precision3D PrecisionFor(const Geom::Extents2D& box);
Geom::Precision3D PrecisionFor(const Mesh& mesh);

} // namespace percova
