#include "numerics/numerics_Profile.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace math::impl
{
namespace
{

double At(const MatrixView& A, int row, int column)
{
    const int* first = A.columns + A.rowStart[row];
    const int* last = A.columns + A.rowStart[row + 1];
    const int* found = std::lower_bound(first, last, column);
    return found == last || *found != column ? 0 : A.values[found - A.columns];
}

} // namespace

bool ProfileSolver::MakeProfile(const MatrixView& A)
{
    diagonal_.resize(std::size_t(A.n));
    long long sum = 0;
    for (int i = 0; i < A.n; ++i)
    {
        const int first = A.rowStart[i] < A.rowStart[i + 1] ? A.columns[A.rowStart[i]] : i;
        sum += i - std::min(first, i) + 1;
        if (sum > std::numeric_limits<int>::max())
            return false;
        diagonal_[std::size_t(i)] = int(sum - 1);
    }
    return true;
}

SolveRecord ProfileSolver::Solve(const MatrixView& A, bool symmetric, const double* b, double* x,
                                 int)
{
    SolveRecord record;
    record.method = symmetric ? SolveMethod::ProfileSymmetric : SolveMethod::ProfileNonSymmetric;
    if (!MakeProfile(A))
    {
        record.outcome = SolveOutcome::TooLarge;
        record.reason = L"the profile would hold more than 2^31 - 1 entries";
        return record;
    }
    const std::size_t size = A.n == 0 ? 0 : std::size_t(diagonal_.back()) + 1;
    lower_.assign(size, 0);
    upper_.assign(size, 0);
    // Row i of L without its diagonal, row i of U transposed, D on the diagonal of lower_.
    std::vector<int> first(std::size_t(A.n));
    for (int i = 0; i < A.n; ++i)
    {
        const int height =
            diagonal_[std::size_t(i)] - (i == 0 ? -1 : diagonal_[std::size_t(i) - 1]);
        first[std::size_t(i)] = i - height + 1;
        double* l = lower_.data() + diagonal_[std::size_t(i)] - i;
        double* u = upper_.data() + diagonal_[std::size_t(i)] - i;
        double largest = 0;
        for (int k = A.rowStart[i]; k < A.rowStart[i + 1]; ++k)
            largest = std::max(largest, std::fabs(A.values[k]));
        for (int j = first[std::size_t(i)]; j <= i; ++j)
        {
            u[j] = At(A, j, i);
            l[j] = symmetric ? u[j] : At(A, i, j);
            const double* lj = lower_.data() + diagonal_[std::size_t(j)] - j;
            const double* uj = upper_.data() + diagonal_[std::size_t(j)] - j;
            for (int k = std::max(first[std::size_t(i)], first[std::size_t(j)]); k < j; ++k)
            {
                l[j] -=
                    l[k] * (j == i ? u[k] * lower_[std::size_t(diagonal_[std::size_t(k)])] : uj[k]);
                if (j < i)
                    u[j] -= u[k] * lj[k];
            }
            if (j == i)
                for (int k = first[std::size_t(i)]; k < i; ++k)
                    l[k] *= lower_[std::size_t(diagonal_[std::size_t(k)])],
                        u[k] *= lower_[std::size_t(diagonal_[std::size_t(k)])];
        }
        if (!(std::fabs(l[i]) > std::numeric_limits<double>::epsilon() * height * largest))
        {
            if (record.outcome == SolveOutcome::Solved && A.rowStart[i] < A.rowStart[i + 1])
            {
                record.outcome = SolveOutcome::ZeroPivot;
                record.equation = i;
                record.reason = L"a pivot is zero within rounding";
            }
            l[i] = 0;
        }
        else
            l[i] = 1 / l[i];
    }
    std::copy(b, b + A.n, x);
    for (int i = 0; i < A.n; ++i)
        for (int k = first[std::size_t(i)]; k < i; ++k)
            x[i] -= lower_[std::size_t(diagonal_[std::size_t(i)] - i + k)] * x[k];
    for (int i = 0; i < A.n; ++i)
        x[i] *= lower_[std::size_t(diagonal_[std::size_t(i)])];
    for (int i = A.n; i-- > 0;)
        for (int k = first[std::size_t(i)]; k < i; ++k)
            x[k] -= upper_[std::size_t(diagonal_[std::size_t(i)] - i + k)] * x[i];
    return record;
}

} // namespace math::impl
