/// @file
/// A line through the mesh, cut into pieces at the sides of the elements.
#pragma once

#include "mesh/ElementFinder.h"
#include "mesh/Mesh.h"

#include <cstddef>
#include <vector>

namespace percova
{

/// A straight piece of a line that lies in one element, along a side of several, or outside.
struct LinePiece
{
    Point from, to;
    double start = 0;                       ///< distance of its first point from the line's [m]
    double length = 0;                      ///< [m]
    std::vector<std::size_t> elements = {}; ///< in the order of the mesh; none outside

    /// The point at @p t from 0 to 1.
    Point At(double t) const
    {
        return {from.x + t * (to.x - from.x), from.y + t * (to.y - from.y)};
    }
    /// The same in element number @p k of the piece.
    ElementPlace PlaceAt(const Mesh& mesh, std::size_t k, double t) const;
};

/// @name Gauss points on (0, 1), exact for polynomials of degree 7
/// @{
constexpr int kLinePoints = 4;
constexpr double kLineAt[kLinePoints] = {0.06943184420297371, 0.33000947820757187,
                                         0.66999052179242813, 0.93056815579702629};
constexpr double kLineWeight[kLinePoints] = {0.17392742256872693, 0.32607257743127307,
                                             0.32607257743127307, 0.17392742256872693};
/// @}

/// Cuts lines through one mesh. Pieces shorter than 1e-9 of their segment are left out.
class LineCutter
{
public:
    /// Both have to live as long.
    LineCutter(const Mesh& mesh, const ElementFinder& finder);

    /// The pieces of @p line in its order; a segment without length has none.
    std::vector<LinePiece> Cut(const Polyline& line) const;

private:
    void CutSegment(Point a, Point b, double start, std::vector<LinePiece>& pieces) const;
    std::vector<double> CutsOf(Point a, Point b) const;

    const Mesh& mesh_;
    const ElementFinder& finder_;
    std::vector<Edge> sides_; ///< every side of the mesh once
    Geom::Precision3D precision_;
};

double LengthOf(const Polyline& line);
/// The length of the pieces in the mesh [m].
double LengthInside(const std::vector<LinePiece>& pieces);

} // namespace percova
