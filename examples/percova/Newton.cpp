#include "Newton.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <limits>

namespace percova
{
namespace
{
constexpr double kSettled = 1e-2; ///< residual at which the seepage faces are trusted
constexpr double kLeastRelaxation = 0.02;
constexpr double kMostDamping = 100;
constexpr double kHeadChange = 1e-5; ///< [m] heads that move no more are found
constexpr int kPolish = 10;          ///< iterations spent on heads once the flows fit
constexpr int kNear = 20;            ///< iterations tried from heads that may be near
constexpr double kMoist = 0.3;       ///< relative conductivity of moist soil

/// Adds the seconds of its life to a sum.
class TimeAdder
{
public:
    explicit TimeAdder(double& seconds) : seconds_(seconds) {}
    ~TimeAdder() { seconds_ += std::chrono::duration<double>(Clock::now() - start_).count(); }
    TimeAdder(const TimeAdder&) = delete;
    TimeAdder& operator=(const TimeAdder&) = delete;

private:
    using Clock = std::chrono::steady_clock;
    double& seconds_;
    Clock::time_point start_ = Clock::now();
};

/// The pressure head at which @p soil conducts kMoist of its best, by bisection.
double MoistPressureHead(const Soil& soil)
{
    double wet = 0, dry = -1e-6;
    while (dry > -1e6 && soil.kr.At(dry) > kMoist)
        dry *= 2;
    for (int k = 0; k < 50; ++k)
    {
        const double middle = (wet + dry) / 2;
        (soil.kr.At(middle) > kMoist ? wet : dry) = middle;
    }
    return wet;
}
} // namespace

Newton::Newton(const Model& model, const NodeConditions& conditions, Assembly& assembly,
               LinearSystem& system, const NewtonSettings& settings, const Watch& watch)
    : model_(model), conditions_(conditions), assembly_(assembly), system_(system),
      settings_(settings), watch_(watch), faces_(model.mesh, conditions), head_(model.mesh.Nodes()),
      trial_(head_), outflow_(head_), held_(model.mesh.Nodes())
{
}

/// Given heads where there are any, zero pressure on seepage faces, elsewhere the highest of these.
void Newton::ColdStart()
{
    faces_ = SeepageFaces(model_.mesh, conditions_);
    double highest = -std::numeric_limits<double>::max();
    for (const bool measure : {true, false})
        for (std::size_t n = 0; n < head_.size(); ++n)
        {
            if (conditions_.HasHead(n))
                head_[n] = conditions_.head[n];
            else if (conditions_.seepage[n] >= 0)
                head_[n] = model_.mesh.y[n];
            else if (!measure)
                head_[n] = highest;
            highest = measure && (conditions_.HasHead(n) || conditions_.seepage[n] >= 0)
                          ? std::max(highest, head_[n])
                          : highest;
        }
}

bool Newton::FromHeadsNear(const std::vector<double>& near, const Easing& easing)
{
    for (std::size_t n = 0; n < head_.size(); ++n)
        head_[n] = conditions_.HasHead(n) ? conditions_.head[n] : near[n];
    faces_.Follow(head_);
    for (std::size_t n = 0; n < head_.size(); ++n)
        if (faces_.IsWet(n))
            head_[n] = model_.mesh.y[n];
    if (Reach({easing, settings_.tolerance, kNear}))
        return true;
    outcome_.failure.clear();
    return false;
}

NewtonOutcome Newton::Solve(const std::vector<double>& near)
{
    limit_ = settings_.maxIterations;
    double least = 1;
    for (const Soil& soil : assembly_.Soils())
        least = std::min(least, soil.kr.Least());
    if (!near.empty() && FromHeadsNear(near, {least == 1 ? 1.0 : 0.0}))
    {
        outcome_.converged = true;
        return outcome_;
    }
    ColdStart();
    if (least == 1)
    {
        outcome_.converged = Reach({{1}, settings_.tolerance, settings_.maxIterations});
        return outcome_;
    }
    outcome_.converged = InTurn(least);
    return outcome_;
}

bool Newton::InTurn(double least)
{
    const bool fed = std::any_of(conditions_.load.begin(), conditions_.load.end(),
                                 [](double load) { return load > 0; });
    Reach({{1}, kSettled, 100});
    const std::vector<double> saturated = head_;
    const SeepageFaces faces = faces_;
    const std::function<bool()> descend = [&] { return Descend(1, least, 1); };
    const std::function<bool()> moist = [&] { return FromMoistSoil(); };
    const std::function<bool()> steepen = [&] { return Steepen(least); };
    const auto ways =
        fed ? std::array{moist, descend, steepen} : std::array{descend, steepen, moist};
    // The first way is short or none; the last one has all iterations that are left.
    const int most = settings_.maxIterations;
    const int limits[] = {std::max(most / 4, 100), std::max(3 * most / 4, 300), most};
    for (std::size_t way = 0; way < ways.size(); ++way)
    {
        limit_ = std::min(limits[way], most);
        if (ways[way]())
            return true;
        if (!outcome_.failure.empty() || outcome_.iterations >= settings_.maxIterations)
            return false;
        head_ = saturated;
        faces_ = faces;
    }
    return false;
}

/// Lowers the least conductivity from @p from to @p least, the soils' own when @p steepness is 1.
bool Newton::Descend(double from, double least, double steepness)
{
    const double whole = -std::log(least);
    std::vector<double> reached = head_;
    double done = -std::log(from), stride = std::log(10.0);
    while (stride > 1e-2)
    {
        const double next = std::min(whole, done + stride), leastKr = std::exp(-next);
        // Dry soil shows in the residual by its conductivity, so that sets what is good enough.
        const double onTheWay = std::min(kSettled, 0.1 * leastKr);
        const bool last = next == whole, isTrue = last && steepness == 1;
        if (Reach({{isTrue ? 0 : leastKr, steepness},
                   isTrue ? settings_.tolerance : onTheWay,
                   isTrue ? 40 : 15}))
        {
            if (last)
                return true;
            done = next;
            stride *= 2;
            reached = head_;
        }
        else
        {
            if (!outcome_.failure.empty() || outcome_.iterations >= limit_)
                return false;
            stride /= 3;
            head_ = reached;
        }
    }
    return false;
}

/// From curves so gentle that a quarter of the height keeps moist, by doubling or so to the true
/// ones; dry soil conducts enough on the way, and as little as it does only in the end.
bool Newton::Steepen(double least)
{
    const auto [low, high] = std::minmax_element(model_.mesh.y.begin(), model_.mesh.y.end());
    double steepness = 1;
    for (const Soil& soil : assembly_.Soils())
        if (!soil.kr.IsSaturated())
            steepness = std::min(steepness, -4 * MoistPressureHead(soil) / (*high - *low));
    const double dry = std::max(least, 1e-3);
    if (!Descend(1, dry, steepness))
        return false;
    std::vector<double> reached = head_;
    double stride = 2;
    while (steepness < 1 && stride > 1.01)
    {
        const double next = std::min(1.0, steepness * stride);
        if (Reach({{dry, next}, 0.1 * dry, 15}))
        {
            steepness = next;
            stride *= std::sqrt(stride);
            reached = head_;
        }
        else
        {
            if (!outcome_.failure.empty() || outcome_.iterations >= limit_)
                return false;
            stride = std::cbrt(stride);
            head_ = reached;
        }
    }
    return steepness == 1 && Descend(dry, least, 1);
}

bool Newton::FromMoistSoil()
{
    std::vector<double> moist;
    for (const Soil& soil : assembly_.Soils())
        moist.push_back(MoistPressureHead(soil));
    const Mesh& mesh = model_.mesh;
    for (std::size_t e = 0; e < mesh.Elements(); ++e)
        for (int k = mesh.start[e]; k < mesh.start[e + 1]; ++k)
            if (const int n = mesh.nodes[k]; !held_[n])
                head_[n] = std::max(head_[n], mesh.y[n] + moist[model_.material[e]]);
    return Reach({{}, settings_.tolerance, 60});
}

void Newton::Evaluate(const Goal& goal)
{
    const TimeAdder watch(assembleSeconds_);
    assembly_.Inflow(head_, goal.easing, inflow_);
    Measure();
}

void Newton::Measure()
{
    double in = 0, out = 0, worst = 0, all = 0, conductivity = 0;
    residual_.assign(held_.size(), 0);
    for (std::size_t n = 0; n < held_.size(); ++n)
    {
        held_[n] = conditions_.HasHead(n) || faces_.IsWet(n);
        const double through = held_[n] ? inflow_[n] : conditions_.load[n];
        (through > 0 ? in : out) += std::abs(through);
        if (held_[n])
            continue;
        residual_[n] = conditions_.load[n] - inflow_[n];
        all += residual_[n];
        if (!(std::abs(residual_[n]) <= worst)) // also when it is NaN
        {
            worst = std::abs(residual_[n]);
            outcome_.worst = int(n);
        }
    }
    for (const Soil& soil : assembly_.Soils())
        conductivity = std::max({conductivity, soil.kx, soil.ky});
    // Without any flow there is still the rounding of heads times conductivities.
    const auto [low, high] = std::minmax_element(model_.mesh.y.begin(), model_.mesh.y.end());
    const double rounding = 1e-14 * conductivity * (*high - *low);
    scale_ = std::max({in, out, rounding / settings_.tolerance});
    outcome_.residual = std::max(worst, std::abs(all)) / scale_;
}

std::size_t Newton::SwitchFaces(const Goal& goal)
{
    for (std::size_t n = 0; n < outflow_.size(); ++n)
        outflow_[n] = conditions_.load[n] - inflow_[n];
    const double slack = std::min(goal.tolerance, 1e-6) * scale_;
    return faces_.Switch(outflow_, slack, outcome_.residual <= std::max(goal.tolerance, 1e-3),
                         head_);
}

bool Newton::Reach(const Goal& goal)
{
    damping_ = 0;
    Evaluate(goal);
    int polished = 0;
    for (int made = 0;; ++made)
    {
        const double residual = outcome_.residual;
        const std::size_t switched = made > 0 ? SwitchFaces(goal) : 0;
        if (made > 0 && watch_)
            watch_({outcome_.iterations, residual, relaxation_, goal.easing, switched});
        if (switched > 0)
            Evaluate(goal);
        const bool linear = goal.easing.leastKr >= 1, onTheWay = !goal.easing.IsNone();
        if (made > 0 && switched == 0 && outcome_.residual <= goal.tolerance &&
            (linear || onTheWay || outcome_.change <= kHeadChange || ++polished > kPolish))
            return true;
        if (made >= goal.maxIterations || !Step(goal))
            return false;
    }
}

// One iteration; where no length of the Newton step lowers the imbalance, steps that are more and
// more damped towards a small move of every node by its own imbalance.
bool Newton::Step(const Goal& goal)
{
    const bool linear = goal.easing.leastKr >= 1;
    for (;; damping_ = std::max(0.03, 4 * damping_))
    {
        if (damping_ > kMostDamping || outcome_.iterations >= limit_)
            return false;
        ++outcome_.iterations;
        {
            const TimeAdder watch(assembleSeconds_);
            assembly_.Inflow(head_, goal.easing, linear ? Tangent::Picard : Tangent::Newton,
                             damping_, system_, inflow_);
        }
        {
            const TimeAdder watch(solveSeconds_);
            const double enough = linear ? 1e-10 : !goal.easing.IsNone() ? 1e-4 : 1e-6;
            if (!system_.Solve(held_, residual_, linear, enough, step_, outcome_.failure))
                return false;
        }
        if (Search(goal))
            break;
    }
    outcome_.change = 0;
    for (const double change : step_)
        outcome_.change = std::max(outcome_.change, std::abs(change));
    head_.swap(trial_);
    inflow_.swap(trialInflow_);
    Measure();
    if (relaxation_ > 0.3)
        damping_ = damping_ > 0.02 ? damping_ / 4 : 0;
    return true;
}

bool Newton::Search(const Goal& goal)
{
    const TimeAdder watch(assembleSeconds_);
    const double before = SumOfSquares(inflow_);
    const double enough = std::pow(settings_.tolerance * scale_, 2);
    for (relaxation_ = 1; relaxation_ > kLeastRelaxation; relaxation_ /= 2)
    {
        for (std::size_t n = 0; n < head_.size(); ++n)
            trial_[n] = head_[n] + relaxation_ * step_[n];
        assembly_.Inflow(trial_, goal.easing, trialInflow_);
        const double after = SumOfSquares(trialInflow_);
        if (after <= std::pow(1 - 1e-4 * relaxation_, 2) * before || after <= enough)
            return true;
    }
    return false;
}

double Newton::SumOfSquares(const std::vector<double>& inflow) const
{
    double sum = 0;
    for (std::size_t n = 0; n < inflow.size(); ++n)
        if (!held_[n])
            sum += std::pow(conditions_.load[n] - inflow[n], 2);
    return sum;
}

} // namespace percova
