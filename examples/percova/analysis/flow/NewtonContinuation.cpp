#include "analysis/flow/Newton.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <utility>

namespace percova
{
namespace
{
constexpr double kSettled = 1e-2; ///< residual at which the seepage faces are reliable
constexpr double kFine = 1e-9;    ///< residual that is sufficient for any intermediate problem
constexpr int kStart = 5;         ///< iterations of saturated soil before the true one
constexpr int kShort = 100;       ///< iterations of a short continuation or none
constexpr double kMoist = 0.3;    ///< relative conductivity of moist soil
constexpr double kGentle = 0.25;  ///< sharpness at which any curve is resolved easily
constexpr double kCoarse = 1;     ///< sharpness that is accepted where no greater one converges
constexpr double kRough = 1e-8;   ///< tolerance there
constexpr std::size_t kKept = 4;  ///< states kept to find one that is near such a solution
constexpr int kFinish = 100;      ///< iterations kept for that
} // namespace

/// Given heads where prescribed, the limits of held nodes, elsewhere the highest of these.
void Newton::ColdStart()
{
    faces_ = SeepageFaces(conditions_);
    double highest = -std::numeric_limits<double>::max();
    for (const bool measure : {true, false})
        for (std::size_t n = 0; n < head_.size(); ++n)
        {
            if (conditions_.HasHead(n))
                head_[n] = conditions_.head[n];
            else if (faces_.IsHeld(n))
                head_[n] = faces_.Limit(n);
            else if (!measure)
                head_[n] = highest;
            highest = measure && (conditions_.HasHead(n) || faces_.IsHeld(n))
                          ? std::max(highest, head_[n])
                          : highest;
        }
}

/// The continuations in turn, from saturated soil, until one finds the heads.
bool Newton::InTurn(double least)
{
    const bool fed = std::any_of(conditions_.load.begin(), conditions_.load.end(),
                                 [](double load) { return load > 0; });
    Reach({{1}, kSettled, kStart}); // a start: its seepage faces need not have settled
    const State saturated = Present();
    const std::function<bool()> descend = [&] { return Descend(1, least, {}, true); };
    const std::function<bool()> moist = [&] { return FromMoistSoil(); };
    const std::function<bool()> sharpen = [&] { return Sharpen(least); };
    const std::vector<std::function<bool()>> ways =
        fed ? std::vector{moist, descend, sharpen} : std::vector{descend, sharpen};
    // The first continuations are short or none; the last one has all remaining iterations.
    const int most = settings_.maxIterations;
    for (std::size_t way = 0; way < ways.size(); ++way)
    {
        limit_ = way + 1 < ways.size() ? std::min(outcome_.iterations + kShort, most) : most;
        if (way + 1 == ways.size())
            bounds_ = {}; // the heads of this mesh may lie beyond them
        if (ways[way]())
            return true;
        if (outcome_.iterations >= most || way + 1 == ways.size())
            break;
        outcome_.failure.clear();
        Restore(saturated);
    }
    Evaluate({{}, settings_.tolerance, 0}); // distance from the true problem's solution
    return false;
}

void Newton::Restore(const State& state)
{
    head_ = state.head;
    faces_ = state.faces;
}

/// Lowers the least conductivity from @p from to @p least, the soils' own @p toTheEnd, with all
/// else of @p easing.
bool Newton::Descend(double from, double least, const Easing& easing, bool toTheEnd)
{
    const double whole = -std::log(least);
    State reached = Present();
    double done = -std::log(from), stride = std::log(10.0);
    const auto reach = [&](double leastKr, bool isEnd, bool mayLeave) {
        // The conductivity of dry soil determines its effect on the residual, so it sets the
        // tolerance.
        const double onTheWay = std::clamp(0.1 * leastKr, kFine, kSettled);
        return Reach({{isEnd ? 0 : leastKr, easing.sharpness},
                      isEnd ? settings_.tolerance : onTheWay,
                      isEnd ? 40 : 15,
                      mayLeave && !left_});
    };
    while (stride > 1e-2)
    {
        const double next = std::min(whole, done + stride);
        const bool last = next == whole;
        if (reach(std::exp(-next), last && toTheEnd, !last))
        {
            if (last)
                return true;
            done = next;
            stride *= 2;
            reached = Present();
            continue;
        }
        Restore(reached);
        if (!MayContinue() || done >= whole)
            return false;
        if (!reached.isSettled && reach(std::exp(-done), false, false))
            reached = Present(); // a better start for the same stride
        else
            stride /= 3;
    }
    return false;
}

bool Newton::MayContinue() const
{
    return outcome_.failure.empty() && outcome_.iterations < limit_;
}

/// From curves so gentle that soils dry out over many elements to the true ones, or as near to them
/// as possible.
bool Newton::Sharpen(double least)
{
    const double whole = assembly_.Sharpness(), onTheWay = std::max(0.1 * least, 1e-7);
    const int most = limit_;
    limit_ = std::max(most - kFinish, most / 2);
    double sharpness = std::min(kGentle, whole);
    if (!Descend(1, least, {0, sharpness}, false))
        return false;
    std::vector<std::pair<double, State>> reached{{sharpness, Present()}};
    for (double stride = 2; sharpness < whole && stride > 1.03 && MayContinue();)
    {
        const double next = std::min(whole, sharpness * stride);
        if (Reach({{least, next}, onTheWay, 15}))
        {
            sharpness = next;
            stride = std::min(4.0, stride * std::sqrt(stride));
            reached.push_back({sharpness, Present()});
            if (reached.size() > kKept)
                reached.erase(reached.begin());
        }
        else
        {
            outcome_.failure.clear(); // a shorter increment may converge
            Restore(reached.back().second);
            stride = std::cbrt(stride);
        }
    }
    limit_ = most;
    const State sharpest = reached.back().second;
    for (; !reached.empty() && reached.back().first >= std::min(kCoarse, whole) && MayContinue();
         reached.pop_back())
    {
        Restore(reached.back().second);
        const bool isTrue = reached.back().first == whole;
        outcome_.drawnOut = isTrue ? 0 : assembly_.DrawnOut(reached.back().first);
        Easing easing;
        if (!isTrue)
            easing.sharpness = reached.back().first;
        if (Reach({easing, std::max(settings_.tolerance, isTrue ? 0 : kRough), 40}))
            return true;
    }
    Restore(sharpest);
    return false;
}

bool Newton::FromMoistSoil()
{
    std::vector<double> moist;
    for (const Soil& soil : assembly_.Soils())
        moist.push_back(soil.kr.HeadAt(kMoist));
    const Mesh& mesh = model_.mesh;
    for (std::size_t e = 0; e < mesh.Elements(); ++e)
        for (int k = mesh.start[e]; k < mesh.start[e + 1]; ++k)
            if (const int n = mesh.nodes[k]; !held_[n])
                head_[n] = std::max(head_[n], mesh.y[n] + moist[model_.material[e]]);
    return Reach({{}, settings_.tolerance, 60});
}

} // namespace percova
