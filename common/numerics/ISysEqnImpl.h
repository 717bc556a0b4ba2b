/// @file
/// The global system of linear equations of a finite-element analysis.
#pragma once

#include "foundation/kvi_export.h"
#include "numerics/SolveRecord.h"
#include "numerics/tagRecords.h"

#include <memory>

/// The system A x = b: a sparse matrix filled element by element, and three families of solvers.
///
/// Every operation returns 0, except a PARDISO solve that failed; LastSolve() and the log report
/// what went wrong, and in which equation; the log at level verbose also which solver ran. Solved
/// is a checked fact: a direct solver's x has a row-wise backward error of at most 1e-10 and is not
/// a mode that only rounding resists; an iterative one's has the residual asked for, and no
/// equation is left unsolved because its coefficients are small. A direct solve that computes
/// nothing (NotFinite, TooLarge, an error of the vendor's) leaves NaN in every unknown, so that an
/// older solution is not mistaken for a new one; an iterative one leaves its best approximation,
/// the start included, and NaN only when memory runs out or it is stopped. An index outside the
/// system, a coefficient outside the pattern, a matrix that does not fit its list, lists of unequal
/// length and null pointers are dropped, and the outcome of solves is Failed until ResetToZero; so
/// it is before the first Initialize.
///
/// Memory, in bytes an equation of a plane mesh of 4-node elements with one unknown a node: 250 to
/// 300 for pattern and matrix; what the solver keeps until the pattern changes is 240 for the
/// iterative ones, 870 at 1e5 equations and 900 at 1e6 for the sparse direct one (as log n in the
/// plane, as n^(1/3) in space), 2900 at 1e5 for the profile solver (8 an entry of the profile, or
/// 16 if not symmetric: as the square root of n).
///
/// Threads: one thread uses an object at a time, except for RequestStop. The solvers run threads of
/// their own; the bits of every result are the same for any number of them.
/// @code
/// ISysEqnImpl system;
/// system.Initialize(&equationsOfElements);
/// for (int e = 0; e < elements; ++e)
///     system.InsertIntoSysCoefMtx(e, &stiffness[e]);
/// system.AddToRHSVector(&loaded, &loads);
/// system.FixUnknowns(&supported, &given);
/// system.SolveForUnknownVector_Direct_Sym();
/// system.GetUnknownVector(&x);
/// @endcode
class KVI_API ISysEqnImpl
{
public:
    ISysEqnImpl();
    virtual ~ISysEqnImpl();
    ISysEqnImpl(const ISysEqnImpl&) = delete;
    ISysEqnImpl& operator=(const ISysEqnImpl&) = delete;

    /// @name The pattern
    /// @{

    /// Builds the pattern: each pair of equations in one element's list is a stored position. The
    /// system has as many equations as the largest index + 1; one that no element touches has no
    /// stored position. Repeated equations within a list are legal, and so is an empty list.
    ///
    /// Indices may leave out equations, at a cost in proportion to the largest; above 50 million
    /// one that is a thousand times the number of list entries counts as damaged, unless @p count
    /// of the other form allows it. That, negative indices, more than 2^31 - 1 positions, and sizes
    /// that memory cannot hold are refused: the system is then empty and every solve reports why.
    virtual long Initialize(const tagMultiVectorInt* equations);
    /// The same with at least @p count equations, touched by elements or not.
    virtual long Initialize(const tagMultiVectorInt* equations, int count);
    /// Number of equations.
    virtual int EquationCount() const;

    /// @}
    /// @name Filling
    /// @{

    /// Sets the matrix and b to 0, and releases all unknowns that FixUnknowns fixed. The pattern
    /// and x stay.
    virtual long ResetToZero();
    /// Adds @p m into the rows and columns of the element's list; entries of a repeated equation
    /// add up.
    virtual long InsertIntoSysCoefMtx(int element, const tagMatrixDbl* m);
    /// Adds the matrices of @p count elements that follow each other from @p first on, stored
    /// consecutively, each row-major with the size of its element's list. Uses all threads; gives
    /// the bits of InsertIntoSysCoefMtx called in ascending order.
    virtual long InsertElementsIntoSysCoefMtx(int first, int count, const double* matrices);
    /// Adds @p m into the rows and columns of @p equations, all of them stored positions.
    virtual long InsertIntoSysCoefMtxByEqnIndxs(const tagVectorInt* equations,
                                                const tagMatrixDbl* m);
    /// b[equations[k]] += v[k]
    virtual long AddToRHSVector(const tagVectorInt* equations, const tagVectorDbl* v);
    /// x[equations[k]] = v[k]: the start of an iterative solve. A direct solve overwrites it.
    virtual long SetUnknownVector(const tagVectorInt* equations, const tagVectorDbl* v);
    /// Prescribes x[equations[k]] = v[k] for every solve until ResetToZero, in any order with the
    /// filling. The solvers see the reduced system, symmetric when A is; A and b stay as filled.
    virtual long FixUnknowns(const tagVectorInt* equations, const tagVectorDbl* v);

    /// @}
    /// @name Solving
    /// @{

    /// Factorises in the given numbering without pivoting, L D L^T, reading the upper triangle
    /// only; A need not be definite. Where nothing but rounding resists a mode, one of its unknowns
    /// is set to 0 and the outcome is Singular: x is correct when the loads on such a part balance,
    /// as the residual shows. ZeroPivot when elimination needs row exchanges, which PARDISO makes.
    virtual long SolveForUnknownVector_Direct_Sym();
    /// The same, L D U, for a matrix that is not symmetric.
    virtual long SolveForUnknownVector_Direct_NonSym();
    /// Starts from the current x, and ends when ||b - A x|| <= @p tol ||b|| (2-norms) and the
    /// row-wise error is at most sqrt(@p tol), after @p maxIter iterations (NotConverged), or when
    /// the residual stops decreasing (Stagnated), for example at the level of rounding when @p tol
    /// is below it.
    virtual long SolveForUnknownVector_Iterative_Sym(double tol, int maxIter);
    /// The same for a matrix that need not be symmetric.
    virtual long SolveForUnknownVector_Iterative_NonSym(double tol, int maxIter);
    /// With as many iterations as equations.
    virtual long SolveForUnknownVector_Iterative_Sym(double tol);
    /// Runs the symmetric solver, as SolveForUnknownVector_Iterative_Sym(tol) does.
    virtual long SolveForUnknownVector_Iterative_NonSym(double tol);
    /// Prepares PARDISO's parameters; releases an existing factorisation.
    virtual long SolveForUnknownVector_PARDISO_SetUp();
    /// Solves with the library's own sparse direct solver, or with MKL's PARDISO where
    /// KVI_SOLVER=vendor asks for it, or with MUMPS over several processes where KVI_SOLVER=mumps
    /// does (SparseSolverName says which). The own solver and MUMPS keep the analysis until
    /// Initialize changes the pattern, and the factor until a value of the matrix or a fixed
    /// unknown changes: another right-hand side then costs a substitution. SetUp, Release and the
    /// end of the object free both.
    /// @returns 1 when PARDISO reported an error or refused the system, otherwise 0; whether x is
    ///          a solution, LastSolve() says
    virtual long SolveForUnknownVector_PARDISO();
    /// Frees PARDISO's memory, if it holds any.
    virtual long SolveForUnknownVector_PARDISO_Release();
    /// Threads that this object's solvers may use; 0, as at the start, means all processors. Where
    /// PARDISO is MKL's, a count above 0 becomes that of the whole process, as
    /// SetSparseSolverThreads makes it.
    virtual long SetThreads(int count);
    /// Stops the solve that another thread is running on this object; without one, does nothing.
    /// The solve returns after the step at hand (a front or row of tiles of a direct solver, an
    /// iteration) with the outcome Interrupted and NaN in every unknown. MKL's solver, and
    /// elimination with partial pivoting as the direct solver's last resort, run to their end, and
    /// so does each of MUMPS's three phases.
    virtual long RequestStop();

    /// @}
    /// @name Results
    /// @{

    /// A copy of x.
    virtual long GetUnknownVector(tagVectorDbl* out) const;
    /// A copy of b.
    virtual long GetRhsVector(tagVectorDbl* out) const;
    /// Copies of A as filled, in compressed rows: entries rowStarts[i] to rowStarts[i + 1] are
    /// those of row i, columns ascending, stored zeros included. Null for a part that is not
    /// wanted.
    virtual long GetMatrix(tagVectorInt* rowStarts, tagVectorInt* columns,
                           tagVectorDbl* values) const;
    /// A x - b, equation by equation: at a fixed unknown the support's reaction, at a solved one
    /// the remaining rounding.
    virtual long GetReactionVector(tagVectorDbl* out) const;
    /// Iterations and relative residual of the last iterative solve.
    virtual long GetSolverIterTol(int* iterations, double* tolerance) const;
    /// Norm of the residual b - A x: largest absolute value (kind 0), sum of absolute values (1),
    /// root of the sum of squares (2); other kinds write nothing. NaN in the residual gives NaN. At
    /// a fixed unknown the residual is the prescribed value minus x.
    virtual long GetResidualVecNorm(int kind, double* norm) const;
    /// The record of the last solve, or of an Initialize that was refused.
    virtual const math::SolveRecord& LastSolve() const;

    /// @}
    /// @name Coordinates
    /// @{

    /// Says where the unknowns of elasticity are, so that the iterative solvers transfer rotations
    /// to coarser levels as well as translations: row i of @p coordinates has the 2 or 3
    /// coordinates of equation i, in any unit of length, and components[i] is the axis of its
    /// displacement, 0, 1 or 2. Equations of a node have equal coordinates. Nothing changes for the
    /// direct solvers. Kept until the next call or Initialize, at 24 bytes an equation in the plane
    /// and 32 in space; empty records remove them. Iterating keeps a third more memory, in space a
    /// half.
    ///
    /// Measured at Poisson's ratio 0.3 against iterating without, in iterations and in time, set-up
    /// included: squares of 4-node elements 17 to 20 for 22 to 36 and 0.7 to 1.0, of 8-node
    /// elements 27 to 32 for 46 to 60 and 0.6 to 0.8, bricks 14 to 17 for 19 to 34 and 0.6 to 0.9;
    /// long strips, beams, walls and stiff inclusions 0.1 to 0.4. Ratios near 0.5 and elements
    /// stretched by hundreds remain slow, and take up to 1.5 times as long.
    ///
    /// -1 for an unknown that is no displacement (a pore pressure, a rotation) is legal, but such a
    /// system is solved as without coordinates, and so is one where most nodes lack a component.
    /// Another component, a coordinate that is not finite or a wrong number of rows or columns make
    /// the outcome of solves Failed, and coordinates set before stay.
    virtual long SetCoordinates(const tagVectorInt* components, const tagMatrixDbl* coordinates);

    /// @}

private:
    struct State;
    std::unique_ptr<State> state_;
};
