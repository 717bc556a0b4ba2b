#include "analysis/results/Flows.h"

#include "analysis/model/Element.h"
#include "analysis/results/EdgeFlux.h"
#include "mesh/MeshGeometry.h"
#include "problem/NumberText.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace percova
{
namespace
{
/// The outflow above the exit of a seepage face is at most this share of the model's outflow.
constexpr double kExitShare = 1e-3;

/// The contribution of the sides of one boundary to a node.
struct Share
{
    double flux = 0;
    double length = 0; ///< of the sides that have the node
    double extent = 0; ///< the node's share of that
    double flow = 0;   ///< the boundary's part of the inflow there
    double weight = 0; ///< outflow from saturated soil at zero pressure by gravity
};
/// By node, but only of those on boundaries, see FlowSums::place_.
using Shares = std::vector<Share>;

class FlowSums
{
public:
    explicit FlowSums(const Solution& solution) : s_(solution) {}

    void Run(StepResult& result)
    {
        const std::size_t boundaries = s_.step.conditions.size();
        shares_.resize(boundaries);
        flow_.assign(boundaries, 0);
        integrated_.assign(boundaries, 0);
        GatherNodes();
        for (std::size_t b = 0; b < boundaries; ++b)
            if (s_.step.conditions[b].type != BoundaryType::NoFlow)
                Integrate(b, result);
        for (const int node : nodes_)
            Distribute(std::size_t(node));
        for (std::size_t b = 0; b < boundaries; ++b)
        {
            if (s_.step.conditions[b].type == BoundaryType::Flux)
                flow_[b] += s_.conditions.loadSum[b];
            result.boundaries.push_back(
                {s_.model.problem.boundaries[b].name, flow_[b], integrated_[b]});
            if (s_.step.conditions[b].IsLimited())
                CountLimited(b, result.boundaries.back());
            if (IsSeepage(b))
                result.seepageFaces.push_back(
                    {s_.model.problem.boundaries[b].name, flow_[b], Exit(b)});
        }
        CountSources(result);
        result.flowIn = in_;
        result.flowOut = out_;
        result.massBalance = in_ > 0 ? (in_ - out_) / in_ : kMissing;
        WarnOfCoarseSides(result);
        for (std::size_t b = 0; b < boundaries; ++b)
            if (s_.step.conditions[b].type == BoundaryType::Flux &&
                IsMissingValue(s_.step.conditions[b].ponding))
                WarnOfPressure(b, result);
    }

    const std::vector<int>& DrippingNodes() const { return dripping_; }

private:
    /// The nodes that have a side of a boundary or a load, ascending.
    void GatherNodes()
    {
        std::vector<char> counts(s_.inflow.size());
        for (const std::vector<Edge>& edges : s_.model.boundaryEdges)
            for (const Edge& edge : edges)
                for (const int node : edge.nodes)
                    if (node >= 0)
                        counts[node] = 1;
        place_.assign(counts.size(), -1);
        for (std::size_t node = 0; node < counts.size(); ++node)
            if (counts[node] || s_.conditions.load[node] != 0)
            {
                place_[node] = int(nodes_.size());
                nodes_.push_back(int(node));
            }
    }

    Share& ShareOf(std::size_t b, std::size_t node) { return shares_[b][place_[node]]; }
    const Share& ShareOf(std::size_t b, std::size_t node) const { return shares_[b][place_[node]]; }

    void Integrate(std::size_t b, StepResult& result)
    {
        shares_[b].resize(nodes_.size());
        for (double* sum : {&result.flowInIntegrated, &result.flowOutIntegrated})
            *sum = *sum == kMissing ? 0 : *sum;
        for (const Edge& edge : s_.model.boundaryEdges[b])
        {
            EdgePoint points[kEdgePoints];
            PointsOf(s_.model.mesh, edge, points);
            EdgeFlux left = FluxOver(s_, edge, edge.element, points), right;
            const Point down = s_.soils[s_.model.material[edge.element]].Conducted(0, -1);
            if (edge.opposite >= 0)
                right = FluxOver(s_, edge, edge.opposite, points);
            for (int p = 0; p < kEdgePoints; ++p)
            {
                const double flux = left.inflow[p] + right.inflow[p];
                integrated_[b] += flux;
                (flux > 0 ? result.flowInIntegrated : result.flowOutIntegrated) += std::abs(flux);
                for (int k = 0; k < 3 && edge.nodes[k] >= 0; ++k)
                {
                    Share& share = ShareOf(b, std::size_t(edge.nodes[k]));
                    share.flux += points[p].N[k] * flux;
                    share.length += points[p].length;
                    share.extent += points[p].N[k] * points[p].length;
                    share.weight +=
                        points[p].N[k] * (down.x * points[p].normalX + down.y * points[p].normalY);
                }
            }
        }
    }

    void WarnOfCoarseSides(StepResult& result) const
    {
        constexpr double kFar = 0.05;
        const double through = std::max(in_, out_);
        for (const BoundaryFlow& boundary : result.boundaries)
        {
            const double apart = std::abs(boundary.integrated - boundary.flow);
            if (apart <= kFar * through || through <= RoundingFlow())
                continue;
            result.warnings.push_back(
                "the flux integrated along '" + boundary.name + "' is apart from the flow of its " +
                "nodes by " + Short(100 * apart / through, 2) +
                " % of the flow through the model:" +
                " the sides there are long for how the gradient changes (the nodes' flows balance" +
                " on any mesh)");
        }
    }

    /// Rain that the ground cannot take: a flux from above that presses water into soil which could
    /// drain. In ground that is saturated throughout a flux may well need a pressure.
    void WarnOfPressure(std::size_t b, StepResult& result) const
    {
        constexpr double kSlope = 0.1, kLeast = 1e-3; // sine of a slope; pressure head [m]
        const Mesh& mesh = s_.model.mesh;
        double length = 0, most = kLeast;
        int worst = -1;
        for (const Edge& edge : s_.model.boundaryEdges[b])
        {
            const auto [first, last, middle] = edge.nodes;
            const double whole = LengthOf(mesh, edge), left = mesh.x[first] - mesh.x[last];
            const Soil& soil = s_.soils[s_.model.material[edge.element]];
            if (left < kSlope * whole || soil.kr.IsSaturated()) // not from above
                continue;
            for (const int node : {first, last})
            {
                const double psi = s_.head[node] - mesh.y[node];
                if (s_.conditions.load[node] <= s_.conditions.SourceLoad(node) || psi <= kLeast)
                    continue;
                length += whole / 2;
                worst = psi > most ? node : worst;
                most = std::max(most, psi);
            }
        }
        if (length == 0)
            return;
        const Units& units = s_.model.problem.units;
        const auto shown = [&](double metres) { return Short(metres / units.metres, 4); };
        result.warnings.push_back(
            "'" + s_.model.problem.boundaries[b].name +
            "' brings more water than the ground takes: " + "on " + shown(length) + ' ' +
            units.length + " of it the pressure head is above 0, most " + "at (" +
            shown(mesh.x[worst]) + ", " + shown(mesh.y[worst]) + ") with " + shown(most) + ' ' +
            units.length + "; with \"ponding\": 0 beside its value what cannot enter runs off");
    }

    /// How much of boundary @p b is held at its limits.
    void CountLimited(std::size_t b, BoundaryFlow& flow) const
    {
        flow.ponded = flow.dried = 0;
        for (const int at : nodes_)
        {
            const auto node = std::size_t(at);
            if (!Has(b, node))
                continue;
            if (s_.head[node] >= s_.conditions.upper[node])
                flow.ponded += ShareOf(b, node).extent;
            else if (s_.head[node] <= s_.conditions.lower[node])
                flow.dried += ShareOf(b, node).extent;
        }
    }

    void Count(double flow) { (flow > 0 ? in_ : out_) += std::abs(flow); }

    /// What is put in comes in, as over a boundary, and what is drawn out leaves.
    void CountSources(StepResult& result)
    {
        for (std::size_t i = 0; i < s_.conditions.sourceRate.size(); ++i)
        {
            const double rate = s_.conditions.sourceRate[i];
            result.sources.push_back({s_.model.problem.sources[i].name, rate});
            Count(rate);
            double& sum = rate > 0 ? result.flowInIntegrated : result.flowOutIntegrated;
            sum = (IsMissingValue(sum) ? 0 : sum) + std::abs(rate);
        }
    }

    /// Flux of the sides of boundary @p b to a node; on a seepage face it can only be outflow.
    double FluxOf(std::size_t b, std::size_t node) const
    {
        const double flux = ShareOf(b, node).flux;
        return IsSeepage(b) ? std::min(flux, 0.0) : flux;
    }

    void Distribute(std::size_t node)
    {
        const int limited = s_.conditions.seepage[node];
        const bool isCapped = limited >= 0 && !IsSeepage(std::size_t(limited));
        const double source = s_.conditions.SourceLoad(node); // counted by itself
        // A limited flux is the part accepted by the soil.
        Count((isCapped ? s_.inflow[node] : s_.conditions.load[node]) - source);
        double rest = s_.inflow[node] - s_.conditions.load[node], length = 0;
        bool given = false; // a head; the seepage faces then get no part of the rest
        for (std::size_t b = 0; b < shares_.size(); ++b)
            given = given || (Has(b, node) && !IsSeepage(b));
        for (std::size_t b = 0; b < shares_.size(); ++b)
            if (Has(b, node))
            {
                rest -= given ? FluxOf(b, node) : 0;
                length += given && IsSeepage(b) ? 0 : ShareOf(b, node).length;
            }
        for (std::size_t b = 0; b < shares_.size(); ++b)
            if (Has(b, node))
            {
                double part = given ? FluxOf(b, node) : 0;
                if (!given || !IsSeepage(b))
                    part += rest * ShareOf(b, node).length / length;
                ShareOf(b, node).flow = part;
                flow_[b] += part;
                if (!isCapped)
                    Count(part);
            }
    }

    bool IsSeepage(std::size_t b) const
    {
        return s_.step.conditions[b].type == BoundaryType::Seepage;
    }

    /// Whether boundary @p b holds @p node. A seepage face at a given head shares the node with
    /// the boundary that gives it; a flux boundary has only the nodes that its limits hold or may.
    bool Has(std::size_t b, std::size_t node) const
    {
        const bool holds = HoldsHeads(s_.step.conditions[b].type) ||
                           (s_.step.conditions[b].type == BoundaryType::Flux &&
                            s_.conditions.seepage[node] == int(b));
        return holds && !shares_[b].empty() && ShareOf(b, node).length > 0;
    }

    // Goes down the face until more than kExitShare of the model's outflow has accumulated.
    //
    // Over a drain the outflow of a sharp free surface drops abruptly from the gravity flow through
    // the soil to zero; the capillary fringe smears that, and half of it marks the position. Nodes
    // with less outflow drip, and count only where there are no others.
    Point Exit(std::size_t b)
    {
        const Mesh& mesh = s_.model.mesh;
        const std::vector<std::size_t> nodes = NodesFromTop(b);
        for (const bool all : {false, true})
        {
            double above = 0;
            for (const std::size_t node : nodes)
            {
                const Share& share = ShareOf(b, node);
                if (share.flow < 0 && (all || -share.flow > share.weight / 2))
                    above -= share.flow;
                if (above > std::max(kExitShare * out_, RoundingFlow()))
                    return {mesh.x[node], mesh.y[node]};
                if (!all && share.weight > 0)
                    dripping_.push_back(int(node));
            }
        }
        return {kMissing, kMissing};
    }

    /// The nodes of a seepage face from the highest to the lowest; those of one height from the end
    /// that is farther from the middle of the outflow.
    std::vector<std::size_t> NodesFromTop(std::size_t b) const
    {
        const Mesh& mesh = s_.model.mesh;
        std::vector<std::size_t> nodes;
        double outflow = 0, middle = 0, left = HUGE_VAL, right = -HUGE_VAL;
        for (const int at : nodes_)
        {
            const auto node = std::size_t(at);
            if (!Has(b, node))
                continue;
            const double out = std::min(ShareOf(b, node).flow, 0.0);
            nodes.push_back(node);
            outflow -= out;
            middle -= out * mesh.x[node];
            left = std::min(left, mesh.x[node]);
            right = std::max(right, mesh.x[node]);
        }
        const double from = 2 * middle > (left + right) * outflow ? left : right;
        // Heights are compared in steps, so that rounding does not make a level side inclined.
        const auto [lowest, highest] = std::minmax_element(mesh.y.begin(), mesh.y.end());
        const auto place = [&, low = *lowest, step = 1e-9 * (*highest - *lowest)](std::size_t n) {
            return std::pair(-std::round((mesh.y[n] - low) / step), std::abs(mesh.x[n] - from));
        };
        std::sort(nodes.begin(), nodes.end(),
                  [&](std::size_t one, std::size_t two) { return place(one) < place(two); });
        return nodes;
    }

    /// The scale of flow caused by rounding in hydrostatic water: conductivity times height.
    double RoundingFlow() const
    {
        const std::vector<double>& y = s_.model.mesh.y;
        const auto [low, high] = std::minmax_element(y.begin(), y.end());
        double most = 0;
        for (const Soil& soil : s_.soils)
            most = std::max({most, soil.kx, soil.ky});
        return 1e-14 * most * (*high - *low);
    }

    const Solution& s_;
    std::vector<int> nodes_;     ///< see GatherNodes
    std::vector<int> place_;     ///< by node: where it is in nodes_, -1 where it is not
    std::vector<Shares> shares_; ///< by boundary
    std::vector<double> flow_;   ///< by boundary, as that which follows
    std::vector<double> integrated_;
    std::vector<int> dripping_; ///< nodes over drains
    double in_ = 0, out_ = 0;
};
} // namespace

std::vector<int> EvaluateFlows(const Solution& solution, StepResult& result)
{
    FlowSums sums(solution);
    sums.Run(result);
    return sums.DrippingNodes();
}

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
        const bool isTriangle = element.type == ElementType::T3;
        double pressure[ElementRule::kMaxPoints], volume[ElementRule::kMaxPoints],
            content[ElementRule::kMaxPoints], slope[ElementRule::kMaxPoints];
        PointState point;
        for (int p = 0; p < rule.points; ++p)
        {
            if (p == 0 || !isTriangle) // one Jacobian everywhere
                At(element, rule.N[p], rule.dN[p], point);
            volume[p] = rule.weight[p] * point.area;
            pressure[p] = fVxV2C(rule.N[p], element.psi, 8) * s.model.problem.gammaW;
        }
        curve.Evaluate(pressure, std::size_t(rule.points), content, slope);
        for (int p = 0; p < rule.points; ++p)
            sum += volume[p] * content[p];
    }
    return sum;
}

} // namespace percova
