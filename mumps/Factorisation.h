/// @file
/// One system of equations in MUMPS, as every process of the job holds a part of it.
#pragma once

#include "Processes.h"
#include "numerics/solve/DistributedInterface.h"

#include <dmumps_c.h>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace mumps
{

/// A system in MUMPS. Each step is taken by all processes together; the matrix, right-hand sides
/// and solutions are the engine's, the factors are distributed.
class Factorisation
{
public:
    /// @param isSymmetric  SYM = 2, symmetric and not necessarily definite, else SYM = 0
    Factorisation(const Processes& processes, bool isSymmetric);
    ~Factorisation();
    Factorisation(const Factorisation&) = delete;
    Factorisation& operator=(const Factorisation&) = delete;

    /// In the engine, before Analyse: the pattern and the values.
    void SetMatrix(const numerics::DistributedMatrix& A);
    /// In the engine, before Factorise: other values in the same pattern.
    void SetValues(const double* values);
    /// In the engine, before Solve and NullVector: what is read and overwritten.
    void SetVector(double* x) { mumps_.rhs = x; }

    /// In the engine, before Analyse: whether the ordering of the equations finds the memory it
    /// takes. MUMPS's ordering (PORD) ends the process where it does not.
    bool HasRoomToOrder() const;
    void Analyse();
    void Factorise(bool findsNullPivots, int spare);
    void Solve(bool forNullVector);

    numerics::DistributedResult Result() const; ///< of the last step
    /// Whether more memory may help the last factorisation.
    bool NeedsSpare() const;
    /// In the engine: what the last step found.
    void Describe(numerics::DistributedReport& report) const;

private:
    void Run(int job);

    const Processes& processes_;
    DMUMPS_STRUC_C mumps_{};
    std::string noRoom_; ///< why the factorisation was not tried
    bool isRefused_ = false;
    double held_ = 0; ///< bytes of this process in the current factor
    std::vector<int> rows_, columns_, places_;
    std::vector<double> values_;
};

using Factorisations = std::map<int, std::unique_ptr<Factorisation>>;

/// Takes the step that all processes were ordered to take.
void Execute(const Processes& processes, const Order& order, Factorisations& all);

} // namespace mumps
