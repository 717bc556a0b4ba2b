#include "numerics/solve/IncompleteFactor.h"

#include <algorithm>
#include <cmath>
#include <functional>

namespace numerics
{

/// The row being eliminated.
struct IncompleteFactor::Row
{
    Vec values;               ///< of every column, 0 where the row has no entry
    std::vector<int> lastRow; ///< for every column the last row with an entry there
    std::vector<int> lower;   ///< columns before the diagonal still to come, a heap
    std::vector<int> done;    ///< those eliminated
    std::vector<int> upper;   ///< columns after the diagonal

    explicit Row(std::size_t n) : values(n), lastRow(n, -1) {}
    void Add(int i, int column, double value)
    {
        if (lastRow[std::size_t(column)] != i)
        {
            lastRow[std::size_t(column)] = i;
            values[std::size_t(column)] = 0;
            if (column > i)
                upper.push_back(column);
            else if (column < i)
            {
                lower.push_back(column);
                std::push_heap(lower.begin(), lower.end(), std::greater<>());
            }
        }
        values[std::size_t(column)] += value;
    }
    int NextLower()
    {
        std::pop_heap(lower.begin(), lower.end(), std::greater<>());
        const int column = lower.back();
        lower.pop_back();
        return column;
    }
};

IncompleteFactor::IncompleteFactor(const MatrixView& A) : n_(A.n), inversePivot_(std::size_t(A.n))
{
    constexpr double kSmallPivot = 1e-8, kDrop = 1e-3;
    constexpr std::size_t kFill = 20;
    Row row(static_cast<std::size_t>(A.n));
    for (int i = 0; i < A.n; ++i)
    {
        double sum = 0, largest = 0;
        row.Add(i, i, 0);
        for (int k = A.rowStart[i]; k < A.rowStart[i + 1]; ++k)
        {
            row.Add(i, A.columns[k], A.values[k]);
            sum += std::fabs(A.values[k]);
            largest = std::max(largest, std::fabs(A.values[k]));
        }
        const std::size_t before = row.lower.size(), behind = row.upper.size();
        const double drop = kDrop * sum / std::max(1, A.rowStart[i + 1] - A.rowStart[i]);
        while (!row.lower.empty())
        {
            const int j = row.NextLower();
            double& value = row.values[std::size_t(j)];
            if (!(std::fabs(value) > drop))
                continue;
            value *= inversePivot_[std::size_t(j)];
            const double factor = value;
            row.done.push_back(j);
            for (int k = upper_.start[std::size_t(j)]; k < upper_.start[std::size_t(j) + 1]; ++k)
                row.Add(i, upper_.columns[std::size_t(k)], -factor * upper_.values[std::size_t(k)]);
        }
        Store(row, row.done, before + kFill, 0, lower_);
        Store(row, row.upper, behind + kFill, drop, upper_);
        double pivot = row.values[std::size_t(i)];
        if (!(std::fabs(pivot) > kSmallPivot * largest))
            pivot = largest > 0 ? std::copysign(largest, pivot) : 1.0;
        inversePivot_[std::size_t(i)] = 1 / pivot;
    }
}

/// Appends the row's entries above @p drop, the @p most largest of them, columns ascending.
void IncompleteFactor::Store(Row& row, std::vector<int>& entries, std::size_t most, double drop,
                             Triangle& to)
{
    const auto size = [&](int column) { return std::fabs(row.values[std::size_t(column)]); };
    std::erase_if(entries, [&](int column) { return !(size(column) > drop); });
    if (entries.size() > most)
    {
        std::nth_element(
            entries.begin(), entries.begin() + std::ptrdiff_t(most), entries.end(),
            [&](int a, int b) { return size(a) > size(b) || (size(a) == size(b) && a < b); });
        entries.resize(most);
    }
    std::sort(entries.begin(), entries.end());
    for (const int column : entries)
    {
        to.columns.push_back(column);
        to.values.push_back(row.values[std::size_t(column)]);
    }
    to.start.push_back(int(to.columns.size()));
    entries.clear();
}

void IncompleteFactor::Apply(const double* r, double* z)
{
    const auto less = [&](const Triangle& triangle, int i, double sum) {
        for (int k = triangle.start[std::size_t(i)]; k < triangle.start[std::size_t(i) + 1]; ++k)
            sum -= triangle.values[std::size_t(k)] * z[triangle.columns[std::size_t(k)]];
        return sum;
    };
    for (int i = 0; i < n_; ++i)
        z[i] = less(lower_, i, r[i]);
    for (int i = n_; i-- > 0;)
        z[i] = less(upper_, i, z[i]) * inversePivot_[std::size_t(i)];
}

} // namespace numerics
