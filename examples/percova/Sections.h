/// @file
/// Flow across sections: polylines that cut the mesh.
#pragma once

#include "ElementFinder.h"
#include "Flows.h"
#include "Results.h"

#include <vector>

namespace percova
{

/// The sections of a problem, cut into pieces at the sides of the elements.
///
/// On each piece the flux is integrated by four Gauss points; along a side between two elements it
/// is the mean of theirs. What lies outside the mesh counts nothing.
class Sections
{
public:
    /// @param mesh  must outlive the sections
    Sections(const Mesh& mesh, const std::vector<Section>& sections, const ElementFinder& finder);

    /// Fills the sections of @p result. A section that does not meet the mesh has no flow.
    void Evaluate(const Solution& solution, StepResult& result) const;

private:
    /// A point of integration, in one element or on a side of two.
    struct Station
    {
        std::vector<ElementPlace> places;
        Point normal; ///< to the right of the line, times the weight [m]
    };
    using Stations = std::vector<Station>;

    void Cut(const std::vector<Polyline>& sides, const ElementFinder& finder, Point a, Point b,
             Stations& stations) const;

    const Mesh* mesh_;
    std::vector<Stations> stations_; ///< by section
};

} // namespace percova
