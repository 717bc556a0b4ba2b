/// @file
/// Linear programmes, with integer variables where wanted.
#pragma once

#include "foundation/CountedObjPtr.h"
#include "foundation/kvi_export.h"

#include <memory>
#include <vector>

/// coefficient * variable
struct CLPTerm
{
    double coefficient = 0; ///< finite
    unsigned variable = 0;  ///< counted from 0
};

/// A linear objective. Of several terms with one variable the last counts.
struct CLPObjFunc
{
    bool maximise = false;      ///< otherwise minimise
    std::vector<CLPTerm> terms; ///< their sum
};

/// A linear constraint: the sum of the terms stands in a relation to @c rhs. Of several terms with
/// one variable the last counts.
struct CLPConstraint
{
    std::vector<CLPTerm> terms; ///< the left-hand side
    int kind = 0;               ///< 0: less or equal, 1: greater or equal, 2: equal
    double rhs = 0;             ///< the right-hand side
};

/// How solving a linear programme ended.
enum class CLPStatus
{
    NotSolved = 0, ///< or without a definite outcome
    Optimal = 1,
    Infeasible = 2,
    Unbounded = 3
};

/// A linear programme over variables >= 0, solved by lp_solve.
///
/// The process has one model: create() takes it away from the problem made before, and the end of
/// any problem, be it the present one or an earlier, ends it. So let go of one problem before
/// creating the next. A problem without the model tells so in the log whenever it is used, and
/// counts as not solved.
///
/// What cannot belong to a programme is refused with a log record and changes nothing: a
/// coefficient or right-hand side that is not finite, a variable or kind of relation that does not
/// exist. Values of 1e30 and beyond mean infinity.
///
/// Threads: one thread uses linear programmes at a time.
/// @code
/// CountedObjPtr<CLPProblem> problem = CLPProblem::create(2);
/// problem->objFunc({true, {{3, 0}, {2, 1}}});    // maximise 3 x0 + 2 x1
/// problem->add({{{1, 0}, {1, 1}}, 0, 4});        // x0 + x1 <= 4
/// problem->add({{{1, 0}, {3, 1}}, 0, 6});        // x0 + 3 x1 <= 6
/// problem->solve();
/// if (problem->IsOptimal())
///     Use(problem->var(0), problem->var(1));
/// @endcode
class KVI_API CLPProblem
{
public:
    /// A problem without objective and constraints. Never null: more than 100 million variables, or
    /// than memory can hold, give a problem without a model.
    static CountedObjPtr<CLPProblem> create(unsigned numVar);
    ~CLPProblem();
    CLPProblem(const CLPProblem&) = delete;
    CLPProblem& operator=(const CLPProblem&) = delete;

    /// Replaces the objective.
    void objFunc(const CLPObjFunc& objective);
    /// Adds a constraint to those that stand.
    void add(const CLPConstraint& constraint);
    /// Adds each of @p constraints, in order.
    void add(const std::vector<CLPConstraint>& constraints);
    /// Makes variable @p i integer or continuous, as all are at first.
    void intVar(unsigned i, bool isInteger);
    /// Solves the programme as it stands. An outcome that is neither an optimum nor a proof that
    /// there is none goes to the log and leaves the status as it was.
    void solve();

    bool IsOptimal() const; ///< Is the status Optimal?
    /// How the last solve ended.
    CLPStatus Status() const;
    /// The value of variable @p i in the best solution of the last solve; without an optimum
    /// whatever lp_solve left, 0 before the first solve, and NaN where there is no such variable or
    /// no model.
    double var(unsigned i) const;
    unsigned numVar() const; ///< the variables created
    /// The constraints taken so far.
    unsigned numCons() const;

private:
    explicit CLPProblem(unsigned numVar);

    struct State;
    std::unique_ptr<State> state_;
};
