#include "analysis/model/Storage.h"

#include "KVI.h"
#include "analysis/model/Element.h"

#include <algorithm>
#include <utility>

namespace percova
{
namespace
{
using sys::thread::task::ParallelForPieces;

constexpr std::size_t kGrain = 64;  ///< elements a thread takes at a time
constexpr std::size_t kBlock = 128; ///< nodes whose water is computed at a time

/// Divides the area of an element among its nodes.
void DivideArea(const ElementState& element, double* area)
{
    const ElementRule& rule = RuleOf(element.type, true);
    const int n = NodeCount(element.type);
    double whole = 0, sum = 0;
    for (int k = 0; k < n; ++k)
        area[k] = 0;
    for (int p = 0; p < rule.points; ++p)
    {
        PointState at;
        At(element, rule.N[p], rule.dN[p], at);
        const double volume = rule.weight[p] * at.area;
        whole += volume;
        for (int k = 0; k < n; ++k)
        {
            const double N = rule.N[p][PlaceOf(element.type, k)];
            area[k] += volume * (IsQuadratic(element.type) ? N * N : N);
        }
    }
    for (int k = 0; k < n; ++k)
        sum += area[k];
    for (int k = 0; k < n; ++k)
        area[k] *= whole / sum;
}

/// The water at the points of an element.
struct PointWater
{
    double volume[ElementRule::kMaxPoints]; ///< weights times areas
    double content[ElementRule::kMaxPoints], capacity[ElementRule::kMaxPoints];

    PointWater(const ElementState& element, const Soil& soil)
    {
        const ElementRule& rule = RuleOf(element.type, true);
        double psi[ElementRule::kMaxPoints];
        for (int p = 0; p < rule.points; ++p)
        {
            PointState at;
            At(element, rule.N[p], rule.dN[p], at);
            volume[p] = rule.weight[p] * at.area;
            psi[p] = at.psi;
        }
        soil.Water(psi, std::size_t(rule.points), content, capacity);
    }
};

/// The integrals of the shape functions times the water in an element.
void Integrate(const ElementState& element, const Soil& soil, double* water)
{
    const ElementRule& rule = RuleOf(element.type, true);
    const int n = NodeCount(element.type);
    const PointWater at(element, soil);
    std::fill(water, water + n, 0.0);
    for (int p = 0; p < rule.points; ++p)
        for (int k = 0; k < n; ++k)
            water[k] += rule.N[p][PlaceOf(element.type, k)] * at.volume[p] * at.content[p];
}

} // namespace

Storage::Storage(const Model& model, const std::vector<Soil>& soils)
    : model_(model), mesh_(model.mesh), soils_(soils), isConsistent_(model.mesh.Elements())
{
    const StorageKind kind =
        model.problem.time ? model.problem.time->storage : StorageKind::ByElement;
    for (std::size_t e = 0; e < mesh_.Elements(); ++e)
    {
        isConsistent_[e] = kind == StorageKind::ByElement ? IsQuadratic(mesh_.type[e])
                                                          : kind == StorageKind::Consistent;
        anyConsistent_ = anyConsistent_ || isConsistent_[e];
    }
    elementWater_.resize(anyConsistent_ ? mesh_.nodes.size() : 0);
    GatherShares();
}

void Storage::GatherShares()
{
    std::vector<Share> byPlace(mesh_.nodes.size());
    const std::vector<double> none(mesh_.Nodes());
    ElementState element;
    for (std::size_t e = 0; e < mesh_.Elements(); ++e)
    {
        double area[8] = {};
        element.Load(mesh_, e, none.data());
        if (!isConsistent_[e])
            DivideArea(element, area);
        for (int k = 0; k < NodeCount(element.type); ++k)
            byPlace[std::size_t(mesh_.start[e] + k)] = {model_.material[e], area[k]};
    }
    for (std::size_t n = 0; n < mesh_.Nodes(); ++n)
    {
        const std::size_t first = shares_.size();
        start_.push_back(first);
        for (std::size_t k = mesh_.placeStart[n]; k < mesh_.placeStart[n + 1]; ++k)
        {
            const Share& share = byPlace[mesh_.nodePlaces[k]];
            std::size_t at = first;
            while (at < shares_.size() && shares_[at].soil != share.soil)
                ++at;
            if (at == shares_.size())
                shares_.push_back({share.soil, 0});
            shares_[at].area += share.area;
        }
    }
    start_.push_back(shares_.size());
}

void Storage::ConsistentWater(const std::vector<double>& head) const
{
    ParallelForPieces(0, mesh_.Elements(), kGrain, [&](std::size_t begin, std::size_t end) {
        ElementState element;
        for (std::size_t e = begin; e < end; ++e)
        {
            double* const water = &elementWater_[mesh_.start[e]];
            std::fill(water, water + NodeCount(mesh_.type[e]), 0.0);
            if (!isConsistent_[e])
                continue;
            element.Load(mesh_, e, head.data());
            Integrate(element, soils_[model_.material[e]], water);
        }
    });
}

void Storage::ElementWater(std::size_t e, const std::vector<double>& head, double* water) const
{
    ElementState element;
    element.Load(mesh_, e, head.data());
    const Soil& soil = soils_[model_.material[e]];
    if (isConsistent_[e])
        return Integrate(element, soil, water);
    double psi[8], content[8], capacity[8];
    const int n = NodeCount(element.type);
    for (int k = 0; k < n; ++k)
        psi[k] = element.psi[PlaceOf(element.type, k)];
    soil.Water(psi, std::size_t(n), content, capacity);
    DivideArea(element, water);
    for (int k = 0; k < n; ++k)
        water[k] *= content[k];
}

void Storage::AddCapacity(std::size_t e, const std::vector<double>& head, double factor,
                          double* matrix) const
{
    ElementState element;
    element.Load(mesh_, e, head.data());
    const ElementRule& rule = RuleOf(element.type, true);
    const int n = NodeCount(element.type);
    const PointWater at(element, soils_[model_.material[e]]);
    for (int p = 0; p < rule.points; ++p)
    {
        const double capacity = factor * at.volume[p] * at.capacity[p];
        for (int i = 0; i < n; ++i)
            for (int j = 0; j < n; ++j)
                matrix[i * n + j] += capacity * rule.N[p][PlaceOf(element.type, i)] *
                                     rule.N[p][PlaceOf(element.type, j)];
    }
}

void Storage::Evaluate(const std::vector<double>& head, std::vector<double>& water,
                       std::vector<double>& capacity) const
{
    water.resize(head.size());
    capacity.resize(head.size());
    if (anyConsistent_)
        ConsistentWater(head);
    // The blocks do not depend on the number of threads.
    ParallelForPieces(
        0, (head.size() + kBlock - 1) / kBlock, 2, [&](std::size_t begin, std::size_t end) {
            for (std::size_t block = begin; block < end; ++block)
            {
                const std::size_t first = block * kBlock;
                const std::size_t last = std::min(first + kBlock, head.size());
                EvaluateLumped(head, first, last, &water[first], &capacity[first]);
                for (std::size_t n = first; n < last && anyConsistent_; ++n)
                    for (std::size_t k = mesh_.placeStart[n]; k < mesh_.placeStart[n + 1]; ++k)
                        water[n] += elementWater_[mesh_.nodePlaces[k]];
            }
        });
}

/// The lumped water of nodes @p first to @p last, all points of a soil at a time.
void Storage::EvaluateLumped(const std::vector<double>& head, std::size_t first, std::size_t last,
                             double* water, double* capacity) const
{
    std::vector<std::pair<std::size_t, Share>> shares; // with their nodes
    std::vector<double> psi, content, rise;
    for (std::size_t n = first; n < last; ++n)
        for (std::size_t k = start_[n]; k < start_[n + 1]; ++k)
            if (shares_[k].area > 0)
                shares.emplace_back(n, shares_[k]);
    const auto isBefore = [](const auto& one, const auto& two) {
        return one.second.soil < two.second.soil;
    };
    if (!std::is_sorted(shares.begin(), shares.end(), isBefore))
        std::stable_sort(shares.begin(), shares.end(), isBefore);
    for (const auto& [n, share] : shares)
        psi.push_back(head[n] - mesh_.y[n]);
    content.resize(psi.size());
    rise.resize(psi.size());
    for (std::size_t begin = 0, end; begin < shares.size(); begin = end)
    {
        const int soil = shares[begin].second.soil;
        for (end = begin; end < shares.size() && shares[end].second.soil == soil;)
            ++end;
        soils_[soil].Water(&psi[begin], end - begin, &content[begin], &rise[begin]);
    }
    std::fill_n(water, last - first, 0.0);
    std::fill_n(capacity, last - first, 0.0);
    for (std::size_t i = 0; i < shares.size(); ++i)
    {
        water[shares[i].first - first] += shares[i].second.area * content[i];
        capacity[shares[i].first - first] += shares[i].second.area * rise[i];
    }
}

std::vector<double> Storage::Coefficients(const std::vector<double>& head) const
{
    std::vector<double> sum(head.size()), area(head.size());
    const std::vector<double> none(mesh_.Nodes());
    ElementState element;
    for (std::size_t e = 0; e < mesh_.Elements(); ++e)
    {
        double part[8], psi[8], content[8], capacity[8];
        element.Load(mesh_, e, none.data());
        DivideArea(element, part);
        for (int k = 0; k < NodeCount(element.type); ++k)
        {
            const int node = mesh_.ElementNodes(e)[k];
            psi[k] = head[node] - mesh_.y[node];
        }
        soils_[model_.material[e]].Water(psi, std::size_t(NodeCount(element.type)), content,
                                         capacity);
        for (int k = 0; k < NodeCount(element.type); ++k)
        {
            const std::size_t n = std::size_t(mesh_.ElementNodes(e)[k]);
            area[n] += part[k];
            sum[n] += part[k] * capacity[k];
        }
    }
    for (std::size_t n = 0; n < head.size(); ++n)
        sum[n] /= area[n];
    return sum;
}

} // namespace percova
