/// @file
/// Linear programs, with integer variables where wanted.
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

/// A linear constraint: a relation between the sum of the terms and @c rhs. Of several terms with
/// one variable the last counts.
struct CLPConstraint
{
    std::vector<CLPTerm> terms; ///< the left-hand side
    int kind = 0;               ///< 0: less or equal, 1: greater or equal, 2: equal
    double rhs = 0;             ///< the right-hand side
};

/// How solving a linear program ended.
enum class CLPStatus
{
    NotSolved = 0,  ///< or changed since, or without a definite outcome
    Optimal = 1,    ///< the point was checked; that none is better is lp_solve's verdict
    Infeasible = 2, ///< lp_solve's verdict, unchecked
    Unbounded = 3   ///< lp_solve's verdict, or a variable of 1e30 or more in its optimum
};

/// A linear program over variables >= 0, solved by lp_solve.
///
/// The process has one model: create() takes it from the problem made before, and the destruction
/// of any problem, the owner or an earlier one, deletes it. So release one problem before creating
/// the next. A problem without the model writes a log record whenever it is used, and counts as not
/// solved.
///
/// Every solve runs on a fresh model, so it gives what a new problem with the same objective,
/// constraints and integers gives, to the bit. Before a problem counts as optimal, the point is
/// checked against the program as it was stated: with e = 1e-7, every variable is at least -e, an
/// integer one within e of an integer, and every constraint a x <= b (or >=, =) holds within e (|b|
/// + sum |a_i| max(1, |x_i|)). A point that fails is computed once more without scaling; if that
/// fails too, the problem is not solved and the reason is logged. The check reads every coefficient
/// once; the problem keeps them, 12 bytes each, beside lp_solve's copy.
///
/// Invalid input is refused with a log record and changes nothing: a coefficient or right-hand side
/// that is not finite, a variable or kind of relation that does not exist, more than memory can
/// hold. Values of 1e30 and beyond mean infinity; lp_solve treats coefficients up to 1e-12 as zero,
/// those of an objective after scaling its largest to about 1 where it is below 1e-6.
///
/// Threads: one thread uses linear programs at a time.
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

    /// Replaces the objective. A change of the program, here and below, makes it not solved.
    void objFunc(const CLPObjFunc& objective);
    /// Adds a constraint.
    void add(const CLPConstraint& constraint);
    /// Adds each of @p constraints, in order.
    void add(const std::vector<CLPConstraint>& constraints);
    /// Makes variable @p i integer or continuous; initially all are continuous.
    void intVar(unsigned i, bool isInteger);
    /// Solves the program. An outcome that is neither a checked optimum nor a proof that there is
    /// none goes to the log and leaves the status as it was: not solved after a change.
    void solve();

    bool IsOptimal() const; ///< whether the status is Optimal
    /// How the last solve ended; NotSolved after a change.
    CLPStatus Status() const;
    /// The value of variable @p i in the best solution of the last solve. Without an optimum it is
    /// the value left by lp_solve, 0 before the first solve, and NaN when there is no such variable
    /// or no model.
    double var(unsigned i) const;
    unsigned numVar() const;  ///< the variables created
    unsigned numCons() const; ///< the constraints accepted so far

private:
    explicit CLPProblem(unsigned numVar);
    int Run(bool isScaled);

    struct State;
    std::unique_ptr<State> state_;
};
