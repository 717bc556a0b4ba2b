#include "analysis/Sections.h"

#include "analysis/Element.h"
#include "mesh/MeshGeometry.h"
#include "mesh/SideTable.h"
#include "problem/NumberText.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace percova
{
namespace
{

// Gauss points on (0, 1)
constexpr double kAt[4] = {0.06943184420297371, 0.33000947820757187, 0.66999052179242813,
                           0.93056815579702629};
constexpr double kWeight[4] = {0.17392742256872693, 0.32607257743127307, 0.32607257743127307,
                               0.17392742256872693};
constexpr double kShortest = 1e-9; ///< a piece below this share of its segment is ignored
constexpr double kAside = 1e-3;    ///< a share of a line outside the mesh that is reported

double LengthOf(const Polyline& line)
{
    double length = 0;
    for (std::size_t k = 1; k < line.size(); ++k)
        length += std::hypot(line[k].x - line[k - 1].x, line[k].y - line[k - 1].y);
    return length;
}

/// Every side of the mesh once, a curved one in chords.
std::vector<Polyline> SidesOf(const Mesh& mesh)
{
    std::vector<Polyline> sides;
    SideTable(mesh).ForEachPair([&](const SideTable::Side* first, const SideTable::Side*) {
        sides.push_back(ChordsOf(mesh, SideOf(mesh, first->element, first->side)));
    });
    return sides;
}

Geom::Extents2D BoxOf(const Polyline& line)
{
    Geom::Extents2D box;
    for (const Point& point : line)
        Geom::ExtentsGrow2D(box, point);
    return box;
}

/// The places where the segment from @p a to @p b meets the sides, as shares of its length,
/// ascending, with its ends.
std::vector<double> CutsOf(const std::vector<Polyline>& sides, Point a, Point b,
                           const Geom::Precision3D& precision)
{
    const Geom::Extents2D box = BoxOf({a, b});
    const Point along{b.x - a.x, b.y - a.y};
    const double square = along.x * along.x + along.y * along.y;
    std::vector<double> cuts{0, 1};
    for (const Polyline& side : sides)
    {
        if (!Geom::IsExtentsIntersected2D(box, BoxOf(side), precision))
            continue;
        for (std::size_t i = 1; i < side.size(); ++i)
        {
            Point meet[2];
            const int count =
                Geom::LineIntersection2D(meet[0], meet[1], a, b, side[i - 1], side[i], precision);
            for (int k = 0; k < count; ++k)
                cuts.push_back(
                    std::clamp(((meet[k].x - a.x) * along.x + (meet[k].y - a.y) * along.y) / square,
                               0.0, 1.0));
        }
    }
    std::sort(cuts.begin(), cuts.end());
    return cuts;
}

} // namespace

Sections::Sections(const Mesh& mesh, const std::vector<Section>& sections,
                   const ElementFinder& finder)
    : stations_(sections.size())
{
    if (sections.empty())
        return;
    const std::vector<Polyline> sides = SidesOf(mesh);
    for (std::size_t i = 0; i < sections.size(); ++i)
    {
        const Polyline& line = sections[i].line;
        double inside = 0;
        for (std::size_t k = 1; k < line.size(); ++k)
            inside += Cut(mesh, sides, finder, line[k - 1], line[k], stations_[i]);
        Divide(mesh, line, stations_[i]);
        WarnOf(i, sections[i], inside);
    }
}

/// @returns how much of the way from @p a to @p b lies in the mesh [m]
double Sections::Cut(const Mesh& mesh, const std::vector<Polyline>& sides,
                     const ElementFinder& finder, Point a, Point b, Stations& stations)
{
    if (a == b)
        return 0;
    const auto at = [&](double t) { return Point{a.x + t * (b.x - a.x), a.y + t * (b.y - a.y)}; };
    double from = 0, inside = 0;
    for (const double to : CutsOf(sides, a, b, PrecisionFor(mesh)))
    {
        const double length = to - from;
        if (length < kShortest)
            continue;
        const std::vector<ElementPlace> around = finder.At(mesh, at(from + length / 2));
        inside += around.empty() ? 0 : length * std::hypot(b.x - a.x, b.y - a.y);
        for (int p = 0; p < 4 && !around.empty(); ++p)
        {
            Station station{
                around, {kWeight[p] * length * (b.y - a.y), -kWeight[p] * length * (b.x - a.x)}};
            for (ElementPlace& place : station.places)
                (void)FindInElement(mesh, place.element, at(from + kAt[p] * length), place);
            stations.push_back(std::move(station));
        }
        from = to;
    }
    return inside;
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

/// The greatest flow that a boundary brings to a node beside the section, but for sides on it: how
/// much of that is on the left, nodal flows do not say.
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
        ElementResult result;
        double saturated[64];
        element.Load(solution.model.mesh, share.element, solution.head.data());
        SaturatedMatrix(element, soil, saturated);
        Compute(element, soil, saturated, {}, Tangent::None, 0, result);
        for (int k = 0; k < NodeCount(element.type); ++k)
            flow += (share.left >> k & 1) != 0 ? result.inflow[k] : 0;
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
