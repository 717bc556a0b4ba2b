#include "analysis/results/FlowNet.h"

#include "analysis/model/Element.h"
#include "analysis/results/EdgeFlux.h"
#include "mesh/Connectivity.h"
#include "mesh/Neighbours.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <utility>

namespace percova
{
namespace
{

constexpr double kBalanced = 1e-6; ///< of the flow along the rim: what it may miss at the end

/// The values on the rim of the mesh.
class RimValues
{
public:
    explicit RimValues(const Solution& solution)
        : s_(solution), mesh_(solution.model.mesh), rim_(RimOf(mesh_)), from_(mesh_.Nodes(), -1)
    {
    }

    /// Sets @p value at the nodes of the rim and marks them in @p held.
    /// @returns false with the reason when there is no stream function
    bool Set(std::vector<double>& value, std::vector<char>& held, std::string& reason);

private:
    bool GatherOpen(std::string& reason);
    bool Walk(std::size_t first, std::vector<double>& value, std::vector<char>& held,
              std::string& reason);
    /// A side of the rim: what the flux over it brings to its ends.
    struct Share
    {
        double length = 0; ///< 0 where it is impervious
        double first = 0, last = 0;
    };
    Share ShareOf(std::size_t edge) const;
    double RoundingFlow() const;

    const Solution& s_;
    const Mesh& mesh_;
    std::vector<Edge> rim_;
    std::vector<int> from_;              ///< by node: the side of the rim that begins there
    std::set<std::pair<int, int>> open_; ///< sides that let water through, by element and side
};

/// Finds the sides with a boundary that is not impervious.
bool RimValues::GatherOpen(std::string& reason)
{
    for (std::size_t b = 0; b < s_.step.conditions.size(); ++b)
        for (const Edge& edge : s_.model.boundaryEdges[b])
        {
            if (s_.step.conditions[b].type == BoundaryType::NoFlow)
                continue;
            open_.insert({edge.element, edge.side});
            if (edge.opposite >= 0)
                reason = "boundary '" + s_.model.problem.boundaries[b].name +
                         "' lets water in or out inside the mesh";
        }
    for (const double rate : s_.conditions.sourceRate)
        if (rate != 0)
            reason = "sources bring or draw water inside the mesh";
    return reason.empty();
}

bool RimValues::Set(std::vector<double>& value, std::vector<char>& held, std::string& reason)
{
    if (!GatherOpen(reason))
        return false;
    for (std::size_t i = 0; i < rim_.size(); ++i)
    {
        int& from = from_[rim_[i].nodes[0]];
        if (from >= 0)
        {
            reason = "the rim of the mesh meets itself in a node";
            return false;
        }
        from = int(i);
    }
    int loops = 0;
    for (std::size_t i = 0; i < rim_.size(); ++i)
        if (!held[rim_[i].nodes[0]])
        {
            ++loops;
            if (!Walk(i, value, held, reason))
                return false;
        }
    if (loops > PartsOf(mesh_).count)
        reason = "the mesh has holes"; // the flow between them and the rim is not known
    return reason.empty();
}

RimValues::Share RimValues::ShareOf(std::size_t edge) const
{
    const Edge& side = rim_[edge];
    Share share;
    if (open_.count({side.element, side.side}) == 0)
        return share;
    EdgePoint points[kEdgePoints];
    PointsOf(mesh_, side, points);
    const EdgeFlux flux = FluxOver(s_, side, side.element, points);
    for (int p = 0; p < kEdgePoints; ++p)
    {
        share.length += points[p].length;
        share.first += points[p].N[0] * flux.inflow[p];
        share.last += points[p].N[1] * flux.inflow[p];
    }
    return share;
}

/// The scale of the flow that rounding causes in water at rest: conductivity times head.
double RimValues::RoundingFlow() const
{
    double conductivity = 0, head = 0;
    for (const Soil& soil : s_.soils)
        conductivity = std::max({conductivity, soil.kx, soil.ky});
    for (std::size_t n = 0; n < mesh_.Nodes(); ++n)
        head = std::max({head, std::abs(s_.head[n]), std::abs(mesh_.y[n])});
    return 1e-12 * conductivity * head;
}

/// Goes once around, with the mesh on the left: the value rises by what leaves.
bool RimValues::Walk(std::size_t first, std::vector<double>& value, std::vector<char>& held,
                     std::string& reason)
{
    std::vector<int> nodes;
    const auto nextOf = [&](std::size_t i) { return std::size_t(from_[rim_[i].nodes[1]]); };
    std::size_t i = first;
    while (nextOf(i) != first)
        i = nextOf(i);
    double sum = 0, through = 0;
    Share before = ShareOf(i);
    do
    {
        i = nextOf(i);
        const int node = rim_[i].nodes[0], middle = rim_[i].nodes[2];
        const Share after = ShareOf(i);
        const double length = before.length + after.length;
        // The flow of the node that the fluxes do not account for is divided by the lengths.
        const double rest = s_.inflow[node] - before.last - after.first;
        value[node] = sum - before.last - rest * (length > 0 ? before.length / length : 0.5);
        sum -= s_.inflow[node];
        through += std::abs(s_.inflow[node]);
        held[node] = 1;
        nodes.push_back(node);
        if (middle >= 0)
        {
            value[middle] = sum - s_.inflow[middle] / 2;
            sum -= s_.inflow[middle];
            through += std::abs(s_.inflow[middle]);
            held[middle] = 1;
            nodes.push_back(middle);
        }
        before = after;
    } while (nextOf(i) != first);
    double least = value[nodes.front()];
    for (const int node : nodes)
        least = std::min(least, value[node]);
    for (const int node : nodes)
        value[node] -= least;
    if (std::abs(sum) > std::max(kBalanced * through, RoundingFlow()))
        reason = "what flows over the rim does not balance";
    return reason.empty();
}

/// The matrix of the dual equation for an element.
void DualMatrix(const ElementState& element, const Soil& soil, double* matrix)
{
    const ElementRule& rule = RuleOf(element.type, !soil.kr.IsSaturated());
    const int n = NodeCount(element.type);
    const double det = soil.kx * soil.ky - soil.kxy * soil.kxy;
    std::fill(matrix, matrix + n * n, 0.0);
    for (int p = 0; p < rule.points; ++p)
    {
        PointState point;
        At(element, rule.N[p], rule.dN[p], point);
        const double weight = rule.weight[p] * point.area / (soil.kr.At(point.psi) * det);
        for (int j = 0; j < n; ++j)
        {
            const int at = PlaceOf(element.type, j);
            const Point led = soil.Conducted(point.B[0][at], point.B[1][at]);
            for (int i = 0; i < n; ++i)
            {
                const int by = PlaceOf(element.type, i);
                matrix[i * n + j] += weight * (point.B[0][by] * led.x + point.B[1][by] * led.y);
            }
        }
    }
}

/// Solves inside for the @p value held on the rim.
bool SolveInside(const Solution& s, LinearSystem& system, const std::vector<char>& held,
                 std::vector<double>& value, std::string& reason)
{
    const Mesh& mesh = s.model.mesh;
    std::vector<double> rightSide(mesh.Nodes()), inside;
    system.Clear();
    for (std::size_t e = 0; e < mesh.Elements(); ++e)
    {
        ElementState element;
        double matrix[64];
        element.Load(mesh, e, s.head.data());
        DualMatrix(element, s.soils[s.model.material[e]], matrix);
        system.Add(e, 1, matrix);
        const int n = NodeCount(element.type);
        const int* nodes = mesh.ElementNodes(e);
        for (int i = 0; i < n; ++i)
            for (int j = 0; j < n; ++j)
                if (!held[nodes[i]])
                    rightSide[nodes[i]] -= matrix[i * n + j] * value[nodes[j]];
    }
    if (!system.Solve(held, rightSide, true, 1e-10, inside, reason))
        return false;
    for (std::size_t node = 0; node < value.size(); ++node)
        value[node] += inside[node];
    return true;
}

} // namespace

std::vector<double> StreamFunction(const Solution& solution, LinearSystem& system,
                                   std::string& reason)
{
    const std::size_t count = solution.model.mesh.Nodes();
    std::vector<double> value(count);
    std::vector<char> held(count);
    reason.clear();
    if (!RimValues(solution).Set(value, held, reason) ||
        !SolveInside(solution, system, held, value, reason))
        return {};
    return value;
}

} // namespace percova
