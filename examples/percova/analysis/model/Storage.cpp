#include "analysis/model/Storage.h"

#include "KVI.h"
#include "analysis/model/Element.h"

#include <algorithm>

namespace percova
{
namespace
{
using sys::thread::task::ParallelForPieces;

constexpr std::size_t kGrain = 64; ///< elements a thread takes at a time

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

/// The integrals of the shape functions times the water in an element.
void Integrate(const ElementState& element, const Soil& soil, double* water)
{
    const ElementRule& rule = RuleOf(element.type, true);
    const int n = NodeCount(element.type);
    std::fill(water, water + n, 0.0);
    PointState at;
    for (int p = 0; p < rule.points; ++p)
    {
        At(element, rule.N[p], rule.dN[p], at);
        const double held = rule.weight[p] * at.area * soil.Water(at.psi).content;
        for (int k = 0; k < n; ++k)
            water[k] += rule.N[p][PlaceOf(element.type, k)] * held;
    }
}

} // namespace

Storage::Storage(const Model& model, const std::vector<Soil>& soils)
    : model_(model), mesh_(model.mesh), soils_(soils), isConsistent_(model.mesh.Elements()),
      placeStart_(model.mesh.Nodes() + 1), places_(model.mesh.nodes.size())
{
    const StorageKind kind =
        model.problem.time ? model.problem.time->storage : StorageKind::ByElement;
    for (std::size_t e = 0; e < mesh_.Elements(); ++e)
    {
        isConsistent_[e] = kind == StorageKind::ByElement ? IsQuadratic(mesh_.type[e])
                                                          : kind == StorageKind::Consistent;
        anyConsistent_ = anyConsistent_ || isConsistent_[e];
    }
    for (const int node : mesh_.nodes)
        ++placeStart_[node + 1];
    for (std::size_t n = 0; n < mesh_.Nodes(); ++n)
        placeStart_[n + 1] += placeStart_[n];
    std::vector<std::size_t> next(placeStart_.begin(), placeStart_.end() - 1);
    for (std::size_t place = 0; place < places_.size(); ++place)
        places_[next[mesh_.nodes[place]]++] = int(place);
    elementWater_.resize(anyConsistent_ ? places_.size() : 0);
    GatherShares();
}

void Storage::GatherShares()
{
    std::vector<Share> byPlace(places_.size());
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
        for (std::size_t k = placeStart_[n]; k < placeStart_[n + 1]; ++k)
        {
            const Share& share = byPlace[places_[k]];
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
    DivideArea(element, water);
    for (int k = 0; k < NodeCount(element.type); ++k)
        water[k] *= soil.Water(element.psi[PlaceOf(element.type, k)]).content;
}

void Storage::AddCapacity(std::size_t e, const std::vector<double>& head, double factor,
                          double* matrix) const
{
    ElementState element;
    PointState at;
    element.Load(mesh_, e, head.data());
    const ElementRule& rule = RuleOf(element.type, true);
    const int n = NodeCount(element.type);
    for (int p = 0; p < rule.points; ++p)
    {
        At(element, rule.N[p], rule.dN[p], at);
        const double capacity =
            factor * rule.weight[p] * at.area * soils_[model_.material[e]].Water(at.psi).capacity;
        for (int i = 0; i < n; ++i)
            for (int j = 0; j < n; ++j)
                matrix[i * n + j] += capacity * rule.N[p][PlaceOf(element.type, i)] *
                                     rule.N[p][PlaceOf(element.type, j)];
    }
}

void Storage::Evaluate(const std::vector<double>& head, std::vector<double>& water) const
{
    water.resize(head.size());
    if (anyConsistent_)
        ConsistentWater(head);
    ParallelForPieces(0, head.size(), 4 * kGrain, [&](std::size_t begin, std::size_t end) {
        for (std::size_t n = begin; n < end; ++n)
        {
            double sum = 0;
            for (std::size_t k = start_[n]; k < start_[n + 1]; ++k)
                if (shares_[k].area > 0)
                    sum += shares_[k].area *
                           soils_[shares_[k].soil].Water(head[n] - mesh_.y[n]).content;
            for (std::size_t k = placeStart_[n]; anyConsistent_ && k < placeStart_[n + 1]; ++k)
                sum += elementWater_[places_[k]];
            water[n] = sum;
        }
    });
}

void Storage::LumpedCapacity(const std::vector<double>& head, std::vector<double>& capacity) const
{
    capacity.resize(head.size());
    for (std::size_t n = 0; n < head.size(); ++n)
    {
        capacity[n] = 0;
        for (std::size_t k = start_[n]; k < start_[n + 1]; ++k)
            if (shares_[k].area > 0)
                capacity[n] +=
                    shares_[k].area * soils_[shares_[k].soil].Water(head[n] - mesh_.y[n]).capacity;
    }
}

std::vector<double> Storage::Coefficients(const std::vector<double>& head) const
{
    std::vector<double> sum(head.size()), area(head.size());
    const std::vector<double> none(mesh_.Nodes());
    ElementState element;
    for (std::size_t e = 0; e < mesh_.Elements(); ++e)
    {
        double part[8];
        element.Load(mesh_, e, none.data());
        DivideArea(element, part);
        for (int k = 0; k < NodeCount(element.type); ++k)
        {
            const std::size_t n = std::size_t(mesh_.ElementNodes(e)[k]);
            area[n] += part[k];
            sum[n] += part[k] * soils_[model_.material[e]].Water(head[n] - mesh_.y[n]).capacity;
        }
    }
    for (std::size_t n = 0; n < head.size(); ++n)
        sum[n] /= area[n];
    return sum;
}

} // namespace percova
