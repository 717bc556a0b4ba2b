#include "analysis/flow/KrField.h"

#include "KVI.h"

#include <algorithm>

namespace percova
{
namespace
{
constexpr std::size_t kBlock = 32; ///< elements whose points are gathered at a time
} // namespace

/// The points of some elements of one soil.
struct KrField::Batch
{
    struct Item
    {
        std::size_t element;
        double steepness; ///< of the curve, see Easing
    };
    int material = -1, items = 0, points = 0;
    Item item[kBlock];
    double psi[kBlock * ElementRule::kMaxPoints];
    double kr[kBlock * ElementRule::kMaxPoints];
    double slope[kBlock * ElementRule::kMaxPoints];
};

KrField::KrField(const Model& model, const std::vector<Soil>& soils)
    : model_(model), soils_(soils), start_(model.mesh.Elements() + 1),
      isWet_(model.mesh.Elements(), 1)
{
    const Mesh& mesh = model.mesh;
    for (std::size_t e = 0; e < mesh.Elements(); ++e)
    {
        const int count =
            mesh.type[e] == ElementType::T3 ? 4 : 2 * RuleOf(mesh.type[e], true).points;
        start_[e + 1] =
            start_[e] + (soils[model.material[e]].kr.IsSaturated() ? 0 : std::size_t(count));
    }
    values_.resize(start_.back());
}

bool KrField::Update(const std::vector<double>& head, const Easing& easing)
{
    if (head == head_ && easing == easing_)
        return false;
    head_ = head;
    easing_ = easing;
    const std::size_t count = model_.mesh.Elements();
    if (easing.leastKr >= 1 || values_.empty())
        std::fill(isWet_.begin(), isWet_.end(), char(1));
    else
        sys::thread::task::ParallelForPieces(
            0, (count + kBlock - 1) / kBlock, 2, [&](std::size_t begin, std::size_t end) {
                for (std::size_t block = begin; block < end; ++block)
                    EvaluateBlock(block * kBlock, std::min((block + 1) * kBlock, count));
            });
    return true;
}

void KrField::EvaluateBlock(std::size_t first, std::size_t last)
{
    Batch batch;
    for (std::size_t e = first; e < last; ++e)
    {
        isWet_[e] = IsWet(e);
        if (isWet_[e])
            continue;
        if (batch.material != model_.material[e])
            Flush(batch);
        batch.material = model_.material[e];
        AddPoints(e, batch);
    }
    Flush(batch);
}

/// Whether kr is 1 everywhere, as far as the nodes show.
bool KrField::IsWet(std::size_t e) const
{
    const Mesh& mesh = model_.mesh;
    if (soils_[model_.material[e]].kr.IsSaturated())
        return true;
    if (IsQuadratic(mesh.type[e]) || !std::isinf(easing_.sharpness))
        return false; // less than at its nodes, or drawn out
    return std::all_of(mesh.ElementNodes(e), mesh.ElementNodes(e + 1),
                       [&](int node) { return head_[node] - mesh.y[node] >= 0; });
}

void KrField::AddPoints(std::size_t e, Batch& batch) const
{
    const Mesh& mesh = model_.mesh;
    const ElementRule& rule = RuleOf(mesh.type[e], true);
    const Soil& soil = soils_[model_.material[e]];
    double nodal[8] = {}, steepness = 1, knee = 0; // kr is taken at steepness * psi + knee
    if (!std::isinf(easing_.sharpness))
    {
        ElementState element;
        element.Load(mesh, e, head_.data());
        steepness = std::min(1.0, easing_.sharpness / SharpnessOf(element, soil));
        knee = (1 - steepness) * soil.kr.Knee();
    }
    const int nodes = NodeCount(mesh.type[e]), places = mesh.type[e] == ElementType::T3 ? 3 : 8;
    for (int k = 0; k < nodes; ++k)
    {
        const int node = mesh.ElementNodes(e)[k];
        nodal[PlaceOf(mesh.type[e], k)] = head_[node] - mesh.y[node];
    }
    batch.item[batch.items++] = {e, steepness};
    for (int p = 0; p < rule.points; ++p)
    {
        double psi = 0;
        for (int k = 0; k < places; ++k)
            psi += rule.N[p][k] * nodal[k];
        batch.psi[batch.points++] = steepness * psi + knee;
    }
}

void KrField::Flush(Batch& batch)
{
    if (batch.items == 0)
        return;
    soils_[batch.material].kr.Evaluate(batch.psi, batch.points, batch.kr, batch.slope);
    double *kr = batch.kr, *slope = batch.slope;
    for (int i = 0; i < batch.items; ++i)
    {
        const auto [e, steepness] = batch.item[i];
        const ElementType type = model_.mesh.type[e];
        const int points = RuleOf(type, true).points;
        for (int p = 0; p < points; ++p)
        {
            const bool isRaised = kr[p] < easing_.leastKr;
            slope[p] = isRaised ? 0 : steepness * slope[p];
            kr[p] = isRaised ? easing_.leastKr : kr[p];
        }
        double* const value = &values_[start_[e]];
        if (type == ElementType::T3)
        {
            const TriangleConductivity mean = MeanOf({kr, slope});
            value[0] = mean.mean;
            std::copy_n(mean.byHead, 3, value + 1);
        }
        else
        {
            std::copy_n(kr, points, value);
            std::copy_n(slope, points, value + points);
        }
        kr += points;
        slope += points;
    }
    batch.items = batch.points = 0;
}

TriangleConductivity KrField::OfTriangle(std::size_t e) const
{
    if (isWet_[e])
        return {};
    const double* const value = &values_[start_[e]];
    return {value[0], {value[1], value[2], value[3]}};
}

PointConductivity KrField::Of(std::size_t e) const
{
    if (isWet_[e])
        return {};
    const double* const value = &values_[start_[e]];
    return {value, value + RuleOf(model_.mesh.type[e], true).points};
}

} // namespace percova
