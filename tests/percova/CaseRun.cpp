#include "CaseRun.h"

#include "Scratch.h"
#include "analysis/Analysis.h"
#include "analysis/Binding.h"
#include "mesh/Neighbours.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

namespace percova::testing
{
Mesh MakeMesh(const Grid& grid)
{
    Mesh mesh;
    mesh.file = "grid";
    mesh.start.push_back(0);
    const int across = 2 * grid.columns, up = 2 * grid.rows; // half steps: sides have middles
    std::vector<int> nodes(std::size_t(across + 1) * std::size_t(up + 1), -1);
    const auto add = [&](int i, int j) {
        int& node = nodes[std::size_t(j) * std::size_t(across + 1) + std::size_t(i)];
        if (node < 0)
        {
            node = int(mesh.x.size());
            const Point at = grid.place(double(i) / across, double(j) / up);
            mesh.x.push_back(at.x);
            mesh.y.push_back(at.y);
        }
        mesh.nodes.push_back(node);
    };
    const int corners = Corners(grid.type), sides = IsQuadratic(grid.type) ? corners : 0;
    for (int j = 0; j < up; j += 2)
        for (int i = 0; i < across; i += 2)
            // the diagonals of triangles lie crosswise
            for (int first = corners == 3 ? (i + j) / 2 % 2 : 0; first < 4;
                 first += 2 * corners - 4)
            {
                const int x[] = {i, i + 2, i + 2, i}, y[] = {j, j, j + 2, j + 2};
                const auto corner = [&](int k) { return (first + k % corners) % 4; };
                for (int k = 0; k < corners; ++k)
                    add(x[corner(k)], y[corner(k)]);
                for (int k = 0; k < sides; ++k)
                    add((x[corner(k)] + x[corner(k + 1)]) / 2,
                        (y[corner(k)] + y[corner(k + 1)]) / 2);
                mesh.start.push_back(int(mesh.nodes.size()));
            }
    mesh.number.resize(mesh.Nodes());
    std::iota(mesh.number.begin(), mesh.number.end(), 1);
    mesh.type.assign(mesh.start.size() - 1, grid.type);
    mesh.elementNumber.resize(mesh.Elements());
    std::iota(mesh.elementNumber.begin(), mesh.elementNumber.end(), 1);
    mesh.group.assign(mesh.Elements(), -1);
    FindNeighbours(mesh);
    for (Edge edge : grid.curve ? RimOf(mesh) : std::vector<Edge>())
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
    return mesh;
}

Grid Rectangle(ElementType type, int columns, int rows, double x0, double y0, double x1, double y1)
{
    return {type, columns, rows, [=](double u, double v) {
                return Point{x0 + u * (x1 - x0), y0 + v * (y1 - y0)};
            }};
}

CaseRun::CaseRun(const std::string& name, const nlohmann::json& set) : name_(name)
{
    const std::filesystem::path path = Cases() / (name + ".problem.json");
    Faults faults;
    EXPECT_TRUE(ReadProblem(path, model.problem, faults)) << AllOf(faults);
    std::ifstream(Cases() / (name + ".reference.json")) >> reference;
    if (set.empty())
        return;
    nlohmann::json problem = nlohmann::json::parse(support::ReadAll(path));
    for (const auto& [at, value] : set.items())
        problem[nlohmann::json::json_pointer(at)] = value;
    model.problem = {};
    EXPECT_TRUE(ReadProblemText(problem.dump(), model.problem, faults)) << AllOf(faults);
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
    EXPECT_TRUE(ReadMesh(Cases() / "mesh" / (name_ + '.' + variant + ".msh"), model.mesh, faults))
        << AllOf(faults);
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
    EXPECT_TRUE(Bind(model, faults)) << AllOf(faults);
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
