#include "CaseRun.h"

#include "analysis/Analysis.h"
#include "problem/TextFile.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <map>
#include <utility>

namespace percova::testing
{
namespace
{
const std::string kCases = KVI_SOURCE_DIR "/examples/percova/cases/";

std::string AllFaults(const Faults& faults)
{
    std::string all;
    for (const Fault& fault : faults.List())
        all += Line(fault) + "\n";
    return all;
}

/// Nodes of a grid by their steps, in half steps so that middles have a place.
class GridNodes
{
public:
    GridNodes(const Grid& grid, Mesh& mesh) : grid_(grid), mesh_(mesh) {}
    int At(int i, int j)
    {
        const auto [found, fresh] = nodes_.try_emplace({i, j}, int(mesh_.x.size()));
        if (fresh)
        {
            const Point at = grid_.place(i / (2.0 * grid_.columns), j / (2.0 * grid_.rows));
            mesh_.x.push_back(at.x);
            mesh_.y.push_back(at.y);
            mesh_.number.push_back(mesh_.x.size());
        }
        return found->second;
    }

private:
    const Grid& grid_;
    Mesh& mesh_;
    std::map<std::pair<int, int>, int> nodes_;
};

using Steps = std::pair<int, int>;

void AddElement(Mesh& mesh, GridNodes& nodes, ElementType type, const std::vector<Steps>& corners)
{
    for (const auto& [i, j] : corners)
        mesh.nodes.push_back(nodes.At(i, j));
    for (std::size_t k = 0; k < corners.size() && IsQuadratic(type); ++k)
    {
        const Steps a = corners[k], b = corners[(k + 1) % corners.size()];
        mesh.nodes.push_back(nodes.At((a.first + b.first) / 2, (a.second + b.second) / 2));
    }
    mesh.start.push_back(int(mesh.nodes.size()));
    mesh.type.push_back(type);
    mesh.group.push_back(-1);
    mesh.elementNumber.push_back(mesh.type.size());
}

void NameCurves(const Grid& grid, Mesh& mesh)
{
    for (Edge edge : RimOf(mesh))
    {
        const auto [a, b, middle] = edge.nodes;
        const std::string name =
            grid.curve({(mesh.x[a] + mesh.x[b]) / 2, (mesh.y[a] + mesh.y[b]) / 2});
        if (name.empty())
            continue;
        const auto named = [&](const MeshGroup& group) { return group.name == name; };
        const auto found = std::find_if(mesh.curves.begin(), mesh.curves.end(), named);
        edge.group = int(found - mesh.curves.begin());
        if (found == mesh.curves.end())
            mesh.curves.push_back({edge.group + 1, name});
        ++mesh.curves[edge.group].count;
        mesh.edges.push_back(edge);
    }
}
} // namespace

Mesh MakeMesh(const Grid& grid)
{
    Mesh mesh;
    mesh.file = "grid";
    mesh.start.push_back(0);
    GridNodes nodes(grid, mesh);
    for (int j = 0; j < 2 * grid.rows; j += 2)
        for (int i = 0; i < 2 * grid.columns; i += 2)
        {
            const Steps corner[4] = {{i, j}, {i + 2, j}, {i + 2, j + 2}, {i, j + 2}};
            const int turn = (i + j) / 2 % 2; // diagonals of triangles lie crosswise
            if (Corners(grid.type) == 4)
                AddElement(mesh, nodes, grid.type, {corner, corner + 4});
            else
                for (const int first : {turn, turn + 2})
                    AddElement(mesh, nodes, grid.type,
                               {corner[first], corner[(first + 1) % 4], corner[(first + 2) % 4]});
        }
    if (grid.curve)
        NameCurves(grid, mesh);
    if (!grid.region.empty())
    {
        mesh.surfaces.push_back({1, grid.region, mesh.Elements()});
        mesh.group.assign(mesh.Elements(), 0);
    }
    return mesh;
}

Grid Rectangle(ElementType type, int columns, int rows, double x0, double y0, double x1, double y1)
{
    return {type, columns, rows, [=](double u, double v) {
                return Point{x0 + u * (x1 - x0), y0 + v * (y1 - y0)};
            }};
}

CaseRun::CaseRun(const std::string& name) : name_(name)
{
    Faults faults;
    EXPECT_TRUE(ReadProblem(PathOf(kCases + name + ".problem.json"), model.problem, faults))
        << AllFaults(faults);
    std::ifstream file(kCases + name + ".reference.json");
    reference = nlohmann::json::parse(file);
}

void CaseRun::AddProbe(const std::string& name, double x, double y)
{
    model.problem.probes.push_back({name, {x, y}, {}});
}

void CaseRun::AddProbesOfReferences()
{
    for (const auto& value : reference["values"])
        if (value.contains("at"))
            AddProbe(value["name"], value["at"][0], value["at"][1]);
        else if (value.contains("z"))
            AddProbe(value["name"], 0.5, value["z"]);
}

void CaseRun::Read(const std::string& variant)
{
    Faults faults;
    EXPECT_TRUE(
        ReadMesh(PathOf(kCases + "mesh/" + name_ + "." + variant + ".msh"), model.mesh, faults))
        << AllFaults(faults);
}

const StepResult& CaseRun::On(const std::string& variant, SolverKind kind)
{
    Read(variant);
    return Solve(kind);
}

const StepResult& CaseRun::On(const Grid& grid, SolverKind kind)
{
    model.mesh = MakeMesh(grid);
    return Solve(kind);
}

const StepResult& CaseRun::Solve(SolverKind kind)
{
    Faults faults;
    EXPECT_TRUE(Bind(model, faults)) << AllFaults(faults);
    model.problem.solver.kind = kind;
    results = {};
    std::string reason;
    EXPECT_TRUE(Analyse(model, {}, results, reason)) << reason;
    const StepResult& step = results.steps.front();
    EXPECT_TRUE(step.converged) << step.trouble;
    return step;
}

double CaseRun::Value(const std::string& name) const
{
    for (const auto& value : reference["values"])
        if (value["name"] == name)
            return value["value"];
    ADD_FAILURE() << "no reference " << name;
    return 0;
}

double CaseRun::Flow(const std::string& boundary) const
{
    for (const BoundaryFlow& flow : results.steps.front().boundaries)
        if (flow.name == boundary)
            return flow.flow;
    ADD_FAILURE() << "no boundary " << boundary;
    return 0;
}

const ProbeValue& CaseRun::Probed(const std::string& name) const
{
    static const ProbeValue kNone;
    for (const ProbeValue& probe : results.steps.front().probes)
        if (probe.name == name)
            return probe;
    ADD_FAILURE() << "no probe " << name;
    return kNone;
}

double CaseRun::SurfaceAt(double x) const
{
    double highest = kMissing;
    for (const Polyline& line : results.steps.front().surface)
        for (std::size_t k = 1; k < line.size(); ++k)
        {
            const Point a = line[k - 1], b = line[k];
            if (std::min(a.x, b.x) > x || std::max(a.x, b.x) < x || a.x == b.x)
                continue;
            const double y = a.y + (x - a.x) / (b.x - a.x) * (b.y - a.y);
            highest = highest == kMissing ? y : std::max(highest, y);
        }
    return highest;
}

SolverKind KindInTurn()
{
    static int turn = 0;
    constexpr SolverKind kKinds[] = {SolverKind::Pardiso, SolverKind::Direct,
                                     SolverKind::Iterative};
    return kKinds[turn++ % 3];
}

bool IsThorough()
{
#if defined(NDEBUG) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    return true;
#else
    return false;
#endif
}

} // namespace percova::testing
