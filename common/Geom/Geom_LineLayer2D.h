/// @file
/// The active lines of a sweep over x, in the order of their y.
#pragma once

#include "Geom/Geom_LineEvent.h"
#include "Geom/Geom_Precision.h"
#include "foundation/kvi_export.h"

#include <cstddef>
#include <utility>
#include <vector>

namespace Geom
{

/// Lines of a caller's set, each at most once, with queries of their y at an abscissa.
///
/// A line has a y where the abscissa lies between its ends, or up to the half-epsilon beyond one;
/// a line no wider than the half-epsilon is vertical and has a range of y. The caller's set must
/// outlive the layer.
/// @code
/// LineLayer2D layer(Precision());
/// layer.Insert(lines.begin());
/// const auto [low, high] = layer.GetY(2.5);
/// @endcode
class KVI_API LineLayer2D
{
public:
    /// A line of the caller's set.
    using Reference = LineSet2D::const_iterator;

    /// An empty layer with the half-epsilons of @p precision.
    explicit LineLayer2D(const Precision3D& precision) : precision_(precision) {}
    /// All of @p lines.
    LineLayer2D(const LineSet2D& lines, const Precision3D& precision);

    /// @returns whether @p line is new to the layer; otherwise nothing changes
    bool Insert(Reference line);
    /// @returns whether @p line was in the layer
    bool Erase(Reference line);
    /// The number of lines.
    std::size_t size() const { return lines_.size(); }

    /// The least and the greatest y of the lines at the abscissa @p x; both missing when no line
    /// has a y there. Time proportional to the number of lines.
    std::pair<double, double> GetY(double x) const;
    /// The lines that have a y at the abscissa @p x, from the lowest to the highest: by the middle
    /// of the line's range there, equal ones by position in the set. The order is exact, without
    /// tolerance, so that it is a strict weak order.
    std::vector<Reference> GetOrder(double x) const;

private:
    std::pair<double, double> YOf(const Line2D& line, double x) const;

    Precision3D precision_;
    std::vector<Reference> lines_; // by position
};

} // namespace Geom
