/// @file
/// Measures of single elements and sides.
#pragma once

#include "Mesh.h"

#include <array>
#include <cstddef>

namespace percova
{

/// Node flags of the library's shape functions for an element type, and by node of the element
/// its place among the eight.
struct ShapeNodes
{
    std::array<int, 8> flags;
    std::array<int, 8> place;
};
const ShapeNodes& ShapeNodesOf(ElementType type);

/// The smallest determinant of the Jacobian at the points where an element is integrated, and at
/// the corners of a linear one.
double SmallestJacobian(const Mesh& mesh, std::size_t element);

/// Length of a side; that of a curved one by Simpson's rule.
double LengthOf(const Mesh& mesh, const Edge& edge);

/// Mean of the corners.
Point CentreOf(const Mesh& mesh, std::size_t element);

} // namespace percova
