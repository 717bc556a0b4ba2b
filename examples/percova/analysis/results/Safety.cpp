#include "analysis/results/Safety.h"

#include "analysis/model/Element.h"
#include "analysis/results/EdgeFlux.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <tuple>
#include <utility>

namespace percova
{
namespace
{

constexpr double kNoGradient = 1e-9; ///< the rounding of water at rest
constexpr double kDry = 1e-6;        ///< suction of soil that counts as saturated [m]

/// The gradients over a side where its soil is saturated, if water leaves there.
/// @returns the material of that, -1 for none
int LeavesOver(const Solution& s, const Edge& edge, ExitGradient& exit)
{
    int material = -1;
    EdgePoint points[kEdgePoints];
    PointsOf(s.model.mesh, edge, points);
    double most = 0;
    for (const int element : {edge.element, edge.opposite})
    {
        if (element < 0)
            continue;
        const EdgeFlux flux = FluxOver(s, edge, element, points);
        ExitGradient mean;
        mean.outward = mean.upward = 0;
        double outflow = 0, length = 0;
        for (int p = 0; p < kEdgePoints; ++p)
        {
            if (flux.psi[p] < -kDry)
                continue;
            const EdgePoint& point = points[p];
            const Point& gradient = flux.gradient[p];
            const double rise = gradient.x * point.normalX + gradient.y * point.normalY;
            outflow -= flux.inflow[p];
            length += point.length;
            mean.outward -= flux.isOutward ? rise : -rise;
            mean.upward -= gradient.y * point.length;
            mean.at.x += point.x * point.length;
            mean.at.y += point.y * point.length;
        }
        for (double* value : {&mean.outward, &mean.upward, &mean.at.x, &mean.at.y})
            *value /= length > 0 ? length : 1;
        if (length == 0 || outflow <= most || mean.outward <= kNoGradient)
            continue;
        most = outflow;
        exit = mean;
        material = s.model.material[element];
    }
    return material;
}

/// Compares the gradient with the critical one.
void Judge(const Material& soil, double gammaW, ExitGradient& exit)
{
    exit.material = soil.name;
    if (IsMissingValue(soil.gammaSat))
        return;
    exit.critical = soil.gammaSat / gammaW - 1;
    if (exit.upward > kNoGradient)
        exit.factor = exit.critical / exit.upward;
}

/// Why some side has no factor; empty when all have one.
std::string WithoutFactor(const std::vector<ExitGradient>& sides)
{
    for (const ExitGradient& side : sides)
        if (IsMissingValue(side.critical))
            return "material '" + side.material +
                   "' has no gamma_sat, and no void_ratio with specific_gravity";
    for (const ExitGradient& side : sides)
        if (IsMissingValue(side.factor))
            return "water leaves sideways or downward";
    return {};
}

/// The pore pressure on a piece of a line, over t from 0 to 1.
class PiecePressure
{
public:
    PiecePressure(const Solution& solution, const LinePiece& piece)
        : s_(solution), piece_(piece), elements_(piece.elements.size())
    {
        for (std::size_t k = 0; k < elements_.size(); ++k)
            elements_[k].Load(s_.model.mesh, piece.elements[k], s_.head.data());
    }

    /// The mean over the elements: those on both sides of a wall differ.
    double At(double t) const
    {
        double psi = 0;
        for (std::size_t k = 0; k < elements_.size(); ++k)
        {
            const ElementPlace place = piece_.PlaceAt(s_.model.mesh, k, t);
            PointState point;
            percova::At(elements_[k], place.r, place.s, point);
            psi += point.psi;
        }
        return psi * s_.model.problem.gammaW / double(elements_.size());
    }

    /// The part of the piece with pressures of at least 0, found by halving.
    std::pair<double, double> Positive(double first, double last) const
    {
        if ((first >= 0) == (last >= 0))
            return {0, first >= 0 ? 1 : 0};
        double low = 0, high = 1;
        for (int i = 0; i < 60; ++i)
            ((At((low + high) / 2) >= 0) == (first >= 0) ? low : high) = (low + high) / 2;
        return first >= 0 ? std::pair(0.0, low) : std::pair(high, 1.0);
    }

private:
    const Solution& s_;
    const LinePiece& piece_;
    std::vector<ElementState> elements_;
};

Uplift UpliftOf(const Solution& s, const std::vector<LinePiece>& pieces)
{
    Uplift uplift;
    double force = 0, moment = 0, vertical = 0;
    for (const LinePiece& piece : pieces)
    {
        if (piece.elements.empty())
            continue; // rounding, see BindUplifts
        const PiecePressure pressure(s, piece);
        const double first = pressure.At(0), last = pressure.At(1);
        const auto [from, to] = pressure.Positive(first, last);
        for (int p = 0; p < kLinePoints; ++p)
        {
            const double t = from + (to - from) * kLineAt[p];
            const double part = kLineWeight[p] * (to - from) * std::max(pressure.At(t), 0.0);
            force += part * piece.length;
            moment += part * piece.length * (piece.start + t * piece.length);
            vertical += part * (piece.to.x - piece.from.x);
        }
        uplift.suction += (1 - (to - from)) * piece.length;
        if (uplift.points.empty())
            uplift.points.push_back({piece.start, piece.from, first});
        uplift.points.push_back({piece.start + piece.length, piece.to, last});
    }
    uplift.force = force;
    uplift.vertical = std::abs(vertical);
    if (!(force > 0))
        return uplift;
    uplift.along = moment / force;
    for (const LinePiece& piece : pieces)
        if (uplift.along >= piece.start)
            uplift.at = piece.At((uplift.along - piece.start) / piece.length);
    return uplift;
}

} // namespace

const ExitGradient& ExitFace::Steepest() const
{
    return *std::max_element(
        sides.begin(), sides.end(),
        [](const ExitGradient& one, const ExitGradient& two) { return one.outward < two.outward; });
}

const ExitGradient* ExitFace::LeastSafe() const
{
    const ExitGradient* least = nullptr;
    for (const ExitGradient& side : sides)
        if (!IsMissingValue(side.factor) && (least == nullptr || side.factor < least->factor))
            least = &side;
    return least;
}

void EvaluateExits(const Solution& s, StepResult& result)
{
    const Problem& problem = s.model.problem;
    for (std::size_t b = 0; b < s.step.conditions.size(); ++b)
    {
        if (!HoldsHeads(s.step.conditions[b].type))
            continue;
        ExitFace face;
        face.name = problem.boundaries[b].name;
        for (const Edge& edge : s.model.boundaryEdges[b])
        {
            ExitGradient exit;
            const int material = LeavesOver(s, edge, exit);
            if (material < 0)
                continue;
            Judge(problem.materials[material], problem.gammaW, exit);
            face.sides.push_back(std::move(exit));
        }
        if (face.sides.empty())
            continue;
        std::sort(face.sides.begin(), face.sides.end(),
                  [](const ExitGradient& one, const ExitGradient& two) {
                      return std::tie(one.at.x, one.at.y) < std::tie(two.at.x, two.at.y);
                  });
        face.withoutFactor = WithoutFactor(face.sides);
        result.exits.push_back(std::move(face));
    }
}

void EvaluateUplifts(const Solution& s, StepResult& result)
{
    for (std::size_t i = 0; i < s.model.upliftPieces.size(); ++i)
    {
        result.uplifts.push_back(UpliftOf(s, s.model.upliftPieces[i]));
        result.uplifts.back().name = s.model.problem.uplifts[i].name;
    }
}

} // namespace percova
