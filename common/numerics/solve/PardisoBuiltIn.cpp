#include "numerics/solve/Pardiso.h"
#include "numerics/solve/Verdict.h"

#include <Eigen/SparseCholesky>
#include <Eigen/SparseLU>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <new>
#include <vector>

namespace numerics
{
namespace
{

using Rows = Eigen::SparseMatrix<double, Eigen::RowMajor, int>;
using Columns = Eigen::SparseMatrix<double, Eigen::ColMajor, int>;
using Vector = Eigen::VectorXd;

// The vendor's error numbers.
constexpr int kInconsistent = -1;
constexpr int kNoMemory = -2;
constexpr int kSingular = -4;

/// What stays in the first handle between the phases.
struct Held
{
    Eigen::SimplicialLDLT<Columns> symmetric;
    Eigen::SparseLU<Columns> general;
};

struct Matrix
{
    int n;
    const double* a;
    const int* ia;
    const int* ja;
};

/// The rules of the vendor's matrix checker: starts that grow, columns inside and ascending,
/// values that are finite.
bool IsConsistent(const Matrix& A)
{
    if (A.ia[0] != 1)
        return false;
    for (int i = 0; i < A.n; ++i)
    {
        if (A.ia[i + 1] < A.ia[i])
            return false;
        for (int k = A.ia[i] - 1; k < A.ia[i + 1] - 1; ++k)
        {
            const bool ascends = k == A.ia[i] - 1 || A.ja[k] > A.ja[k - 1];
            if (A.ja[k] < 1 || A.ja[k] > A.n || !ascends || !std::isfinite(A.a[k]))
                return false;
        }
    }
    return true;
}

/// Are the entries of each pair (i, j), (j, i) equal but for the rounding of sums that were made in
/// another order? One that is not stored is 0: exact zeros are not handed over. The refinement of
/// the solution takes the whole matrix and makes up for the difference.
bool HasEqualHalves(const Columns& A)
{
    constexpr double kRounding = 1e-12; // of the largest entry of the column
    const Columns transposed = A.transpose();
    const Columns difference = A - transposed;
    for (int j = 0; j < int(A.cols()); ++j)
    {
        double largest = 0, skewed = 0;
        for (Columns::InnerIterator entry(A, j); entry; ++entry)
            largest = std::max(largest, std::abs(entry.value()));
        for (Columns::InnerIterator entry(difference, j); entry; ++entry)
            skewed = std::max(skewed, std::abs(entry.value()));
        if (skewed > kRounding * largest)
            return false;
    }
    return true;
}

/// Powers of two that bring the largest entry of every row and column of S A S near 1.
/// Source: Ruiz (2001), Rutherford Appleton Laboratory, RAL-TR-2001-034.
Vector Equilibrate(Columns& A)
{
    Vector scale = Vector::Ones(A.cols());
    bool isLevel = false;
    for (int pass = 0; pass < 5 && !isLevel; ++pass)
    {
        Vector largest = Vector::Zero(A.cols());
        for (int j = 0; j < int(A.cols()); ++j)
            for (Columns::InnerIterator entry(A, j); entry; ++entry)
                for (const Eigen::Index at : {entry.row(), entry.col()})
                    largest(at) = std::max(largest(at), std::abs(entry.value()));
        for (double& size : largest)
            size = size > 0 ? std::ldexp(1.0, -std::ilogb(size) / 2) : 1.0;
        isLevel = (largest.array() == 1).all();
        A = largest.asDiagonal() * A * largest.asDiagonal();
        scale.array() *= largest.array();
    }
    return scale;
}

int Solve(Held& held, const Matrix& rows, const double* b, double* x)
{
    if (!IsConsistent(rows) || !IsFinite(b, std::size_t(rows.n)))
        return kInconsistent;
    const int nonZeros = rows.ia[rows.n] - 1;
    std::vector<int> starts(rows.ia, rows.ia + rows.n + 1), inner(rows.ja, rows.ja + nonZeros);
    for (int& start : starts)
        --start;
    for (int& column : inner)
        --column;
    const MatrixView view{rows.n, starts.data(), inner.data(), rows.a};
    Columns A =
        Eigen::Map<const Rows>(rows.n, rows.n, nonZeros, starts.data(), inner.data(), rows.a);
    const bool isSymmetric = HasEqualHalves(A);
    const Vector scale = Equilibrate(A);
    const auto solve = [&](auto& factor) {
        factor.compute(A);
        if (factor.info() != Eigen::Success)
            return false;
        const auto correct = [&](double* r) {
            Eigen::Map<Vector> at(r, rows.n);
            at = scale.cwiseProduct(factor.solve(scale.cwiseProduct(at)).eval());
        };
        std::copy(b, b + rows.n, x);
        correct(x);
        constexpr int kSteps = 5;
        constexpr double kEnough = 1e-15; // the factor is of the upper triangle, or its mirror
        return Refine(view, b, x, correct, kSteps, kEnough).rowWise <= kSolvedRowWise;
    };
    if (isSymmetric && solve(held.symmetric))
        return 0;
    // Pivoting also for symmetric matrices that the factor without pivots cannot solve.
    return solve(held.general) || held.general.info() == Eigen::Success ? 0 : kSingular;
}

void BuiltIn(void* pt, const int*, const int*, const int* mtype, const int* phase, const int* n,
             const void* a, const int* ia, const int* ja, int*, const int* nrhs, int*, const int*,
             void* b, void* x, int* error)
{
    void*& handle = static_cast<void**>(pt)[0];
    if (*phase == -1)
    {
        delete static_cast<Held*>(handle);
        handle = nullptr;
        *error = 0;
        return;
    }
    *error = kInconsistent;
    if (*phase != 13 || *mtype != 11 || *nrhs != 1 || *n < 1)
        return;
    try
    {
        if (handle == nullptr)
            handle = new Held;
        const Matrix A{*n, static_cast<const double*>(a), ia, ja};
        *error = Solve(*static_cast<Held*>(handle), A, static_cast<const double*>(b),
                       static_cast<double*>(x));
    }
    catch (const std::bad_alloc&)
    {
        *error = kNoMemory;
    }
}

} // namespace

const PardisoFunctions& BuiltInPardiso()
{
    static const PardisoFunctions functions{&BuiltIn, nullptr, nullptr, L"built in"};
    return functions;
}

} // namespace numerics
