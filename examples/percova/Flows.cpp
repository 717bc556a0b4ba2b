#include "Flows.h"

#include "Element.h"

#include <algorithm>
#include <cmath>

namespace percova
{
namespace
{
bool Holds(BoundaryType type) { return type != BoundaryType::Flux && type != BoundaryType::NoFlow; }

/// Local coordinates at @p t in [-1, 1] along side @p side of an element.
void AlongSide(ElementType type, int side, double t, double& r, double& s)
{
    constexpr double kTriangle[3][2] = {{0, 0}, {1, 0}, {0, 1}};
    constexpr double kSquare[4][2] = {{1, 1}, {-1, 1}, {-1, -1}, {1, -1}};
    const int corners = Corners(type);
    const double(*at)[2] = corners == 3 ? kTriangle : kSquare;
    const double* from = at[side];
    const double* to = at[(side + 1) % corners];
    r = ((1 - t) * from[0] + (1 + t) * to[0]) / 2;
    s = ((1 - t) * from[1] + (1 + t) * to[1]) / 2;
}

/// The side of element @p e between two corner nodes, whichever way; -1 for none.
int SideBetween(const Mesh& mesh, int e, int a, int b)
{
    const int* nodes = mesh.ElementNodes(std::size_t(e));
    const int corners = Corners(mesh.type[e]);
    for (int side = 0; side < corners; ++side)
    {
        const int from = nodes[side], to = nodes[(side + 1) % corners];
        if ((from == a && to == b) || (from == b && to == a))
            return side;
    }
    return -1;
}

/// Inflow over @p edge from outside into element @p e at each of the edge's points [m3/s per m].
void InflowOver(const Solution& s, const Edge& edge, int e, const EdgePoint points[kEdgePoints],
                double inflow[kEdgePoints])
{
    const Mesh& mesh = s.model.mesh;
    const int side = SideBetween(mesh, e, edge.nodes[0], edge.nodes[1]);
    const bool along = mesh.ElementNodes(std::size_t(e))[side] == edge.nodes[0];
    const Soil& soil = s.soils[s.model.material[e]];
    ElementState element;
    element.Load(mesh, std::size_t(e), s.head.data());
    for (int p = 0; p < kEdgePoints; ++p)
    {
        const double t = 2 * points[p].t - 1;
        double r = 0, at = 0;
        AlongSide(element.type, side, along ? t : -t, r, at);
        PointState point;
        At(element, r, at, point);
        const double kr = soil.kr.At(point.psi);
        // the normal points out of the element on the left, into the one on the right
        inflow[p] = (along ? kr : -kr) * (soil.kx * point.gradient[0] * points[p].normalX +
                                          soil.ky * point.gradient[1] * points[p].normalY);
    }
}

/// What the sides of one boundary bring to a node.
struct Share
{
    double flux = 0;
    double length = 0;
};
using Shares = std::vector<Share>; // by node

class FlowSums
{
public:
    explicit FlowSums(const Solution& solution) : s_(solution) {}

    void Run(StepResult& result)
    {
        const std::size_t boundaries = s_.step.conditions.size();
        shares_.resize(boundaries);
        flow_.assign(boundaries, 0);
        for (std::size_t b = 0; b < boundaries; ++b)
            if (s_.step.conditions[b].type != BoundaryType::NoFlow)
                Integrate(b, result);
        for (std::size_t node = 0; node < s_.inflow.size(); ++node)
            Distribute(node);
        for (std::size_t b = 0; b < boundaries; ++b)
        {
            if (s_.step.conditions[b].type == BoundaryType::Flux)
                flow_[b] = s_.conditions.loadSum[b];
            result.boundaries.push_back({s_.model.problem.boundaries[b].name, flow_[b]});
            if (s_.step.conditions[b].type == BoundaryType::Seepage)
                result.seepageFaces.push_back(
                    {s_.model.problem.boundaries[b].name, flow_[b], Exit(b)});
        }
        result.flowIn = in_;
        result.flowOut = out_;
        result.massBalance = in_ > 0 ? (in_ - out_) / in_ : kMissing;
    }

private:
    void Integrate(std::size_t b, StepResult& result)
    {
        Shares& shares = shares_[b];
        shares.resize(s_.inflow.size());
        for (double* sum : {&result.flowInIntegrated, &result.flowOutIntegrated})
            *sum = *sum == kMissing ? 0 : *sum;
        for (const Edge& edge : s_.model.boundaryEdges[b])
        {
            EdgePoint points[kEdgePoints];
            PointsOf(s_.model.mesh, edge, points);
            double inflow[kEdgePoints], other[kEdgePoints] = {};
            InflowOver(s_, edge, edge.element, points, inflow);
            if (edge.opposite >= 0)
                InflowOver(s_, edge, edge.opposite, points, other);
            for (int p = 0; p < kEdgePoints; ++p)
            {
                const double flux = inflow[p] + other[p];
                (flux > 0 ? result.flowInIntegrated : result.flowOutIntegrated) += std::abs(flux);
                for (int k = 0; k < 3 && edge.nodes[k] >= 0; ++k)
                {
                    shares[edge.nodes[k]].flux += points[p].N[k] * flux;
                    shares[edge.nodes[k]].length += points[p].N[k] * points[p].length;
                }
            }
        }
    }

    void Count(double flow) { (flow > 0 ? in_ : out_) += std::abs(flow); }

    void Distribute(std::size_t node)
    {
        double rest = s_.inflow[node] - s_.conditions.load[node], length = 0;
        Count(s_.conditions.load[node]);
        for (std::size_t b = 0; b < shares_.size(); ++b)
            if (Has(b, node))
            {
                rest -= shares_[b][node].flux;
                length += shares_[b][node].length;
            }
        for (std::size_t b = 0; b < shares_.size(); ++b)
            if (Has(b, node))
            {
                const Share& share = shares_[b][node];
                const double part = share.flux + rest * share.length / length;
                flow_[b] += part;
                Count(part);
            }
    }

    /// Whether boundary @p b holds @p node. A seepage face at a given head shares the node with
    /// the boundary that gives it.
    bool Has(std::size_t b, std::size_t node) const
    {
        return Holds(s_.step.conditions[b].type) && !shares_[b].empty() &&
               shares_[b][node].length > 0;
    }

    /// Outflow per length of a node of face @p b.
    double Density(std::size_t b, int node) const
    {
        return -s_.inflow[node] / shares_[b][node].length;
    }

    // The end of the wet part that lies highest; of ends at one height the one before a dry node.
    // Between the last wet node and the first dry one it is where the outflow, going on as it
    // falls between the last two wet nodes, is used up.
    Point Exit(std::size_t b) const
    {
        const Mesh& mesh = s_.model.mesh;
        Point exit{kMissing, kMissing};
        bool transition = false;
        const auto consider = [&](Point at, bool before) {
            const double slack = 1e-9 * (std::abs(at.y) + std::abs(at.x));
            if (exit.y != kMissing &&
                (at.y < exit.y - slack || (at.y <= exit.y + slack && (transition || !before))))
                return;
            exit = at;
            transition = before;
        };
        for (const Edge& edge : s_.model.boundaryEdges[b])
        {
            const bool bent = edge.nodes[2] >= 0;
            const int chain[3] = {edge.nodes[0], bent ? edge.nodes[2] : edge.nodes[1],
                                  edge.nodes[1]};
            for (int k = 0; k < (bent ? 2 : 1); ++k)
            {
                const bool first = IsWet(chain[k]), last = IsWet(chain[k + 1]);
                const int wet = first ? chain[k] : chain[k + 1];
                const int dry = first ? chain[k + 1] : chain[k];
                if (first || last)
                    consider({mesh.x[wet], mesh.y[wet]}, first != last);
                if (first && last)
                    consider({mesh.x[dry], mesh.y[dry]}, false);
            }
        }
        return exit;
    }

    bool IsWet(int node) const
    {
        return s_.head[node] >= s_.model.mesh.y[node] && s_.inflow[node] < 0;
    }

    const Solution& s_;
    std::vector<Shares> shares_; ///< by boundary
    std::vector<double> flow_;   ///< by boundary
    double in_ = 0, out_ = 0;
};
} // namespace

void EvaluateFlows(const Solution& solution, StepResult& result) { FlowSums(solution).Run(result); }

double StoredWater(const Solution& s)
{
    for (const Soil& soil : s.soils)
        if (!soil.hasCurve)
            return kMissing;
    double sum = 0;
    for (std::size_t e = 0; e < s.model.mesh.Elements(); ++e)
    {
        ElementState element;
        element.Load(s.model.mesh, e, s.head.data());
        const ElementRule& rule = RuleOf(element.type, true);
        const WaterCurve& curve = s.soils[s.model.material[e]].curve;
        for (int p = 0; p < rule.points; ++p)
        {
            PointState point;
            At(element, rule.N[p], rule.dN[p], point);
            sum += rule.weight[p] * point.area * curve.Content(point.psi * s.model.problem.gammaW);
        }
    }
    return sum;
}

} // namespace percova
