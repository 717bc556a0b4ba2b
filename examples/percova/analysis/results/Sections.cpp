#include "analysis/results/Sections.h"

#include "analysis/model/Element.h"
#include "mesh/LineCut.h"
#include "problem/NumberText.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace percova
{
namespace
{
constexpr double kAside = 1e-3; ///< a share of a line outside the mesh that is reported
} // namespace

Sections::Sections(const Mesh& mesh, const std::vector<Section>& sections, const LineCutter& cutter)
    : stations_(sections.size())
{
    for (std::size_t i = 0; i < sections.size(); ++i)
    {
        const std::vector<LinePiece> pieces = cutter.Cut(sections[i].line);
        for (const LinePiece& piece : pieces)
            AddStations(mesh, piece, stations_[i]);
        Divide(mesh, sections[i].line, stations_[i]);
        WarnOf(i, sections[i], LengthInside(pieces));
    }
}

/// Adds the points of integration of a piece.
void Sections::AddStations(const Mesh& mesh, const LinePiece& piece, Stations& stations)
{
    const double dx = piece.to.x - piece.from.x, dy = piece.to.y - piece.from.y;
    for (int p = 0; p < kLinePoints && !piece.elements.empty(); ++p)
    {
        Station station{{}, {kLineWeight[p] * dy, -kLineWeight[p] * dx}};
        for (std::size_t k = 0; k < piece.elements.size(); ++k)
            station.places.push_back(piece.PlaceAt(mesh, k, kLineAt[p]));
        stations.push_back(std::move(station));
    }
}

void Sections::WarnOf(std::size_t index, const Section& section, double inside)
{
    const double length = LengthOf(section.line), outside = length - inside;
    const std::string name = "section '" + section.name + "' ";
    if (stations_[index].empty())
        warnings_.push_back({index, name + "does not meet the mesh, so it has no flow"});
    else if (outside > kAside * length)
        warnings_.push_back({index, name + "lies outside the mesh with " +
                                        Short(100 * outside / length, 2) +
                                        " % of its length, where nothing is counted"});
}

void Sections::Divide(const Mesh& mesh, Polyline line, const Stations& stations)
{
    constexpr double kOnSide = 1e-6; // in local coordinates
    std::vector<std::size_t> cut;
    for (const Station& station : stations)
    {
        const auto& [e, r, s] = station.places.front();
        const double inside = Corners(mesh.type[e]) == 3 ? std::min({r, s, 1 - r - s})
                                                         : 1 - std::max(std::abs(r), std::abs(s));
        if (station.places.size() == 1 && inside > kOnSide)
            cut.push_back(e);
    }
    line.erase(std::unique(line.begin(), line.end()), line.end());
    if (line.size() < 2)
        line = {{0, 0}, {0, 0}};
    sides_.emplace_back(mesh, line, cut);
}

double Sections::Integrated(const Solution& solution, const Stations& stations)
{
    double flow = stations.empty() ? kMissing : 0;
    for (const Station& station : stations)
        for (const ElementPlace& place : station.places)
        {
            const Soil& soil = solution.soils[solution.model.material[place.element]];
            ElementState element;
            PointState point;
            element.Load(solution.model.mesh, place.element, solution.head.data());
            At(element, place.r, place.s, point);
            const Point conducted = soil.Conducted(point.gradient[0], point.gradient[1]);
            flow -= soil.kr.At(point.psi) *
                    (conducted.x * station.normal.x + conducted.y * station.normal.y) /
                    static_cast<double>(station.places.size());
        }
    return flow;
}

/// The greatest flow that a boundary or a source brings to a node beside the section, but for sides
/// on it: how much of that is on the left, nodal flows do not say.
double Sections::Undivided(const Solution& solution, const SectionSides& sides)
{
    const Mesh& mesh = solution.model.mesh;
    const std::vector<char>& isOn = sides.IsOnLine();
    std::vector<char> isFed(mesh.Nodes());
    for (std::size_t b = 0; b < solution.step.conditions.size(); ++b)
        for (const Edge& edge : solution.model.boundaryEdges[b])
        {
            const auto [first, last, middle] = edge.nodes;
            if (solution.step.conditions[b].type == BoundaryType::NoFlow ||
                (isOn[first] && isOn[last] && (middle < 0 || isOn[middle])))
                continue;
            isFed[first] = isFed[last] = 1;
            if (middle >= 0)
                isFed[middle] = 1;
        }
    for (std::size_t n = 0; n < solution.conditions.sourceLoad.size(); ++n)
        isFed[n] = isFed[n] || solution.conditions.sourceLoad[n] != 0;
    double most = 0;
    for (const SectionSides::Share& share : sides.Shares())
        for (int k = mesh.start[share.element]; k < mesh.start[share.element + 1]; ++k)
            if (isFed[mesh.nodes[k]])
                most = std::max(most, std::abs(solution.inflow[mesh.nodes[k]]));
    return most;
}

double Sections::NodalFlow(const Solution& solution, const SectionSides& sides)
{
    double flow = 0;
    for (const SectionSides::Share& share : sides.Shares())
    {
        const Soil& soil = solution.soils[solution.model.material[share.element]];
        ElementState element;
        double inflow[8];
        element.Load(solution.model.mesh, share.element, solution.head.data());
        ComputeInflow(element, soil, inflow);
        for (int k = 0; k < NodeCount(element.type); ++k)
            flow += (share.left >> k & 1) != 0 ? inflow[k] : 0;
    }
    return flow;
}

void Sections::Evaluate(const Solution& solution, StepResult& result) const
{
    constexpr double kNothing = 1e-8; // of the flow through the model
    const std::vector<Section>& sections = solution.model.problem.sections;
    const double in =
        std::accumulate(solution.inflow.begin(), solution.inflow.end(), 0.0,
                        [](double sum, double inflow) { return sum + std::max(inflow, 0.0); });
    for (std::size_t i = 0; i < sections.size(); ++i)
    {
        const bool isNodal = !solution.model.problem.time && sides_[i].Divides() &&
                             Undivided(solution, sides_[i]) <= kNothing * in;
        result.sections.push_back({sections[i].name, isNodal ? NodalFlow(solution, sides_[i])
                                                             : Integrated(solution, stations_[i])});
    }
    for (const Warning& warning : warnings_)
        result.warnings.push_back(warning.text);
}

} // namespace percova
