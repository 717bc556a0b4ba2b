#include "analysis/results/RegionFlows.h"

#include "analysis/model/Element.h"

#include <algorithm>
#include <cmath>

namespace percova
{

RegionFlows::RegionFlows(const Model& model)
    : model_(model), ofNode_(model.mesh.Nodes(), -1), isBorder_(model.mesh.Nodes()),
      firstPair_(model.mesh.Nodes(), -1)
{
    const Mesh& mesh = model.mesh;
    std::vector<char> isMet(mesh.Nodes());
    for (std::size_t e = 0; e < mesh.Elements(); ++e)
        for (int k = mesh.start[e]; k < mesh.start[e + 1]; ++k)
        {
            const int node = mesh.nodes[k], region = model.region[e];
            if (isMet[node] && ofNode_[node] != region)
                isBorder_[node] = 1;
            ofNode_[node] = isBorder_[node] ? -1 : region;
            isMet[node] = 1;
        }
    for (std::size_t b = 0; b < model.boundaryEdges.size(); ++b)
    {
        const bool isOpen = std::any_of(
            model.problem.steps.begin(), model.problem.steps.end(),
            [&](const Step& step) { return step.conditions[b].type != BoundaryType::NoFlow; });
        for (const Edge& edge : model.boundaryEdges[b])
            for (const int node : edge.nodes)
                if (isOpen && node >= 0)
                    isBorder_[node] = 1;
    }
    GatherPairs();
}

void RegionFlows::GatherPairs()
{
    const Mesh& mesh = model_.mesh;
    for (std::size_t e = 0; e < mesh.Elements(); ++e)
    {
        bool isAtBorder = false;
        for (int k = mesh.start[e]; k < mesh.start[e + 1]; ++k)
            isAtBorder = isAtBorder || isBorder_[mesh.nodes[k]];
        if (!isAtBorder)
            continue;
        elements_.push_back(e);
        for (int k = mesh.start[e]; k < mesh.start[e + 1]; ++k)
        {
            const int node = mesh.nodes[k];
            if (!isBorder_[node] || Find(node, model_.region[e]) >= 0)
                continue;
            pairs_.push_back({firstPair_[node], model_.region[e], ofNode_[node] < 0});
            firstPair_[node] = static_cast<int>(pairs_.size()) - 1;
        }
    }
}

int RegionFlows::Find(int node, int region) const
{
    int pair = firstPair_[node];
    while (pair >= 0 && pairs_[pair].region != region)
        pair = pairs_[pair].next;
    return pair;
}

std::vector<double> RegionFlows::BorderWater(const Storage& storage,
                                             const std::vector<double>& head) const
{
    const Mesh& mesh = model_.mesh;
    std::vector<double> sum(pairs_.size());
    for (const std::size_t e : elements_)
    {
        double water[8];
        storage.ElementWater(e, head, water);
        for (int k = 0; k < NodeCount(mesh.type[e]); ++k)
            if (const int pair = Find(mesh.ElementNodes(e)[k], model_.region[e]); pair >= 0)
                sum[pair] += water[k];
    }
    return sum;
}

std::vector<double> RegionFlows::Stored(const std::vector<double>& water,
                                        const std::vector<double>& border) const
{
    std::vector<double> sum(model_.problem.regions.size());
    for (std::size_t n = 0; n < water.size(); ++n)
        if (ofNode_[n] >= 0)
            sum[ofNode_[n]] += water[n];
    for (std::size_t i = 0; i < pairs_.size(); ++i)
        if (pairs_[i].isShared)
            sum[pairs_[i].region] += border[i];
    return sum;
}

void RegionFlows::Evaluate(const Solution& s, const std::vector<double>& storing,
                           StepResult& result) const
{
    const Mesh& mesh = model_.mesh;
    std::vector<double> inflow = storing;
    inflow.resize(pairs_.size());
    for (const std::size_t e : elements_)
    {
        const Soil& soil = s.soils[model_.material[e]];
        ElementState element;
        double flows[8];
        element.Load(mesh, e, s.head.data());
        ComputeInflow(element, soil, flows);
        for (int k = 0; k < NodeCount(element.type); ++k)
            if (const int pair = Find(mesh.ElementNodes(e)[k], model_.region[e]); pair >= 0)
                inflow[pair] += flows[k];
    }
    result.regions.clear();
    for (const Region& region : model_.problem.regions)
        result.regions.push_back({region.name, 0, 0, 0});
    for (std::size_t i = 0; i < pairs_.size(); ++i)
    {
        RegionFlow& flow = result.regions[pairs_[i].region];
        (inflow[i] > 0 ? flow.in : flow.out) += std::abs(inflow[i]);
    }
    for (std::size_t n = 0; n < s.conditions.sourceLoad.size(); ++n)
        if (!isBorder_[n])
            result.regions[ofNode_[n]].sources += s.conditions.sourceLoad[n];
    for (RegionFlow& flow : result.regions)
        if (storing.empty() && flow.in + std::max(flow.sources, 0.0) > 0)
            flow.balance =
                (flow.in - flow.out + flow.sources) / (flow.in + std::max(flow.sources, 0.0));
}

} // namespace percova
