#include "analysis/flow/NodeConditions.h"

#include "KVI.h"

#include <algorithm>
#include <cmath>

namespace percova
{

bool NodeConditions::HasHead(std::size_t node) const
{
    return head[node] != MissingValue<double>();
}

void PointsOf(const Mesh& mesh, const Edge& edge, EdgePoint points[kEdgePoints])
{
    constexpr double kAt[kEdgePoints] = {-0.86113631159405258, -0.33998104358485626,
                                         0.33998104358485626, 0.86113631159405258};
    constexpr double kWeight[kEdgePoints] = {0.34785484513745386, 0.65214515486254614,
                                             0.65214515486254614, 0.34785484513745386};
    const auto [first, last, middle] = edge.nodes;
    for (int p = 0; p < kEdgePoints; ++p)
    {
        const double t = kAt[p];
        double N[3] = {(1 - t) / 2, (1 + t) / 2, 0}, dN[3] = {-0.5, 0.5, 0};
        if (middle >= 0)
        {
            N[2] = 1 - t * t;
            dN[2] = -2 * t;
            for (int k = 0; k < 2; ++k)
            {
                N[k] -= N[2] / 2;
                dN[k] -= dN[2] / 2;
            }
        }
        EdgePoint point;
        point.t = (1 + t) / 2;
        double dx = 0, dy = 0;
        for (int k = 0; k < (middle >= 0 ? 3 : 2); ++k)
        {
            const int node = edge.nodes[k];
            point.N[k] = N[k];
            point.x += N[k] * mesh.x[node];
            point.y += N[k] * mesh.y[node];
            dx += dN[k] * mesh.x[node];
            dy += dN[k] * mesh.y[node];
        }
        point.normalX = dy * kWeight[p];
        point.normalY = -dx * kWeight[p];
        point.length = std::hypot(dx, dy) * kWeight[p];
        points[p] = point;
    }
}

namespace
{
constexpr double kMissing = MissingValue<double>();

/// Gives a node the limits of boundary @p b; a seepage face's go before others, then the first's.
void Limit(NodeConditions& conditions, std::size_t b, int node, double y, double upper,
           double lower)
{
    if (conditions.seepage[node] >= 0 && conditions.upper[node] <= y)
        return;
    conditions.seepage[node] = int(b);
    conditions.upper[node] = IsMissingValue(upper) ? HUGE_VAL : y + upper;
    conditions.lower[node] = IsMissingValue(lower) ? -HUGE_VAL : y + lower;
}

void AddSources(const Model& model, const Step& step, NodeConditions& conditions)
{
    if (model.sourceShares.empty())
        return;
    conditions.sourceLoad.assign(model.mesh.Nodes(), 0);
    for (std::size_t i = 0; i < model.sourceShares.size(); ++i)
    {
        const std::vector<double>& values = step.sources[i].values;
        const double rate = values.empty() ? 0 : values.front(); // empty after a fault
        conditions.sourceRate.push_back(rate);
        for (const auto& [node, share] : model.sourceShares[i])
            conditions.sourceLoad[node] += share * rate;
    }
    for (std::size_t node = 0; node < model.mesh.Nodes(); ++node)
        conditions.load[node] += conditions.sourceLoad[node];
}
} // namespace

HeadBounds BoundsOf(const NodeConditions& conditions)
{
    HeadBounds bounds, held{HUGE_VAL, -HUGE_VAL};
    const auto add = [&](double head) {
        held = {std::min(held.lowest, head), std::max(held.highest, head)};
    };
    bool isFed = false, isDrawn = false; // without limit
    for (std::size_t node = 0; node < conditions.head.size(); ++node)
    {
        if (conditions.HasHead(node))
        {
            add(conditions.head[node]);
            continue;
        }
        const double upper = conditions.upper[node], lower = conditions.lower[node];
        isFed = isFed || (conditions.load[node] > 0 && !std::isfinite(upper));
        isDrawn = isDrawn || (conditions.load[node] < 0 && !std::isfinite(lower));
        for (const double limit : {upper, lower})
            if (std::isfinite(limit))
                add(limit);
    }
    if (!isFed && held.lowest <= held.highest)
        bounds.highest = held.highest;
    if (!isDrawn && held.lowest <= held.highest)
        bounds.lowest = held.lowest;
    return bounds;
}

NodeConditions Gather(const Model& model, const Step& step)
{
    const Mesh& mesh = model.mesh;
    NodeConditions conditions;
    conditions.head.assign(mesh.Nodes(), MissingValue<double>());
    conditions.seepage.assign(mesh.Nodes(), -1);
    conditions.upper.assign(mesh.Nodes(), HUGE_VAL);
    conditions.lower.assign(mesh.Nodes(), -HUGE_VAL);
    conditions.load.assign(mesh.Nodes(), 0);
    conditions.loadSum.assign(step.conditions.size(), 0);
    for (std::size_t b = 0; b < step.conditions.size(); ++b)
    {
        const Condition& condition = step.conditions[b];
        const Boundary& boundary = model.problem.boundaries[b];
        for (const Edge& edge : model.boundaryEdges[b])
        {
            for (const int node : edge.nodes)
            {
                if (node < 0 || condition.type == BoundaryType::NoFlow)
                    continue;
                const Point at{mesh.x[node], mesh.y[node]};
                if (condition.type == BoundaryType::Flux)
                {
                    if (condition.IsLimited())
                        Limit(conditions, b, node, at.y, condition.ponding,
                              condition.leastPressureHead);
                    continue;
                }
                if (condition.type == BoundaryType::Seepage)
                {
                    const double level =
                        condition.values.empty() ? -HUGE_VAL : ValueAt(boundary, condition, at);
                    if (level < at.y)
                        Limit(conditions, b, node, at.y, 0, kMissing);
                    else if (!conditions.HasHead(node))
                        conditions.head[node] = level;
                }
                else if (!conditions.HasHead(node))
                    conditions.head[node] =
                        ValueAt(boundary, condition, at) +
                        (condition.type == BoundaryType::PressureHead ? at.y : 0);
            }
            if (condition.type != BoundaryType::Flux)
                continue;
            EdgePoint points[kEdgePoints];
            PointsOf(mesh, edge, points);
            for (const EdgePoint& point : points)
            {
                const double inflow =
                    point.length * ValueAt(boundary, condition, {point.x, point.y});
                conditions.loadSum[b] += inflow;
                for (int k = 0; k < 3 && edge.nodes[k] >= 0; ++k)
                    conditions.load[edge.nodes[k]] += point.N[k] * inflow;
            }
        }
    }
    AddSources(model, step, conditions);
    for (std::size_t node = 0; node < mesh.Nodes(); ++node)
        if (conditions.HasHead(node))
            conditions.seepage[node] = -1;
    return conditions;
}

} // namespace percova
