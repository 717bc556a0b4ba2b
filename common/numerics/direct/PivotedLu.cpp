#include "numerics/direct/PivotedLu.h"

#include <Eigen/SparseLU>

#include <algorithm>

namespace numerics
{

bool SolveWithPivoting(const MatrixView& A, const double* scale, const double* b, double* x,
                       SolutionErrors& errors)
{
    using Rows = Eigen::SparseMatrix<double, Eigen::RowMajor, int>;
    using Columns = Eigen::SparseMatrix<double, Eigen::ColMajor, int>;
    const Eigen::Map<const Rows> rows(A.n, A.n, A.rowStart[A.n], A.rowStart, A.columns, A.values);
    const Eigen::VectorXd s = Eigen::Map<const Eigen::VectorXd>(scale, A.n);
    Columns scaled = s.asDiagonal() * Columns(rows) * s.asDiagonal();
    scaled.prune([](Eigen::Index, Eigen::Index, double value) { return value != 0; });
    const Eigen::SparseLU<Columns> factor(scaled);
    if (factor.info() != Eigen::Success)
        return false;
    const auto correct = [&](double* r) {
        Eigen::Map<Eigen::VectorXd> at(r, A.n);
        at = s.cwiseProduct(factor.solve(s.cwiseProduct(at)).eval());
    };
    std::copy(b, b + A.n, x);
    correct(x);
    errors = Refine(A, b, x, correct);
    return true;
}

} // namespace numerics
