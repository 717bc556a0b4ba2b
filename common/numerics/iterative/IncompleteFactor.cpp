#include "numerics/iterative/IncompleteFactor.h"

#include "numerics/order/BandOrder.h"
#include "numerics/order/Equilibration.h"
#include "numerics/order/Ordering.h"
#include "numerics/system/StopRequest.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <new>

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

namespace
{

/// The equation at each position of the elimination.
std::vector<int> Order(const MatrixView& A, bool isBanded)
{
    const CompressedGraph compressed = Compress(A, FindSymmetry(A).ofPattern);
    const AdjacencyGraph& graph = compressed.graph;
    const std::vector<int> vertices = isBanded ? BandOrder(graph) : ChooseOrder(graph);
    std::vector<int> first(vertices.size()), order(static_cast<std::size_t>(A.n));
    int before = 0;
    for (const int vertex : vertices)
    {
        first[std::size_t(vertex)] = before;
        before += graph.weight[std::size_t(vertex)];
    }
    for (int i = 0; i < A.n; ++i)
        order[std::size_t(first[std::size_t(compressed.vertexOf[std::size_t(i)])]++)] = i;
    return order;
}

} // namespace

IncompleteFactor::IncompleteFactor(const MatrixView& A, const FactorDetail& detail)
    : pivots_(static_cast<std::size_t>(A.n)), order_(Order(A, detail.isBanded)),
      scale_(Equilibrate(A)), inversePivot_(pivots_), work_(pivots_)
{
    std::vector<int> position(pivots_);
    for (std::size_t k = 0; k < pivots_; ++k)
        position[std::size_t(order_[k])] = int(k);
    for (double& scale : scale_)
        if (scale == 0) // an equation without coefficients
            scale = 1;
    Row row(pivots_);
    for (int i = 0; i < A.n; ++i)
        Eliminate(row, i, A, position, detail);
}

/// Makes the factors' rows at position @p i.
void IncompleteFactor::Eliminate(Row& row, int i, const MatrixView& A,
                                 const std::vector<int>& position, const FactorDetail& detail)
{
    constexpr double kSmallPivot = 1e-8;
    constexpr int kLookEvery = 256; // rows, for a request to stop
    if (i % kLookEvery == 0)
        StopRequest::ThrowIfCurrent();
    const auto equation = std::size_t(order_[std::size_t(i)]);
    const int begin = A.rowStart[equation], end = A.rowStart[equation + 1];
    double sum = 0, largest = 0;
    row.Add(i, i, 0);
    for (int k = begin; k < end; ++k)
    {
        const auto column = std::size_t(A.columns[k]);
        const double value = A.values[k] * (scale_[equation] * scale_[column]);
        row.Add(i, position[column], value);
        sum += std::fabs(value);
        largest = std::max(largest, std::fabs(value));
    }
    const std::size_t before = row.lower.size(), behind = row.upper.size();
    const double drop = detail.drop * sum / std::max(1, end - begin);
    while (!row.lower.empty())
    {
        const int j = row.NextLower();
        double& value = row.values[std::size_t(j)];
        value *= inversePivot_[std::size_t(j)];
        if (!(std::fabs(value) > detail.drop))
            continue;
        const double factor = value;
        row.done.push_back(j);
        for (int k = upper_.start[std::size_t(j)]; k < upper_.start[std::size_t(j) + 1]; ++k)
            row.Add(i, upper_.columns[std::size_t(k)], -factor * upper_.values[std::size_t(k)]);
    }
    const std::size_t most = Stored() < detail.room ? pivots_ : detail.most;
    Store(row, row.done, before + most, 0, lower_);
    Store(row, row.upper, behind + most, drop, upper_);
    double pivot = row.values[std::size_t(i)];
    if (!(std::fabs(pivot) > kSmallPivot * largest))
        pivot = largest > 0 ? std::copysign(largest, pivot) : 1.0;
    inversePivot_[std::size_t(i)] = 1 / pivot;
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
    if (entries.size() > std::size_t(std::numeric_limits<int>::max()) - to.columns.size())
        throw std::bad_alloc();
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
    const auto less = [&](const Triangle& triangle, std::size_t i, double sum) {
        for (int k = triangle.start[i]; k < triangle.start[i + 1]; ++k)
            sum -= triangle.values[std::size_t(k)] *
                   work_[std::size_t(triangle.columns[std::size_t(k)])];
        return sum;
    };
    for (std::size_t i = 0; i < pivots_; ++i)
    {
        const auto equation = std::size_t(order_[i]);
        work_[i] = less(lower_, i, scale_[equation] * r[equation]);
    }
    for (std::size_t i = pivots_; i-- > 0;)
    {
        const auto equation = std::size_t(order_[i]);
        work_[i] = less(upper_, i, work_[i]) * inversePivot_[i];
        z[equation] = scale_[equation] * work_[i];
    }
}

std::size_t IncompleteFactor::Bytes() const
{
    constexpr std::size_t kEntry = sizeof(double) + sizeof(int);
    return (lower_.values.size() + upper_.values.size()) * kEntry +
           pivots_ * (3 * sizeof(double) + 3 * sizeof(int));
}

} // namespace numerics
