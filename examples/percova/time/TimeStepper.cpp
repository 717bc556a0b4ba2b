#include "time/TimeStepper.h"

#include "analysis/Analysis.h"

#include <algorithm>
#include <cmath>

namespace percova
{
namespace
{
/// The diagonal of the method: 1 - 1/sqrt(2).
constexpr double kGamma = 0.29289321881345247560;
/// The weights of the rates at the start and of the two stages, less those of the third-order
/// formula on the same rates (of third order for linear problems).
constexpr double kDefect[3] = {0.47140452079103168, -2.0 / 3, 0.19526214587563499};
/// The same, less those of the formula of first order that has the second stage alone.
constexpr double kFirstOrder[3] = {0, 1 - kGamma, kGamma - 1};
constexpr int kStageIterations = 15;
/// A safety factor: the estimate may be too low by this factor, and the errors of the steps add up.
constexpr double kDoubt = 2;
} // namespace

/// Solves for a stage whose water is @p before and what flows in during @p length at its own rate.
bool TimeStepper::SolveStage(Stage& stage, double time, const std::vector<double>& before,
                             const std::vector<double>& near, double length, bool isLast,
                             Attempt& attempt)
{
    stage.step = StepAt(model_.problem, time, Side::Before);
    stage.conditions = Gather(model_, stage.step);
    const StorageTerm term{&storage_, &before, 1 / length};
    Newton newton(model_, stage.conditions, assembly_, system_, settings_, {}, &term);
    const NewtonOutcome outcome = newton.SolveNear(near, kStageIterations);
    seconds_.assemble += newton.AssembleSeconds();
    seconds_.solve += newton.SolveSeconds();
    attempt.iterations += outcome.iterations;
    attempt.residual = std::max(attempt.residual, outcome.residual);
    if (!outcome.converged)
    {
        attempt.failure = DescribeFailure(model_, outcome, settings_.tolerance);
        return false;
    }
    stage.head = newton.Head();
    stage.inflow = newton.Inflow();
    stage.water = newton.Water();
    stage.rate.resize(before.size());
    for (std::size_t n = 0; n < before.size(); ++n)
        stage.rate[n] = (stage.water[n] - before[n]) * term.rate;
    return !isLast || EstimateError(newton, attempt);
}

bool TimeStepper::Try(double time, double length, const std::vector<double>& head,
                      const std::vector<double>& water, Attempt& attempt)
{
    attempt = {};
    attempt.length = length;
    if (isBeyondLimit)
        return TryEuler(time, length, head, water, attempt);
    const double share = kGamma * length;
    Stage& first = attempt.stages[0];
    attempt.weights[0] = 1 - kGamma;
    attempt.weights[1] = kGamma;
    if (!SolveStage(first, time + share, water, head, share, false, attempt))
        return false;
    std::vector<double> before = water;
    for (std::size_t n = 0; n < before.size(); ++n)
        before[n] += length * (1 - kGamma) * first.rate[n];
    return SolveStage(attempt.stages[1], time + length, before, first.head, share, true, attempt);
}

/// Behind heads beyond a limit the two-stage method swings: its second stage would let water in
/// where it may only leave. Two halves by the backward Euler method do not; the error is their
/// difference to the whole step.
bool TimeStepper::TryEuler(double time, double length, const std::vector<double>& head,
                           const std::vector<double>& water, Attempt& attempt)
{
    Stage whole, &first = attempt.stages[0], &second = attempt.stages[1];
    const double half = length / 2, end = time + length;
    attempt.weights[0] = attempt.weights[1] = 0.5;
    if (!SolveStage(whole, end, water, head, length, false, attempt) ||
        !SolveStage(first, time + half, water, head, half, false, attempt) ||
        !SolveStage(second, end, first.water, whole.head, half, false, attempt))
        return false;
    for (std::size_t n = 0; n < whole.head.size(); ++n)
        if (const double error = std::abs(whole.head[n] - second.head[n]); error > attempt.error)
        {
            attempt.error = error;
            attempt.worst = static_cast<int>(n);
        }
    return true;
}

/// Passed through the matrix of the step, the defect of the rates is the error of the heads. Nodes
/// that store nothing at the end have no error of their own in time: their heads follow those of
/// the others at once, by jumps where they saturate.
double TimeStepper::ErrorOf(Newton& newton, const double (&weights)[3], Attempt& attempt)
{
    const std::vector<double>&first = attempt.stages[0].rate, &second = attempt.stages[1].rate;
    std::vector<double> defect(first.size()), error;
    for (std::size_t n = 0; n < defect.size(); ++n)
        defect[n] = ((weights[0] != 0 ? weights[0] * startRate[n] : 0) + weights[1] * first[n] +
                     weights[2] * second[n]) /
                    kGamma;
    if (!newton.SolveLinearised(defect, error, attempt.failure))
        return HUGE_VAL;
    const std::vector<double> capacity = storage_.Coefficients(attempt.stages[1].head);
    for (std::size_t n = 0; n < error.size(); ++n)
        error[n] = capacity[n] > 0 ? std::abs(error[n]) : 0;
    const auto most = std::max_element(error.begin(), error.end());
    attempt.worst = static_cast<int>(most - error.begin());
    return *most;
}

/// The estimate of third order takes the rates at the start for those of a smooth solution. Where a
/// node has switched since, and heads follow at once because little is stored, it does not fall
/// with the length of the step; the estimate of first order, which knows the stages alone, then
/// decides.
bool TimeStepper::EstimateError(Newton& newton, Attempt& attempt)
{
    attempt.isThirdOrder = !startRate.empty();
    attempt.error = attempt.isThirdOrder ? kDoubt * ErrorOf(newton, kDefect, attempt) : HUGE_VAL;
    if (attempt.error > allowed_)
    {
        const int worst = attempt.worst;
        const double first = kDoubt * ErrorOf(newton, kFirstOrder, attempt);
        attempt.isThirdOrder = attempt.isThirdOrder && !(first <= allowed_);
        attempt.worst = first < attempt.error ? attempt.worst : worst;
        attempt.error = std::min(attempt.error, first);
    }
    return std::isfinite(attempt.error);
}

} // namespace percova
