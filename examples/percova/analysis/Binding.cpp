#include "analysis/Binding.h"

#include "analysis/flow/Levels.h"
#include "analysis/flow/Lines.h"
#include "analysis/model/EarlierRun.h"
#include "analysis/results/Sections.h"
#include "mesh/MeshGeometry.h"
#include "mesh/Neighbours.h"
#include "problem/NumberText.h"
#include "problem/Plane.h"
#include "problem/ProblemReader.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <map>
#include <string>
#include <utility>

namespace percova
{
namespace
{

class Binder
{
public:
    Binder(Model& model, Faults& faults)
        : problem_(model.problem), mesh_(model.mesh), model_(model), faults_(faults)
    {
    }

    void BindRegions();
    void BindBoundaries();
    void BindProbes();
    void BindLines();

private:
    std::vector<Geom::Extents2D> SearchedBoxes() const;
    void Error(const Place& place, const std::string& text)
    {
        faults_.Error(problem_.file, place, text);
    }
    void GatherPolygons();
    void ReportUnassigned(const std::map<int, std::pair<std::size_t, std::size_t>>& unassigned);
    std::map<std::string, std::vector<Edge>> EdgesByName() const;
    std::vector<Edge> EdgesOn(const Polyline& line);
    bool LiesOn(const Edge& edge, const Polyline& line) const;
    void WarnOfLooseEnds(const Boundary& boundary, const std::vector<Edge>& edges);
    Point At(int node) const
    {
        const auto n = static_cast<std::size_t>(node);
        return {mesh_.x[n], mesh_.y[n]};
    }

    const Problem& problem_;
    const Mesh& mesh_;
    Model& model_;
    Faults& faults_;
    Geom::QuadTree2D polygons_; ///< of the regions, by their index
    std::uint64_t looks_ = 0;   ///< of a side at a part of a boundary's line
};

void Binder::GatherPolygons()
{
    constexpr unsigned kLeaf = 10;
    Geom::Extents2D box;
    for (const Region& region : problem_.regions)
        for (const Point& point : region.polygon)
            Geom::ExtentsGrow2D(box, point);
    polygons_.Initialize(box, kLeaf, PrecisionFor(box),
                         static_cast<unsigned>(problem_.regions.size()));
    for (std::size_t i = 0; i < problem_.regions.size(); ++i)
        (void)polygons_.Insert(static_cast<std::uint32_t>(i), problem_.regions[i].polygon);
}

void Binder::BindRegions()
{
    std::vector<int> regionOf(mesh_.surfaces.size(), -1);
    std::multimap<std::string, std::size_t> groups; // by name
    for (std::size_t group = 0; group < mesh_.surfaces.size(); ++group)
        groups.emplace(mesh_.surfaces[group].name, group);
    for (std::size_t i = 0; i < problem_.regions.size(); ++i)
    {
        const Region& region = problem_.regions[i];
        const auto [first, last] = groups.equal_range(region.name);
        const bool named = first != last;
        for (auto group = first; group != last; ++group)
            regionOf[group->second] = static_cast<int>(i);
        if (!named && !mesh_.surfaces.empty())
            Error(region.place, "'" + region.name + "' is no physical surface of " + mesh_.file +
                                    ", which has " + NamesOf(mesh_.surfaces));
        else if (!named && region.polygon.empty())
            Error(region.place, "'" + region.name + "' needs a polygon, for " + mesh_.file +
                                    " has no physical surfaces");
    }
    // By group: how many elements have no region, and the first of them.
    std::map<int, std::pair<std::size_t, std::size_t>> unassigned;
    std::vector<std::size_t> count(problem_.regions.size());
    model_.material.assign(mesh_.Elements(), -1);
    model_.region.assign(mesh_.Elements(), -1);
    GatherPolygons();
    for (std::size_t e = 0; e < mesh_.Elements(); ++e)
    {
        const int group = mesh_.group[e];
        const int region = group >= 0 ? regionOf[static_cast<std::size_t>(group)]
                                      : static_cast<int>(polygons_.Find(CentreOf(mesh_, e)));
        if (region < 0)
        {
            ++unassigned.try_emplace(group, 0, e).first->second.first;
            continue;
        }
        ++count[static_cast<std::size_t>(region)];
        model_.region[e] = region;
        model_.material[e] = problem_.regions[static_cast<std::size_t>(region)].material;
    }
    ReportUnassigned(unassigned);
    for (std::size_t i = 0; i < count.size(); ++i)
        if (count[i] == 0 && mesh_.surfaces.empty() && !problem_.regions[i].polygon.empty())
            Error(problem_.regions[i].place, "no element of " + mesh_.file +
                                                 " lies in the polygon of '" +
                                                 problem_.regions[i].name + "'");
}

void Binder::ReportUnassigned(const std::map<int, std::pair<std::size_t, std::size_t>>& unassigned)
{
    for (const auto& [group, elements] : unassigned)
    {
        const auto& [number, first] = elements;
        const Point centre = CentreOf(mesh_, first);
        const std::string which =
            group >= 0 ? "of physical surface '" +
                             mesh_.surfaces[static_cast<std::size_t>(group)].name + "' are"
                       : std::string("without physical surface are");
        faults_.Error(mesh_.file, {},
                      std::to_string(number) + " elements " + which +
                          " in no region of the problem, the first one being element " +
                          std::to_string(mesh_.elementNumber[first]) + " at (" + Short(centre.x) +
                          ", " + Short(centre.y) + ")");
    }
}

/// The sides in the physical curves, by their names.
std::map<std::string, std::vector<Edge>> Binder::EdgesByName() const
{
    std::map<std::string, std::vector<Edge>> edges;
    for (const Edge& edge : mesh_.edges)
        edges[mesh_.curves[static_cast<std::size_t>(edge.group)].name].push_back(edge);
    return edges;
}

/// Whether both ends and the middle of a side are on @p line, within a thousandth of its length.
bool Binder::LiesOn(const Edge& edge, const Polyline& line) const
{
    const Point a = At(edge.nodes[0]), b = At(edge.nodes[1]);
    const Point middle =
        edge.nodes[2] >= 0 ? At(edge.nodes[2]) : Point{(a.x + b.x) / 2, (a.y + b.y) / 2};
    const double near = 1e-3 * LengthOf(mesh_, edge);
    return NearestOn(line, a).distance <= near && NearestOn(line, b).distance <= near &&
           NearestOn(line, middle).distance <= near;
}

/// The sides of the rim that lie on @p line; where there are none, the sides inside.
std::vector<Edge> Binder::EdgesOn(const Polyline& line)
{
    constexpr std::uint64_t kMostLooks = 2'000'000'000; // half a minute
    const std::uint64_t looks = std::uint64_t{1} * mesh_.nodes.size() * line.size();
    looks_ += looks;
    if (looks_ > kMostLooks && looks_ - looks <= kMostLooks)
        faults_.Error(problem_.file, {},
                      "has too many points on the lines of its boundaries to look for all sides "
                      "of this mesh on them; name physical curves of the mesh instead");
    if (looks_ > kMostLooks)
        return {};
    std::vector<Edge> rim, inner;
    ForEachSide(mesh_, [&](const Edge& edge) {
        if (LiesOn(edge, line))
            (edge.opposite < 0 ? rim : inner).push_back(edge);
    });
    return rim.empty() ? inner : rim;
}

/// Warns where a line ends between two nodes, since the rest of that side is ignored.
void Binder::WarnOfLooseEnds(const Boundary& boundary, const std::vector<Edge>& edges)
{
    for (const Point& end : {boundary.line.front(), boundary.line.back()})
    {
        double nearest = HUGE_VAL, length = 0;
        for (const Edge& edge : edges)
            for (const int node : {edge.nodes[0], edge.nodes[1]})
            {
                const double distance = std::hypot(At(node).x - end.x, At(node).y - end.y);
                if (distance < nearest)
                {
                    nearest = distance;
                    length = LengthOf(mesh_, edge);
                }
            }
        if (nearest > 1e-3 * length)
            faults_.Warning(problem_.file, boundary.place,
                            "the line of '" + boundary.name + "' ends at (" + Short(end.x) + ", " +
                                Short(end.y) + "), which is no node of the sides on it; they end " +
                                Short(nearest) + " away");
    }
}

void Binder::BindBoundaries()
{
    model_.boundaryEdges.clear();
    std::map<std::string, std::vector<Edge>> byName = EdgesByName();
    for (std::size_t i = 0; i < problem_.boundaries.size(); ++i)
    {
        const Boundary& boundary = problem_.boundaries[i];
        std::vector<Edge> edges = byName[boundary.name];
        if (edges.empty() && !boundary.line.empty())
        {
            edges = EdgesOn(boundary.line);
            if (!edges.empty())
                WarnOfLooseEnds(boundary, edges);
        }
        bool matters = false;
        for (const Step& step : problem_.steps)
            matters = matters || step.conditions[i].type != BoundaryType::NoFlow;
        if (edges.empty() && matters)
            Error(boundary.place,
                  "'" + boundary.name + "' is no physical curve of " + mesh_.file + ", which has " +
                      NamesOf(mesh_.curves) +
                      (boundary.line.empty() ? ", and has no line"
                                             : ", and no side of the mesh lies on its line"));
        model_.boundaryEdges.push_back(std::move(edges));
    }
}

/// Boxes around the points, and the segments of lines, that are looked for in the mesh.
std::vector<Geom::Extents2D> Binder::SearchedBoxes() const
{
    std::vector<Geom::Extents2D> boxes;
    const auto add = [&](const Polyline& line) {
        for (std::size_t i = line.size() == 1 ? 0 : 1; i < line.size(); ++i)
        {
            Geom::Extents2D& box = boxes.emplace_back();
            Geom::ExtentsGrow2D(box, line[i]);
            Geom::ExtentsGrow2D(box, line[i == 0 ? 0 : i - 1]);
        }
    };
    for (const Probe& probe : problem_.probes)
        add({probe.at});
    for (const Section& section : problem_.sections)
        add(section.line);
    for (const Source& source : problem_.sources)
        add(source.line);
    for (const Section& uplift : problem_.uplifts)
        if (uplift.line.empty()) // a curve of the mesh
            return {};
        else
            add(uplift.line);
    return boxes;
}

void Binder::BindProbes()
{
    model_.finder.reset();
    model_.sections.reset();
    model_.sourceShares.clear();
    model_.upliftPieces.clear();
    const bool hasLines =
        !problem_.sections.empty() || !problem_.sources.empty() || !problem_.uplifts.empty();
    if (problem_.probes.empty() && !hasLines)
        return;
    model_.finder = std::make_shared<const ElementFinder>(mesh_, SearchedBoxes());
    for (const Probe& probe : problem_.probes)
        if (model_.finder->At(mesh_, probe.at).empty())
            faults_.Warning(problem_.file, probe.place,
                            "'" + probe.name + "' lies in no element of " + mesh_.file +
                                ", so it has no values");
    if (hasLines)
        BindLines();
}

void Binder::BindLines()
{
    const LineCutter cutter(mesh_, *model_.finder);
    BindSources(cutter, model_, faults_);
    BindUplifts(cutter, model_, faults_);
    if (problem_.sections.empty())
        return;
    model_.sections = std::make_shared<const Sections>(mesh_, problem_.sections, cutter);
    for (const Sections::Warning& warning : model_.sections->Warnings())
        faults_.Warning(problem_.file, problem_.sections[warning.section].place, warning.text);
}

} // namespace

bool Bind(Model& model, Faults& faults)
{
    const std::size_t before = faults.Errors();
    Binder binder(model, faults);
    binder.BindRegions();
    binder.BindBoundaries();
    binder.BindProbes();
    if (faults.Errors() == before)
        CheckLevels(model, faults);
    std::vector<double> head;
    std::string reason;
    if (faults.Errors() == before && model.problem.time &&
        model.problem.initial.type == InitialType::Result && !ReadEarlierHeads(model, head, reason))
        faults.Error(model.problem.file, model.problem.initial.place, reason);
    return faults.Errors() == before;
}

} // namespace percova
