#include "analysis/flow/Newton.h"

#include <algorithm>
#include <chrono>
#include <cmath>

namespace percova
{
namespace
{
constexpr double kLeft = 0.1;      ///< residual at which a problem may be left, see Goal
constexpr double kOvershoot = 0.1; ///< of the range of heads, beyond it
constexpr double kLeastRelaxation = 0.02;
constexpr double kMostDamping = 100;
constexpr int kPolish = 10; ///< iterations spent on heads once the flows fit
constexpr int kNear = 20;   ///< iterations tried from heads that may be near

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
} // namespace

Newton::Newton(const Model& model, const NodeConditions& conditions, Assembly& assembly,
               LinearSystem& system, const NewtonSettings& settings, const Watch& watch,
               const StorageTerm* storage)
    : model_(model), conditions_(conditions), assembly_(assembly), system_(system),
      settings_(settings), watch_(watch), storage_(storage), faces_(conditions),
      head_(model.mesh.Nodes()), trial_(head_), outflow_(head_), held_(model.mesh.Nodes())
{
    FindBounds();
}

/// A step that overshoots leads nodes out of the range of the boundaries' heads, dry ones far out
/// of it, and the following steps are short on their account. Water that is stored may raise them
/// above the present range.
void Newton::FindBounds()
{
    if (storage_ != nullptr)
        return;
    bounds_ = BoundsOf(conditions_);
    const auto [low, high] = std::minmax_element(model_.mesh.y.begin(), model_.mesh.y.end());
    const double range = bounds_.highest - bounds_.lowest;
    const double beyond = kOvershoot * std::max(std::isfinite(range) ? range : 0, *high - *low);
    bounds_ = {bounds_.lowest - beyond, bounds_.highest + beyond};
}

double Newton::LeastKr() const
{
    double least = 1;
    for (const Soil& soil : assembly_.Soils())
        least = std::min(least, soil.kr.Least());
    return least;
}

NewtonOutcome Newton::SolveNear(const std::vector<double>& near, int maxIterations)
{
    limit_ = maxIterations;
    outcome_.converged = FromHeadsNear(near, maxIterations);
    return outcome_;
}

bool Newton::SolveLinearised(const std::vector<double>& rightSide, std::vector<double>& x,
                             std::string& reason)
{
    const TimeAdder watch(solveSeconds_);
    return system_.SolveAgain(held_, rightSide, LeastKr() == 1, 1e-4, x, reason);
}

/// Starts from @p near with the boundary values.
bool Newton::FromHeadsNear(const std::vector<double>& near, int maxIterations)
{
    for (std::size_t n = 0; n < head_.size(); ++n)
        head_[n] = conditions_.HasHead(n) ? conditions_.head[n] : near[n];
    faces_.Follow(head_);
    for (std::size_t n = 0; n < head_.size(); ++n)
        if (faces_.IsHeld(n))
            head_[n] = faces_.Limit(n);
    return Reach({{LeastKr() == 1 ? 1.0 : 0.0}, settings_.tolerance, maxIterations});
}

NewtonOutcome Newton::Solve(const std::vector<double>& near)
{
    limit_ = settings_.maxIterations;
    const double least = LeastKr();
    if (!near.empty() && FromHeadsNear(near, kNear))
    {
        outcome_.converged = true;
        return outcome_;
    }
    outcome_.failure.clear();
    ColdStart();
    if (least == 1)
    {
        outcome_.converged = Reach({{1}, settings_.tolerance, settings_.maxIterations});
        return outcome_;
    }
    outcome_.converged = InTurn(least);
    return outcome_;
}

void Newton::Evaluate(const Goal& goal)
{
    const TimeAdder watch(assembleSeconds_);
    InflowOf(head_, goal.easing, inflow_);
    Measure();
}

void Newton::InflowOf(const std::vector<double>& head, const Easing& easing,
                      std::vector<double>& inflow)
{
    assembly_.Inflow(head, easing, inflow);
    AddStorage(head, inflow);
}

void Newton::AddStorage(const std::vector<double>& head, std::vector<double>& inflow)
{
    if (storage_ == nullptr)
        return;
    storage_->storage->Evaluate(head, water_, capacity_);
    for (std::size_t n = 0; n < inflow.size(); ++n)
        inflow[n] += (water_[n] - (*storage_->before)[n]) * storage_->rate;
}

/// The scales of the residuals where water is stored: the rates of storage, and the rounding of
/// the water, of one node and of all.
Newton::Scales Newton::StorageScales() const
{
    if (storage_ == nullptr)
        return {};
    double rates = 0, most = 0, sum = 0;
    for (std::size_t n = 0; n < water_.size(); ++n)
    {
        rates += std::abs(water_[n] - (*storage_->before)[n]);
        most = std::max(most, std::abs(water_[n]));
        sum += std::abs(water_[n]);
    }
    const double rounding = 1e-15 / settings_.tolerance;
    return {std::max(rates / 2, rounding * most) * storage_->rate, rounding * sum * storage_->rate};
}

void Newton::Measure()
{
    double in = 0, out = 0, worst = 0, all = 0, conductivity = 0;
    residual_.assign(held_.size(), 0);
    for (std::size_t n = 0; n < held_.size(); ++n)
    {
        held_[n] = conditions_.HasHead(n) || faces_.IsHeld(n);
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
    // Without flow there is still the rounding of heads times conductivities.
    const auto [low, high] = std::minmax_element(model_.mesh.y.begin(), model_.mesh.y.end());
    const double rounding = 1e-14 * conductivity * (*high - *low);
    const Scales storage = StorageScales();
    scale_ = std::max({in, out, rounding / settings_.tolerance, storage.node});
    outcome_.residual = std::max(worst / scale_, std::abs(all) / std::max(scale_, storage.all));
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
    faces_.ForgetSwitches();
    Evaluate(goal);
    int polished = 0;
    for (int made = 0;; ++made)
    {
        const double residual = outcome_.residual;
        const std::size_t switched = made > 0 ? SwitchFaces(goal) : 0;
        if (made > 0 && watch_)
            watch_({outcome_.iterations, residual, relaxation_, goal.easing, switched});
        const bool linear = goal.easing.leastKr >= 1, onTheWay = !goal.easing.IsNone();
        left_ = goal.mayLeave && switched > 0 && residual <= kLeft;
        if (left_)
            return true;
        if (switched > 0)
            Evaluate(goal);
        if (made > 0 && switched == 0 && outcome_.residual <= goal.tolerance &&
            (linear || onTheWay || outcome_.change <= settings_.headChange || ++polished > kPolish))
            return true;
        if (made >= goal.maxIterations || !Step(goal))
            return false;
    }
}

// One iteration; if no length of the Newton step lowers the imbalance, increasingly damped steps
// towards a small move of every node by its own imbalance.
bool Newton::Step(const Goal& goal)
{
    const bool linear = goal.easing.leastKr >= 1;
    for (bool again = false;; again = true)
    {
        damping_ = again ? std::max(0.03, 4 * damping_) : damping_;
        if (damping_ > kMostDamping || outcome_.iterations >= limit_)
            return false;
        ++outcome_.iterations;
        {
            const TimeAdder watch(assembleSeconds_);
            if (again) // the last evaluation was of a trial
                InflowOf(head_, goal.easing, inflow_);
            for (double& capacity : capacity_)
                capacity *= storage_->rate;
            assembly_.Matrix(head_, goal.easing, linear ? Tangent::Picard : Tangent::Newton,
                             damping_, {storage_, &capacity_}, system_);
        }
        {
            const TimeAdder watch(solveSeconds_);
            // The sum of all residuals is checked against the flow through the model, which is far
            // less than the norm of the right side: one linear solve has to be enough.
            const double enough = goal.tolerance > settings_.tolerance ? (linear ? 1e-10 : 1e-4)
                                                                       : (linear ? 1e-12 : 1e-6);
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
    const HeadBounds bounds = goal.easing.leastKr >= 1 ? HeadBounds{} : bounds_;
    for (relaxation_ = 1; relaxation_ > kLeastRelaxation; relaxation_ /= 2)
    {
        for (std::size_t n = 0; n < head_.size(); ++n)
            trial_[n] =
                std::clamp(head_[n] + relaxation_ * step_[n], std::min(bounds.lowest, head_[n]),
                           std::max(bounds.highest, head_[n]));
        InflowOf(trial_, goal.easing, trialInflow_);
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
