#include "numerics/solve/Pardiso.h"

#include <Eigen/SparseCholesky>
#include <Eigen/SparseLU>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <new>

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

    double NormInf() const
    {
        double norm = 0;
        for (int i = 0; i < n; ++i)
        {
            double sum = 0;
            for (int k = ia[i] - 1; k < ia[i + 1] - 1; ++k)
                sum += std::abs(a[k]);
            norm = sum > norm ? sum : norm;
        }
        return norm;
    }
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
/// another order? The refinement of the solution takes the whole matrix and makes up for it.
bool HasEqualHalves(const Columns& A)
{
    constexpr double kRounding = 1e-12; // of the largest entry of the column
    const Columns transposed = A.transpose();
    for (int j = 0; j < int(A.cols()); ++j)
    {
        const int first = A.outerIndexPtr()[j], end = A.outerIndexPtr()[j + 1];
        if (first != transposed.outerIndexPtr()[j] || end != transposed.outerIndexPtr()[j + 1])
            return false;
        double largest = 0, difference = 0;
        for (int k = first; k < end; ++k)
        {
            if (A.innerIndexPtr()[k] != transposed.innerIndexPtr()[k])
                return false;
            largest = std::max(largest, std::abs(A.valuePtr()[k]));
            difference = std::max(difference, std::abs(A.valuePtr()[k] - transposed.valuePtr()[k]));
        }
        if (difference > kRounding * largest)
            return false;
    }
    return true;
}

/// One step of refinement at most; false when the residual stays larger than rounding explains.
template <class Factor>
bool SolveRefined(const Factor& factor, const Columns& A, double normA, const Vector& b, Vector& x)
{
    for (int step = 0; step < 3; ++step)
    {
        const Vector r = step == 0 ? b : Vector(b - A * x);
        if (step > 0)
        {
            const double scale = normA * x.lpNorm<Eigen::Infinity>() + b.lpNorm<Eigen::Infinity>();
            const double error = r.lpNorm<Eigen::Infinity>();
            if (error <= 64 * std::numeric_limits<double>::epsilon() * scale)
                return true;
            if (!std::isfinite(error) || step == 2)
                return error <= 1e-9 * scale;
        }
        const Vector correction = factor.solve(r);
        x = step == 0 ? correction : Vector(x + correction);
    }
    return false;
}

int Solve(Held& held, const Matrix& rows, const double* bData, double* xData)
{
    if (!IsConsistent(rows))
        return kInconsistent;
    const int nonZeros = rows.ia[rows.n] - 1;
    std::vector<int> starts(rows.ia, rows.ia + rows.n + 1), inner(rows.ja, rows.ja + nonZeros);
    for (int& start : starts)
        --start;
    for (int& column : inner)
        --column;
    const Columns A =
        Eigen::Map<const Rows>(rows.n, rows.n, nonZeros, starts.data(), inner.data(), rows.a);
    const Vector b = Eigen::Map<const Vector>(bData, rows.n);
    if (!b.allFinite())
        return kInconsistent;
    const double normA = rows.NormInf();
    Vector x = Vector::Zero(rows.n);
    bool solved = false;
    if (HasEqualHalves(A))
    {
        held.symmetric.compute(A);
        solved =
            held.symmetric.info() == Eigen::Success && SolveRefined(held.symmetric, A, normA, b, x);
    }
    if (!solved)
    {
        // Pivoting also for symmetric matrices that the factor without pivots cannot solve.
        held.general.compute(A);
        solved =
            held.general.info() == Eigen::Success && SolveRefined(held.general, A, normA, b, x);
    }
    if (!solved)
        return kSingular;
    Eigen::Map<Vector>(xData, rows.n) = x;
    return 0;
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
