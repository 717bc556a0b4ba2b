#include "numerics/solve/IncompleteFactor.h"

#include <cmath>
#include <cstddef>

namespace numerics
{

IncompleteFactor::IncompleteFactor(const MatrixView& A)
    : A_(A), values_(A.values, A.values + A.rowStart[A.n]), inversePivot_(std::size_t(A.n)),
      lower_(std::size_t(A.n)), upper_(std::size_t(A.n))
{
    constexpr double kSmallPivot = 1e-8;
    std::vector<int> place(std::size_t(A.n), -1); // of the current row's columns
    for (int i = 0; i < A.n; ++i)
    {
        const int begin = A.rowStart[i], end = A.rowStart[i + 1];
        double largest = 0, pivot = 0;
        for (int k = begin; k < end; ++k)
        {
            place[std::size_t(A.columns[k])] = k;
            largest = std::max(largest, std::abs(values_[std::size_t(k)]));
        }
        int k = begin;
        for (; k < end && A.columns[k] < i; ++k)
        {
            const auto row = std::size_t(A.columns[k]);
            const double factor = values_[std::size_t(k)] *= inversePivot_[row];
            for (int l = upper_[row]; factor != 0 && l < A.rowStart[row + 1]; ++l)
                if (const int at = place[std::size_t(A.columns[l])]; at >= begin)
                    values_[std::size_t(at)] -= factor * values_[std::size_t(l)];
        }
        lower_[std::size_t(i)] = k;
        if (k < end && A.columns[k] == i)
            pivot = values_[std::size_t(k++)];
        upper_[std::size_t(i)] = k;
        if (!(std::abs(pivot) > kSmallPivot * largest))
            pivot = largest > 0 ? std::copysign(largest, pivot) : 1.0;
        inversePivot_[std::size_t(i)] = 1 / pivot;
    }
}

void IncompleteFactor::Apply(const double* r, double* z)
{
    const double* values = values_.data();
    for (int i = 0; i < A_.n; ++i)
    {
        double sum = r[i];
        for (int k = A_.rowStart[i]; k < lower_[std::size_t(i)]; ++k)
            sum -= values[k] * z[A_.columns[k]];
        z[i] = sum;
    }
    for (int i = A_.n; i-- > 0;)
    {
        double sum = z[i];
        for (int k = upper_[std::size_t(i)]; k < A_.rowStart[i + 1]; ++k)
            sum -= values[k] * z[A_.columns[k]];
        z[i] = sum * inversePivot_[std::size_t(i)];
    }
}

} // namespace numerics
