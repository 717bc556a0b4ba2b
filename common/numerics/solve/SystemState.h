/// @file
/// @internal
/// The state of a system of equations.
#pragma once

#include "numerics/ISysEqnImpl.h"
#include "numerics/direct/Profile.h"
#include "numerics/iterative/Krylov.h"
#include "numerics/solve/Pardiso.h"
#include "numerics/system/MatrixView.h"
#include "numerics/system/Pattern.h"
#include "numerics/system/StopRequest.h"

#include <string>
#include <vector>

struct ISysEqnImpl::State
{
    numerics::Pattern pattern;
    numerics::RawVector<double> values; ///< one per stored position
    std::vector<double> x;
    std::vector<double> b;
    std::vector<double> prescribed; ///< values of the fixed unknowns, otherwise 0
    std::vector<int> fixed;         ///< 1 where the unknown is prescribed, otherwise 0
    int fixedCount = 0;

    numerics::ProfileSolver profile;
    numerics::KrylovCache krylov;
    numerics::Pardiso pardiso;
    int threads = 0;
    numerics::StopRequest stop;

    math::SolveRecord refusal; ///< why Initialize left the system empty
    math::SolveRecord fault;   ///< the first contribution dropped since ResetToZero
    math::SolveRecord last;
    int iterations = 0;
    double tolerance = 0;

    numerics::RawVector<double> reducedValues; ///< without the fixed unknowns, while there are any
    std::vector<double> reducedB;

    /// Sets everything except the pattern to 0 and to the size of the pattern.
    void Clear();
    numerics::MatrixView Matrix() const;
    /// The reduced system for the solvers: for each fixed unknown d on the diagonal and 0 elsewhere
    /// in its row and column, its known part moved to the right-hand side; x becomes the start.
    numerics::MatrixView Reduce(const double*& rhs);
    /// Runs solver(A, b, x), which returns a record, on the reduced system, with floating-point
    /// traps off: non-finite values are reported in the record.
    template <class Solver>
    void Solve(Solver solver);
    /// Puts the prescribed values into x and completes the record.
    void Finish(math::SolveRecord record);
    /// Logs a record that is not Solved.
    static void Report(const math::SolveRecord& record);
    /// Records and logs that a contribution was dropped, only the first since ResetToZero.
    void Drop(std::wstring reason, int equation = -1);
    int Size() const { return pattern.n; }
    bool Has(int equation) const { return unsigned(equation) < unsigned(pattern.n); }
};
