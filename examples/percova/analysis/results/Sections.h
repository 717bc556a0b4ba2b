/// @file
/// Flow across sections: polylines that cut the mesh.
#pragma once

#include "analysis/model/Results.h"
#include "analysis/results/Flows.h"
#include "analysis/results/SectionSides.h"
#include "mesh/LineCut.h"

#include <cstddef>
#include <string>
#include <vector>

namespace percova
{

/// The sections of a problem, cut into pieces at the sides of the elements.
///
/// In a steady state the flow is that of the nodes on the left of a section to those on its right,
/// which balances with the boundaries to the tolerance of the solver. Where a way leads around the
/// section, where water enters or leaves at its ends, or where water is stored, the flux is
/// integrated instead by four Gauss points on each piece; along a side between two elements it is
/// the mean of theirs. Parts outside the mesh contribute nothing. Any thread may query.
class Sections
{
public:
    Sections(const Mesh& mesh, const std::vector<Section>& sections, const LineCutter& cutter);

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

    static void AddStations(const Mesh& mesh, const LinePiece& piece, Stations& stations);
    void Divide(const Mesh& mesh, Polyline line, const Stations& stations);
    void WarnOf(std::size_t index, const Section& section, double inside);

    static double Integrated(const Solution& solution, const Stations& stations);
    static double Undivided(const Solution& solution, const SectionSides& sides);
    static double NodalFlow(const Solution& solution, const SectionSides& sides);

    std::vector<Stations> stations_; ///< by section, as that which follows
    std::vector<SectionSides> sides_;
    std::vector<Warning> warnings_;
};

} // namespace percova
