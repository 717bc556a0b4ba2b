/// @file
/// The non-linear flow equations: heads whose nodal flows satisfy the boundaries.
#pragma once

#include "analysis/flow/Assembly.h"
#include "analysis/flow/LinearSystem.h"
#include "analysis/flow/NodeConditions.h"
#include "analysis/flow/SeepageFaces.h"
#include "analysis/model/Model.h"
#include "analysis/model/Storage.h"

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace percova
{

struct NewtonSettings
{
    double tolerance = 1e-10; ///< of the residual, see NewtonOutcome
    int maxIterations = 800;
    double headChange = 1e-5; ///< convergence: the largest head change in an iteration [m]
};

struct NewtonOutcome
{
    bool converged = false;
    int iterations = 0;  ///< linear systems solved
    double residual = 0; ///< imbalance of the worst node, or of all nodes if that is more, over
                         ///< the flow through the model
    int worst = -1;      ///< the node of it
    double change = 0;   ///< largest change of a head in the last iteration [m]
    double drawnOut = 0; ///< final widening of the curves, see Easing [m]
    std::string failure; ///< why the linear solver failed, empty when it did not
};

/// One iteration, for progress reports.
struct NewtonRound
{
    int iteration = 0;
    double residual = 0;
    double relaxation = 1;
    Easing easing;            ///< of the problem worked on
    std::size_t switched = 0; ///< nodes of the seepage faces that change sides after it
};

/// Newton's method with a line search, on nested problems that grow stiffer.
///
/// With a least conductivity of 1 the soil is saturated and the equations linear, except for the
/// seepage faces. After a few iterations the least conductivity is lowered in increments, each
/// problem starting from the heads of the previous one, down to the soils' own. With inflow, soil
/// that starts too dry to accept it is the difficulty, so Newton first tries the true problem at
/// once from moist soil. If that fails, the curves start gentle, stretched over many elements, and
/// are sharpened in increments. If no solution is found for the true ones even so, the steepest
/// solved curves are accepted if they fall within an element: see NewtonOutcome::drawnOut.
class Newton
{
public:
    /// Called after every iteration.
    using Watch = std::function<void(const NewtonRound&)>;

    Newton(const Model& model, const NodeConditions& conditions, Assembly& assembly,
           LinearSystem& system, const NewtonSettings& settings, const Watch& watch,
           const StorageTerm* storage = nullptr);

    /// Finds the heads.
    /// @param near  heads that may be near, such as those of the previous step; empty for a cold
    ///              start, which also follows when they fail
    NewtonOutcome Solve(const std::vector<double>& near = {});

    /// The same, but gives up after @p maxIterations from @p near.
    NewtonOutcome SolveNear(const std::vector<double>& near, int maxIterations);
    /// Solves with the matrix of the last iteration; x is 0 at the nodes held.
    bool SolveLinearised(const std::vector<double>& rightSide, std::vector<double>& x,
                         std::string& reason);

    const std::vector<double>& Head() const { return head_; }
    /// Flow that enters every node from outside; the rounding left at nodes without a boundary.
    const std::vector<double>& Inflow() const { return inflow_; }
    /// Water of every node, of the storage term [m3/m].
    const std::vector<double>& Water() const { return water_; }
    double AssembleSeconds() const { return assembleSeconds_; }
    double SolveSeconds() const { return solveSeconds_; }

private:
    /// A problem, its tolerance and iteration limit.
    struct Goal
    {
        Easing easing;
        double tolerance;
        int maxIterations;
        bool mayLeave = false; ///< as a start for the next one, before its faces have settled
    };

    void FindBounds();
    void ColdStart();
    bool FromHeadsNear(const std::vector<double>& near, int maxIterations);
    bool InTurn(double least);
    /// The state after an intermediate problem. The faces belong to the heads: wet nodes are at
    /// zero pressure.
    struct State
    {
        std::vector<double> head;
        SeepageFaces faces;
        bool isSettled = true;
    };
    State Present() const { return {head_, faces_, !left_}; }
    void Restore(const State& state);
    bool MayContinue() const;
    bool Descend(double from, double least, const Easing& easing, bool toTheEnd);
    bool Sharpen(double least);
    bool FromMoistSoil();
    bool Reach(const Goal& goal);
    bool Step(const Goal& goal);
    bool Search(const Goal& goal);
    std::size_t SwitchFaces(const Goal& goal);
    void Evaluate(const Goal& goal);
    void InflowOf(const std::vector<double>& head, const Easing& easing,
                  std::vector<double>& inflow);
    void AddStorage(const std::vector<double>& head, std::vector<double>& inflow);
    struct Scales
    {
        double node = 0, all = 0; ///< [m3/s per m]
    };
    Scales StorageScales() const;
    double LeastKr() const;
    void Measure();
    double SumOfSquares(const std::vector<double>& inflow) const;

    const Model& model_;
    const NodeConditions& conditions_;
    Assembly& assembly_;
    LinearSystem& system_;
    NewtonSettings settings_;
    Watch watch_;
    const StorageTerm* storage_;

    SeepageFaces faces_;
    std::vector<double> head_, inflow_; ///< by node, as all that follow
    std::vector<double> residual_;      ///< remaining inflow; 0 where a head is held
    std::vector<double> step_, trial_, trialInflow_, outflow_;
    /// Of the storage term at the heads evaluated last: water and its derivative by the head.
    std::vector<double> water_, capacity_;
    std::vector<char> held_;
    HeadBounds bounds_; ///< of the heads that a step leads to
    NewtonOutcome outcome_;
    double scale_ = 1;   ///< flow that residuals are measured by [m3/s per m]
    double damping_ = 0; ///< see Compute
    bool left_ = false;  ///< the last problem was, see Goal
    int limit_ = 0;      ///< of the iterations of the current continuation
    double relaxation_ = 1;
    double assembleSeconds_ = 0, solveSeconds_ = 0;
};

} // namespace percova
