#include "Newton.h"

#include <algorithm>
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
constexpr double kMoist = 0.3;       ///< relative conductivity of moist soil

class Stopwatch
{
public:
    explicit Stopwatch(double& seconds) : seconds_(seconds) {}
    ~Stopwatch() { seconds_ += std::chrono::duration<double>(Clock::now() - start_).count(); }
    Stopwatch(const Stopwatch&) = delete;
    Stopwatch& operator=(const Stopwatch&) = delete;

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
    double highest = -std::numeric_limits<double>::max();
    for (const bool measure : {true, false})
        for (std::size_t n = 0; n < head_.size(); ++n)
        {
            if (conditions.HasHead(n))
                head_[n] = conditions.head[n];
            else if (conditions.seepage[n] >= 0)
                head_[n] = model.mesh.y[n];
            else if (!measure)
                head_[n] = highest;
            highest = measure && (conditions.HasHead(n) || conditions.seepage[n] >= 0)
                          ? std::max(highest, head_[n])
                          : highest;
        }
}

NewtonOutcome Newton::Solve()
{
    double least = 1;
    for (const Soil& soil : assembly_.Soils())
        least = std::min(least, soil.kr.Least());
    if (least == 1)
    {
        outcome_.converged = Reach({1, settings_.tolerance, settings_.maxIterations});
        return outcome_;
    }
    const bool fed = std::any_of(conditions_.load.begin(), conditions_.load.end(),
                                 [](double load) { return load > 0; });
    Reach({1, kSettled, 100});
    const std::vector<double> saturated = head_;
    const SeepageFaces faces = faces_;
    outcome_.converged = fed ? FromMoistSoil() : Descend(least);
    if (!outcome_.converged && outcome_.failure.empty() &&
        outcome_.iterations < settings_.maxIterations)
    {
        head_ = saturated;
        faces_ = faces;
        outcome_.converged = fed ? Descend(least) : FromMoistSoil();
    }
    return outcome_;
}

bool Newton::Descend(double least)
{
    const double whole = -std::log(least);
    std::vector<double> reached = head_;
    double done = 0, stride = std::log(10.0);
    while (done < whole && stride > 1e-2)
    {
        const double next = std::min(whole, done + stride), leastKr = std::exp(-next);
        // Dry soil shows in the residual by its conductivity, so that sets what is good enough.
        const bool last = next == whole;
        if (Reach({last ? 0 : leastKr,
                   last ? settings_.tolerance : std::min(kSettled, 0.1 * leastKr), last ? 40 : 15}))
        {
            if (last)
                return true;
            done = next;
            stride *= 2;
            reached = head_;
        }
        else
        {
            if (!outcome_.failure.empty() || outcome_.iterations >= settings_.maxIterations)
                return false;
            stride /= 3;
            head_ = reached;
        }
    }
    return false;
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
    return Reach({0, settings_.tolerance, 60});
}

void Newton::Evaluate(const Goal& goal)
{
    const Stopwatch watch(assembleSeconds_);
    assembly_.Inflow(head_, goal.leastKr, inflow_);
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
            watch_({outcome_.iterations, residual, relaxation_, goal.leastKr, switched});
        if (switched > 0)
            Evaluate(goal);
        const bool linear = goal.leastKr >= 1, onTheWay = goal.leastKr > 0;
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
    const bool linear = goal.leastKr >= 1;
    for (;; damping_ = std::max(0.03, 4 * damping_))
    {
        if (damping_ > kMostDamping || outcome_.iterations >= settings_.maxIterations)
            return false;
        ++outcome_.iterations;
        {
            const Stopwatch watch(assembleSeconds_);
            assembly_.Inflow(head_, goal.leastKr, linear ? Tangent::Picard : Tangent::Newton,
                             damping_, system_, inflow_);
        }
        {
            const Stopwatch watch(solveSeconds_);
            const double enough = linear ? 1e-10 : goal.leastKr > 0 ? 1e-4 : 1e-6;
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
    const Stopwatch watch(assembleSeconds_);
    const double before = SumOfSquares(inflow_);
    const double enough = std::pow(settings_.tolerance * scale_, 2);
    for (relaxation_ = 1; relaxation_ > kLeastRelaxation; relaxation_ /= 2)
    {
        for (std::size_t n = 0; n < head_.size(); ++n)
            trial_[n] = head_[n] + relaxation_ * step_[n];
        assembly_.Inflow(trial_, goal.leastKr, trialInflow_);
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
