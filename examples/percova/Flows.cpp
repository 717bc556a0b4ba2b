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
    double length = 0; ///< of the sides that have the node
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
        const std::vector<double>& y = s_.model.mesh.y;
        for (const Soil& soil : s_.soils)
            still_ = std::max(still_,
                              std::max(soil.kx, soil.ky) * (*std::max_element(y.begin(), y.end()) -
                                                            *std::min_element(y.begin(), y.end())));
        for (std::size_t b = 0; b < boundaries; ++b)
        {
            if (s_.step.conditions[b].type == BoundaryType::Flux)
                flow_[b] = s_.conditions.loadSum[b];
            result.boundaries.push_back({s_.model.problem.boundaries[b].name, flow_[b]});
            if (IsSeepage(b))
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
                    shares[edge.nodes[k]].length += points[p].length;
                }
            }
        }
    }

    void Count(double flow) { (flow > 0 ? in_ : out_) += std::abs(flow); }

    /// Flux that the sides of boundary @p b bring to a node; on a seepage face it can only leave.
    double FluxOf(std::size_t b, std::size_t node) const
    {
        const double flux = shares_[b][node].flux;
        return IsSeepage(b) ? std::min(flux, 0.0) : flux;
    }

    void Distribute(std::size_t node)
    {
        Count(s_.conditions.load[node]);
        double rest = s_.inflow[node] - s_.conditions.load[node], length = 0;
        bool given = false; // a head; the seepage faces then get no part of the rest
        for (std::size_t b = 0; b < shares_.size(); ++b)
            given = given || (Has(b, node) && !IsSeepage(b));
        for (std::size_t b = 0; b < shares_.size(); ++b)
            if (Has(b, node))
            {
                rest -= given ? FluxOf(b, node) : 0;
                length += given && IsSeepage(b) ? 0 : shares_[b][node].length;
            }
        for (std::size_t b = 0; b < shares_.size(); ++b)
            if (Has(b, node))
            {
                double part = given ? FluxOf(b, node) : 0;
                if (!given || !IsSeepage(b))
                    part += rest * shares_[b][node].length / length;
                flow_[b] += part;
                Count(part);
            }
    }

    bool IsSeepage(std::size_t b) const
    {
        return s_.step.conditions[b].type == BoundaryType::Seepage;
    }

    /// Whether boundary @p b holds @p node. A seepage face at a given head shares the node with
    /// the boundary that gives it.
    bool Has(std::size_t b, std::size_t node) const
    {
        return Holds(s_.step.conditions[b].type) && !shares_[b].empty() &&
               shares_[b][node].length > 0;
    }

    // The end of the wet part that lies highest; of ends at one height the one farthest from the
    // middle of the outflow, where the free surface comes out on a level drain.
    Point Exit(std::size_t b) const
    {
        const Mesh& mesh = s_.model.mesh;
        double outflow = 0, middle = 0;
        for (std::size_t node = 0; node < s_.inflow.size(); ++node)
            if (Has(b, node) && IsWet(int(node)))
            {
                outflow -= s_.inflow[node];
                middle -= s_.inflow[node] * mesh.x[node];
            }
        Point exit{kMissing, kMissing};
        for (const Edge& edge : s_.model.boundaryEdges[b])
            for (const int node : edge.nodes)
            {
                if (node < 0 || !IsWet(node))
                    continue;
                const Point at{mesh.x[node], mesh.y[node]};
                const double slack = 1e-9 * (std::abs(at.x) + std::abs(at.y));
                const bool level = std::abs(at.y - exit.y) <= slack;
                if (exit.y == kMissing || (!level && at.y > exit.y) ||
                    (level &&
                     std::abs(at.x * outflow - middle) > std::abs(exit.x * outflow - middle)))
                    exit = at;
            }
        return exit;
    }

    /// Gives water off at zero pressure, more than rounding makes of nothing.
    bool IsWet(int node) const
    {
        return s_.head[node] >= s_.model.mesh.y[node] &&
               s_.inflow[node] < -std::max(1e-9 * std::max(in_, out_), 1e-14 * still_);
    }

    const Solution& s_;
    std::vector<Shares> shares_; ///< by boundary
    std::vector<double> flow_;   ///< by boundary
    double in_ = 0, out_ = 0;
    double still_ = 0; ///< conductivity times height: its rounding is the flow of still water
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
