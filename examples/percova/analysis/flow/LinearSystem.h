/// @file
/// The equations of one Newton or Picard step: one for each node, solved by the library.
#pragma once

#include "KVI.h"
#include "mesh/Mesh.h"
#include "problem/Problem.h"

#include <cstddef>
#include <string>
#include <vector>

namespace percova
{

/// Node numbering with a small profile (reverse Cuthill-McKee; Cuthill and McKee 1969, George
/// 1971): the equation of every node. Parts of the mesh that do not touch follow one another.
std::vector<int> NarrowNumbering(const Mesh& mesh);

/// Wraps ISysEqnImpl: element lists, numbering, and the choice of the solver family.
class LinearSystem
{
public:
    /// @param threads  0: all
    LinearSystem(const Mesh& mesh, SolverKind kind, int threads);
    ~LinearSystem();
    LinearSystem(const LinearSystem&) = delete;
    LinearSystem& operator=(const LinearSystem&) = delete;

    void Clear();
    /// Adds the matrices of @p count elements from @p first on, stored consecutively.
    void Add(std::size_t first, std::size_t count, const double* matrices);
    /// Solves for @p x with @p rightSide, both by node; x stays 0 at the nodes held.
    /// @param symmetric  whether the matrix is; a cheaper solver may then be used
    /// @param tolerance  for the iterative solver: required relative residual
    /// @returns false with the reason when there is no usable solution
    bool Solve(const std::vector<char>& held, const std::vector<double>& rightSide, bool symmetric,
               double tolerance, std::vector<double>& x, std::string& reason);

    /// Solves with the matrix of the last Solve for another right side.
    bool SolveAgain(const std::vector<char>& held, const std::vector<double>& rightSide,
                    bool symmetric, double tolerance, std::vector<double>& x, std::string& reason);

    std::size_t Equations() const { return equation_.size(); }
    std::size_t Nonzeros() const { return nonzeros_; }
    /// The last solver used, such as "pardiso (mkl 2020.4)".
    const std::string& Solver() const { return solver_; }

private:
    void Run(bool symmetric, double tolerance);

    ISysEqnImpl system_;
    SolverKind kind_;
    std::size_t nonzeros_ = 0;
    std::vector<int> equation_;     ///< by node
    std::vector<double> rightSide_; ///< of the last solve, by node
    std::string solver_;
};

} // namespace percova
