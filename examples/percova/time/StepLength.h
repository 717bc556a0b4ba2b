/// @file
/// The lengths of the steps through time.
#pragma once

#include "time/TimeStepper.h"

#include <cmath>
#include <string>
#include <vector>

namespace percova
{

/// The times in (0, end] at which a step has to end, ascending.
std::vector<double> EventsOf(const Problem& problem);

/// How much longer or shorter than an attempt the next one is, for the attempts at one step.
class StepLength
{
public:
    static constexpr double kMostGrowth = 2.5;

    /// @param tolerance  of the error of the head [m]
    explicit StepLength(double tolerance) : tolerance_(tolerance) {}

    /// The ratio for the step after @p accepted.
    double AfterAccepted(const Attempt& accepted) const;
    /// The ratio for another attempt, below 1. Where a node saturates or switches during the step,
    /// the error falls more slowly than the order of the method promises: the attempt before shows
    /// how.
    double AfterRejected(const Attempt& rejected, bool isSolved);

private:
    double Ratio(const Attempt& attempt, double order) const;

    double tolerance_;
    bool isFirst_ = true;
    double length_ = 0, error_ = HUGE_VAL; ///< of the last one rejected; no error if not solved
};

/// Why attempts at a step ended with one that would have to be shorter than @p smallest [s].
std::string ShortestStepText(const Model& model, const Attempt& attempt, bool isSolved,
                             double smallest);

} // namespace percova
