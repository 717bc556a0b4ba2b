/// @file
/// Flow across sections: polylines that cut the mesh.
#pragma once

#include "analysis/Flows.h"
#include "analysis/Results.h"
#include "mesh/ElementFinder.h"

#include <cstddef>
#include <string>
#include <vector>

namespace percova
{

/// The sections of a problem, cut into pieces at the sides of the elements.
///
/// On each piece the flux is integrated by four Gauss points; along a side between two elements it
/// is the mean of theirs. What lies outside the mesh counts nothing. Any thread may ask.
class Sections
{
public:
    Sections(const Mesh& mesh, const std::vector<Section>& sections, const ElementFinder& finder);

    /// A sentence for every section that does not lie in the mesh with its whole length.
    struct Warning
    {
        std::size_t section;
        std::string text;
    };
    const std::vector<Warning>& Warnings() const { return warnings_; }

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

    static double Cut(const Mesh& mesh, const std::vector<Polyline>& sides,
                      const ElementFinder& finder, Point a, Point b, Stations& stations);
    void WarnOf(std::size_t index, const Section& section, double inside);

    std::vector<Stations> stations_; ///< by section
    std::vector<Warning> warnings_;
};

} // namespace percova
