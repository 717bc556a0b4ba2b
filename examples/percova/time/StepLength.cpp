#include "time/StepLength.h"

#include "problem/NumberText.h"

#include <algorithm>

namespace percova
{
namespace
{
constexpr double kSafety = 0.85, kLeastShrink = 0.15, kAfterFailure = 0.25;
constexpr double kLeastOrder = 1.0 / 6; ///< of the error by the length, as observed

double OrderOf(const Attempt& attempt) { return attempt.isThirdOrder ? 3 : 2; }
} // namespace

std::vector<double> EventsOf(const Problem& problem)
{
    std::vector<double> events = problem.time->outputs;
    for (const Step& step : problem.steps)
    {
        events.push_back(step.start);
        for (const std::vector<Condition>* conditions : {&step.conditions, &step.sources})
            for (const Condition& condition : *conditions)
                for (const TimedValues& entry : condition.series)
                    events.push_back(entry.time);
    }
    std::sort(events.begin(), events.end());
    events.erase(std::unique(events.begin(), events.end()), events.end());
    std::erase_if(events, [&](double t) { return !(t > 0) || t > problem.time->outputs.back(); });
    return events;
}

// Brings the error to the tolerance if it falls with the power @p order of the length.
double StepLength::Ratio(const Attempt& attempt, double order) const
{
    return kSafety * std::pow(tolerance_ / std::max(attempt.error, 1e-300), 1 / order);
}

double StepLength::AfterAccepted(const Attempt& accepted) const
{
    return std::clamp(Ratio(accepted, OrderOf(accepted)), kLeastShrink,
                      isFirst_ ? kMostGrowth : 1.0);
}

double StepLength::AfterRejected(const Attempt& rejected, bool isSolved)
{
    double ratio = kAfterFailure;
    if (isSolved)
    {
        double order = OrderOf(rejected);
        if (error_ < HUGE_VAL)
            order =
                std::clamp(std::log(rejected.error / error_) / std::log(rejected.length / length_),
                           kLeastOrder, order);
        ratio = std::clamp(Ratio(rejected, order), kLeastShrink, 0.9);
    }
    isFirst_ = false;
    length_ = rejected.length;
    error_ = isSolved ? rejected.error : HUGE_VAL;
    return ratio;
}

std::string ShortestStepText(const Model& model, const Attempt& attempt, bool isSolved,
                             double smallest)
{
    const Units& units = model.problem.units;
    const Mesh& mesh = model.mesh;
    const int n = attempt.worst;
    return "a step would have to be shorter than " + Short(smallest / units.seconds, 3) + ' ' +
           units.time + " (smallest_step): " +
           (isSolved
                ? "the error of the head stays above the tolerance by " +
                      Short(attempt.error / model.problem.time->tolerance, 2) +
                      " times, most at node " + std::to_string(mesh.number[n]) + " at (" +
                      Short(mesh.x[n] / units.metres) + ", " + Short(mesh.y[n] / units.metres) + ')'
                : attempt.failure);
}

} // namespace percova
