/// @file
/// @internal The PARDISO sparse direct solver behind one table of function pointers.
#pragma once

#include "numerics/SolveRecord.h"
#include "numerics/direct/SparseDirect.h"
#include "numerics/solve/DistributedDirect.h"
#include "numerics/system/MatrixView.h"

#include <string>
#include <vector>

namespace numerics
{
using math::SolveMethod;
using math::SolveOutcome;
using math::SolveRecord;

/// The vendor's entry point, arguments in the vendor's order. pt is an array of 64 handles.
using PardisoFunction = void (*)(void* pt, const int* maxfct, const int* mnum, const int* mtype,
                                 const int* phase, const int* n, const void* a, const int* ia,
                                 const int* ja, int* perm, const int* nrhs, int* iparm,
                                 const int* msglvl, void* b, void* x, int* error);

/// The solver in use: the vendor's library, the built-in solver, one over several processes or a
/// test double.
struct PardisoFunctions
{
    PardisoFunction pardiso = nullptr; ///< null for the built-in solver and for distributed
    void (*setThreads)(int) = nullptr; ///< null where there is nothing to set
    void (*freeBuffers)() = nullptr;   ///< null where no memory is kept between calls
    std::wstring name;                 ///< such as "mkl 2020.4"
    const DistributedFunctions* distributed = nullptr; ///< null for every other solver
};

/// The table in use: the library's own solver, or the vendor's with the environment variable
/// KVI_SOLVER=vendor when one is found at the first call (KVI_MKL says where, or "off"), or MUMPS
/// over several processes with KVI_SOLVER=mumps when FoundDistributed finds it.
const PardisoFunctions& ActivePardiso();

/// Replaces the table in use by @p functions; null restores the found one. They must outlive every
/// Pardiso that solved with them. Not while another thread solves.
void ReplacePardiso(const PardisoFunctions* functions);

/// The library's own solver: no function, for it takes the matrix as it is stored.
const PardisoFunctions& BuiltInPardiso();

/// The state of PARDISO for one system of equations: set up once, solve often, release at the end.
class Pardiso
{
public:
    Pardiso() = default;
    ~Pardiso();
    Pardiso(const Pardiso&) = delete;
    Pardiso& operator=(const Pardiso&) = delete;

    /// Puts every parameter to its prescribed value; releases a held factorisation first.
    void SetUp();
    /// The library's own solver and the distributed one take A as it is; they keep the analysis
    /// while the pattern stays and the factor while the values do, and their errors are numbered as
    /// PARDISO's. Other solvers
    /// receive A in one-based compressed rows without its explicit zeros and solves (phase 13:
    /// analysis, factorisation, solution, refinement), then judges x. A first call without SetUp
    /// sets up. PARDISO is not called for NaN or infinity, which counts as its error -1.
    /// @returns the outcome: NotFinite; with PARDISO's error in the reason Singular (with the
    ///          equation, if any, whose row or column is empty), TooLarge or Failed; else what
    ///          Judge finds. x is as PARDISO left it, NaN where it wrote nothing
    SolveRecord Solve(const MatrixView& A, const double* b, double* x);
    /// Frees what PARDISO holds, if it holds anything.
    void Release();

    bool IsHeld() const { return held_; }
    int Error() const { return error_; }

private:
    SolveRecord SolveAsStored(const MatrixView& A, const double* b, double* x);
    void Convert(const MatrixView& A);
    void Explain(SolveRecord& record) const;
    void Call(int n, const double* a, const int* ia, const int* ja, double* b, double* x);

    void* pt_[64] = {};
    int maxfct_ = 0, mnum_ = 0, mtype_ = 0, phase_ = 0;
    int perm_ = 0, nrhs_ = 0;
    int iparm_[64] = {};
    int msglvl_ = 0, error_ = 0;
    bool held_ = false;
    int heldEquations_ = 0;
    const PardisoFunctions* functions_ = nullptr; ///< owner of the factorisation
    std::vector<double> a_;
    std::vector<int> ja_, ia_;
    SparseDirect own_;
    DistributedDirect distributed_;
};

} // namespace numerics
