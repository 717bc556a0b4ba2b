#include "time/Transient.h"

#include "analysis/flow/Assembly.h"
#include "analysis/flow/LinearSystem.h"
#include "analysis/flow/Newton.h"
#include "analysis/model/Storage.h"
#include "analysis/results/Fields.h"
#include "analysis/results/Flows.h"
#include "analysis/results/RegionFlows.h"
#include "analysis/results/Sections.h"
#include "problem/NumberText.h"
#include "time/Cumulative.h"
#include "time/InitialState.h"
#include "time/StepLength.h"
#include "time/TimeStepper.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

namespace percova
{
namespace
{

constexpr double kStageTolerance = 1e-9; ///< of the nodal balances, relative

class TimeRun
{
public:
    TimeRun(const Model& model, const std::vector<Soil>& soils, const Watch& watch,
            Results& results);
    /// @returns false with the reason when there is nothing to start from
    bool Start(std::string& reason);
    bool Run();

private:
    void Accept(Attempt& attempt, double time);
    void CountFlows(const Attempt& attempt);
    void AddHistory(const Solution& solution, double length, int iterations);
    bool Output(const Stage& stage, double length, double residual);
    void MeetEvent();
    void NextStart();
    bool RatesCanBeStored() const;
    PartOfRun& PartAt(double time);
    double FirstLength();
    bool TakeStep(double target);
    void Stop(const std::string& why);
    Solution SolutionOf(const Stage& stage) const
    {
        return {model_, stage.step, soils_, stage.conditions, stage.head, stage.inflow};
    }
    double Stored() const { return std::accumulate(water_.begin(), water_.end(), 0.0); }

    const Model& model_;
    const std::vector<Soil>& soils_;
    const Watch& watch_;
    Results& results_;
    const TimeSettings& settings_;
    NewtonSettings newtonSettings_;
    Assembly assembly_;
    LinearSystem system_;
    Storage storage_;
    RegionFlows regions_;
    TimeState& state_;
    TimeStepper stepper_;
    std::vector<double> water_;           ///< by node, at the present time
    std::vector<double> borderWater_;     ///< of the regions, see RegionFlows
    std::vector<RegionFlow> regionFlows_; ///< at the end of the last step
    NodeConditions now_;                  ///< just after the present time
    StepResult last_;                     ///< the flows at the end of the last step
    Attempt attempt_;
    double least_ = 1; ///< the least relative conductivity that is taken: 1 where all is saturated
};

TimeRun::TimeRun(const Model& model, const std::vector<Soil>& soils, const Watch& watch,
                 Results& results)
    : model_(model), soils_(soils), watch_(watch), results_(results),
      settings_(*model.problem.time), newtonSettings_(SettingsFor(model.problem.solver)),
      assembly_(model, soils),
      system_(model.mesh, model.problem.solver.kind, model.problem.solver.threads),
      storage_(model, soils), regions_(model), state_(results.state),
      stepper_(model, storage_, assembly_, system_, newtonSettings_, results.seconds)
{
    for (const Soil& soil : soils)
        least_ = std::min(least_, soil.kr.Least());
    least_ = least_ == 1 ? 1 : 0;
    newtonSettings_.tolerance = std::max(newtonSettings_.tolerance, kStageTolerance);
    newtonSettings_.headChange = std::min(newtonSettings_.headChange, 0.01 * settings_.tolerance);
}

bool TimeRun::Start(std::string& reason)
{
    const bool fresh = state_.head.empty();
    if (fresh)
    {
        InitialState initial;
        if (!FindInitialState(model_, assembly_, system_, watch_, initial, reason))
            return false;
        state_.head = std::move(initial.head);
        state_.initialIterations = initial.iterations;
        state_.boundaries.assign(model_.problem.boundaries.size(), 0);
        state_.sections.assign(model_.problem.sections.size(), 0);
        state_.sources.assign(model_.problem.sources.size(), 0);
        for (const Step& step : model_.problem.steps)
            state_.parts.push_back({step.name, step.start});
    }
    std::vector<double> capacity;
    storage_.Evaluate(state_.head, water_, capacity);
    borderWater_ = regions_.BorderWater(storage_, state_.head);
    for (const Region& region : model_.problem.regions)
        regionFlows_.push_back({region.name});
    if (fresh)
    {
        state_.initialStored = Stored();
        for (const double stored : regions_.Stored(water_, borderWater_))
            state_.regions.push_back({0, 0, 0, stored});
        state_.nextLength = FirstLength();
    }
    MeetEvent();
    return true;
}

double TimeRun::FirstLength()
{
    return settings_.firstStep > 0 ? settings_.firstStep : 1e-4 * settings_.outputs.front();
}

// Looks at what holds from the present time on. A given head that differs from the field is a jump,
// behind which the rates at the start are of no use, and so is a limit that the field is beyond. A
// load that differs from the load before only shortens the step, but where nothing is stored the
// heads jump with it.
void TimeRun::MeetEvent()
{
    const NodeConditions before = std::move(now_);
    now_ = Gather(model_, StepAt(model_.problem, state_.time, Side::After));
    bool headJumps = false, loadJumps = before.load.empty();
    stepper_.isBeyondLimit = false;
    for (std::size_t n = 0; n < state_.head.size(); ++n)
    {
        const double head = state_.head[n], slack = 1e-9 * (1 + std::abs(head));
        headJumps = headJumps || (now_.HasHead(n) && std::abs(now_.head[n] - head) > slack);
        stepper_.isBeyondLimit = stepper_.isBeyondLimit ||
                                 (now_.seepage[n] >= 0 &&
                                  (head > now_.upper[n] + slack || head < now_.lower[n] - slack));
        loadJumps =
            loadJumps || std::abs(now_.load[n] - before.load[n]) > 1e-9 * std::abs(now_.load[n]);
    }
    headJumps = headJumps || stepper_.isBeyondLimit;
    if (headJumps || (loadJumps && state_.time > 0 && !before.load.empty()))
        state_.nextLength = std::min(state_.nextLength, FirstLength());
    if (!headJumps)
        NextStart();
    if (headJumps || !RatesCanBeStored())
        stepper_.startRate.clear();
}

void TimeRun::NextStart()
{
    assembly_.Inflow(state_.head, {least_}, stepper_.startRate);
    for (std::size_t n = 0; n < stepper_.startRate.size(); ++n)
    {
        const bool isHeld = now_.seepage[n] >= 0 &&
                            (state_.head[n] >= now_.upper[n] || state_.head[n] <= now_.lower[n]);
        stepper_.startRate[n] = isHeld ? 0 : now_.load[n] - stepper_.startRate[n];
    }
}

/// False where nodes that store nothing would have to store: their heads are about to jump.
bool TimeRun::RatesCanBeStored() const
{
    const std::vector<double> capacity = storage_.Coefficients(state_.head);
    double most = 0;
    for (const double rate : stepper_.startRate)
        most = std::max(most, std::abs(rate));
    for (std::size_t n = 0; n < capacity.size(); ++n)
        if (capacity[n] == 0 && !now_.HasHead(n) && std::abs(stepper_.startRate[n]) > 1e-6 * most)
            return false;
    return true;
}

void TimeRun::CountFlows(const Attempt& attempt)
{
    // Both stages store for as long as the second one's flows count, see TimeStepper.
    const double seconds = attempt.weights[1] * attempt.length;
    std::vector<double> before = borderWater_, storing(before.size());
    for (int k = 0; k < 2; ++k)
    {
        StepResult flows;
        const Solution solution = SolutionOf(attempt.stages[k]);
        (void)EvaluateFlows(solution, flows);
        std::vector<double> water = regions_.BorderWater(storage_, solution.head);
        for (std::size_t i = 0; i < water.size(); ++i)
        {
            storing[i] = (water[i] - before[i]) / seconds;
            before[i] = borderWater_[i] + attempt.weights[0] * attempt.length * storing[i];
        }
        regions_.Evaluate(solution, storing, flows);
        if (model_.sections)
            model_.sections->Evaluate(solution, flows);
        AddFlows(flows, attempt.weights[k] * attempt.length, state_);
        if (k == 0)
            continue;
        borderWater_ = std::move(water);
        regionFlows_ = flows.regions;
        last_ = std::move(flows);
    }
}

void TimeRun::Accept(Attempt& attempt, double time)
{
    CountFlows(attempt);
    state_.time = time;
    ++state_.taken;
    Stage& end = attempt.stages[1];
    PartOfRun& part = PartAt(time);
    ++part.taken;
    part.shortest = part.taken == 1 ? attempt.length : std::min(part.shortest, attempt.length);
    part.longest = part.taken == 1 ? attempt.length : std::max(part.longest, attempt.length);
    state_.head = end.head;
    water_ = end.water;
    AddHistory(SolutionOf(end), attempt.length, attempt.iterations);
    if (watch_.time)
        watch_.time({time, settings_.outputs.back(), attempt.length, state_.taken, state_.rejected,
                     attempt.iterations});
}

/// The part of the run that the step which ends at @p time belongs to.
PartOfRun& TimeRun::PartAt(double time)
{
    std::size_t k = state_.parts.size() - 1;
    while (k > 0 && state_.parts[k].start >= time)
        --k;
    return state_.parts[k];
}

void TimeRun::AddHistory(const Solution& solution, double length, int iterations)
{
    StepResult row = std::move(last_);
    last_ = {};
    FillTotals(state_, Stored(), row);
    row.stepLength = length;
    row.iterations = iterations;
    EvaluateProbes(solution, row);
    row.surface.clear();
    results_.history.push_back(std::move(row));
}

bool TimeRun::Output(const Stage& stage, double length, double residual)
{
    StepResult result;
    const Solution solution = SolutionOf(stage);
    EvaluateAll(solution, result);
    result.number = results_.earlier.size() + results_.steps.size();
    result.name =
        Short(state_.time / model_.problem.units.seconds) + ' ' + model_.problem.units.time;
    result.converged = true;
    result.residual = residual;
    result.stepLength = length;
    result.iterations = results_.history.empty() ? 0 : results_.history.back().iterations;
    result.capacity = storage_.Coefficients(state_.head);
    result.regions = regionFlows_;
    FillRegions(state_, regions_.Stored(water_, borderWater_), result.regions);
    FillTotals(state_, Stored(), result);
    results_.equations = system_.Equations();
    results_.nonzeros = system_.Nonzeros();
    results_.solver = system_.Solver();
    results_.steps.push_back(std::move(result));
    return !watch_.step || watch_.step(results_.steps.back());
}

void TimeRun::Stop(const std::string& why)
{
    const Units& units = model_.problem.units;
    results_.stopped = "stopped at " + Short(state_.time / units.seconds) + ' ' + units.time +
                       " after " + std::to_string(state_.taken) + " steps: " + why;
}

/// One step that ends at @p target at the latest, repeated until it is accepted.
bool TimeRun::TakeStep(double target)
{
    // Behind a jump water moves over the smallest elements first.
    const double smallest = settings_.smallestStep * (stepper_.startRate.empty() ? 1e-3 : 1);
    const double left = target - state_.time, first = state_.nextLength;
    StepLength lengths(settings_.tolerance);
    std::string failure; // of the shortest step, once longer ones are tried
    for (;;)
    {
        double length = std::min({state_.nextLength, settings_.largestStep, left});
        if (length < left && 2 * length > left)
            length = left / 2; // two equal steps instead of a long and a short one
        if (state_.taken + state_.rejected >= settings_.maxSteps)
        {
            Stop("more than " + std::to_string(settings_.maxSteps) + " steps (max_steps)");
            return false;
        }
        const bool solved = stepper_.Try(state_.time, length, state_.head, water_, attempt_);
        if (solved && attempt_.error <= settings_.tolerance)
        {
            const double ratio = lengths.AfterAccepted(attempt_);
            // A step shortened to meet an event says little about the next one's length.
            state_.nextLength = std::max(
                length * ratio, length < state_.nextLength && ratio >= 1 ? state_.nextLength : 0);
            Accept(attempt_, length == left ? target : state_.time + length);
            return true;
        }
        ++state_.rejected;
        ++PartAt(target).rejected;
        if (failure.empty())
        {
            state_.nextLength = length * lengths.AfterRejected(attempt_, solved);
            if (state_.nextLength >= smallest)
                continue;
            failure = ShortestStepText(model_, attempt_, solved, smallest);
            length = std::min(first, left);
        }
        // Heads that follow faster than the smallest step have followed at the end of a longer one,
        // which has an error of its own to be judged by.
        if (length >= std::min(left, settings_.largestStep))
        {
            Stop(failure);
            return false;
        }
        state_.nextLength = StepLength::kMostGrowth * length;
    }
}

bool TimeRun::Run()
{
    const std::vector<double>& outputs = settings_.outputs;
    if (results_.earlier.empty())
    {
        Stage start;
        start.step = StepAt(model_.problem, state_.time, Side::After);
        start.conditions = now_;
        start.head = state_.head;
        assembly_.Inflow(state_.head, {least_}, start.inflow);
        const Solution solution = SolutionOf(start);
        (void)EvaluateFlows(solution, last_);
        if (model_.sections)
            model_.sections->Evaluate(solution, last_);
        AddHistory(solution, 0, state_.initialIterations);
        if (!Output(start, 0, 0))
            return false;
    }
    for (const double event : EventsOf(model_.problem))
    {
        if (event <= state_.time)
            continue;
        while (state_.time < event)
        {
            if (!TakeStep(event))
                return true; // completed outputs have been written
            if (state_.time < event)
            {
                now_ = attempt_.stages[1].conditions; // no jump here
                stepper_.isBeyondLimit = false;
                NextStart();
            }
        }
        MeetEvent();
        if (std::binary_search(outputs.begin(), outputs.end(), event) &&
            !Output(attempt_.stages[1], attempt_.length, attempt_.residual))
            return false;
    }
    return true;
}

} // namespace

bool AnalyseInTime(const Model& model, const Watch& watch, Results& results, std::string& reason)
{
    const PoolThreads threads(model.problem.solver.threads);
    results.threads = static_cast<int>(sys::thread::task::pool::Workers());
    std::vector<Soil> soils;
    if (!MakeSoils(model.problem, soils, reason))
        return false;
    TimeRun run(model, soils, watch, results);
    return run.Start(reason) && run.Run();
}

} // namespace percova
