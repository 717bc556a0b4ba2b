#include "numerics/iterative/Aggregation.h"

#include <cmath>
#include <cstddef>
#include <utility>

namespace numerics
{
namespace
{

// A row whose other entries sum to less than this part of its diagonal needs no coarse level.
constexpr double kDominated = 0.1;
// Couplings of the interpolation, with one unknown a node, against the largest of the row: from
// kOwn on always, since a node beside a much stiffer region follows that region; from kShared on
// where the coupling is strong for both its nodes. The diagonal couplings of a stretched bilinear
// element are a quarter of the largest, but a half in the rows at a natural boundary.
constexpr double kOwn = 0.55, kShared = 0.3;

/// Calls f(node) for the nodes of A, which have @p unknowns each, in parallel where A is large.
template <class F>
void ForNodes(const MatrixView& A, int unknowns, F f)
{
    constexpr int kBlock = 1024; // nodes
    ForBlocks(A.n / unknowns, A.rowStart[A.n], kBlock, [&](int, int begin, int end) {
        for (int node = begin; node < end; ++node)
            f(node);
    });
}

/// The couplings between nodes: sizes of the blocks of A, each measured by its scaled entries.
class Couplings
{
public:
    Couplings(const MatrixView& A, int unknowns) : A_(A), unknowns_(unknowns)
    {
        scale_.resize(std::size_t(A.n));
        ForNodes(A, 1, [&](int i) {
            double& scale = scale_[std::size_t(i)];
            scale = 0;
            for (int k = A.rowStart[i]; k < A.rowStart[i + 1]; ++k)
                if (A.columns[k] == i && A.values[k] != 0)
                    scale = std::copysign(1 / std::sqrt(std::abs(A.values[k])), A.values[k]);
        });
    }

    int Unknowns() const { return unknowns_; }
    int Nodes() const { return A_.n / unknowns_; }
    int Length(int node) const
    {
        return (A_.rowStart[node * unknowns_ + 1] - A_.rowStart[node * unknowns_]) / unknowns_;
    }
    /// Of all couplings of the nodes before @p node, the number.
    int Start(int node) const { return A_.rowStart[node * unknowns_] / (unknowns_ * unknowns_); }
    int Neighbour(int node, int k) const
    {
        return A_.columns[A_.rowStart[node * unknowns_] + k * unknowns_] / unknowns_;
    }
    /// Largest scaled entry of the block of @p node and its k-th neighbour. With one unknown a node
    /// an entry of the diagonal's sign is no coupling: it appears in stretched elements, across
    /// the direction of strong flow.
    double Size(int node, int k) const
    {
        if (unknowns_ == 1)
        {
            const int at = A_.rowStart[node] + k;
            return -A_.values[at] * scale_[std::size_t(A_.columns[at])] *
                   std::abs(scale_[std::size_t(node)]);
        }
        double size = 0;
        for (int row = node * unknowns_; row < (node + 1) * unknowns_; ++row)
        {
            const int begin = A_.rowStart[row] + k * unknowns_;
            for (int at = begin; at < begin + unknowns_; ++at)
                size = std::max(size, std::abs(A_.values[at] * scale_[std::size_t(A_.columns[at])] *
                                               scale_[std::size_t(row)]));
        }
        return size;
    }

private:
    const MatrixView& A_;
    int unknowns_;
    RawVector<double> scale_;
};

/// Marks the couplings that are strong for both their nodes, so that a node between strong regions
/// does not connect them. @returns for each node whether it has any
RawVector<char> MarkStrong(const MatrixView& A, const Couplings& couplings, double threshold,
                           Aggregates& result)
{
    const int nodes = couplings.Nodes();
    const auto count = std::size_t(couplings.Start(nodes));
    RawVector<double> sizes(count), largest(static_cast<std::size_t>(nodes));
    ForNodes(A, couplings.Unknowns(), [&](int i) {
        double most = 0;
        double* size = sizes.data() + couplings.Start(i);
        for (int k = 0; k < couplings.Length(i); ++k)
        {
            size[k] = couplings.Neighbour(i, k) == i ? 0.0 : couplings.Size(i, k);
            most = std::max(most, size[k]);
        }
        largest[std::size_t(i)] = most;
    });
    result.isStrong.resize(count);
    RawVector<char> takesPart(static_cast<std::size_t>(nodes));
    ForNodes(A, couplings.Unknowns(), [&](int i) {
        const int length = couplings.Length(i);
        const double* const size = sizes.data() + couplings.Start(i);
        const double* const most = largest.data();
        char* const strong = result.isStrong.data() + couplings.Start(i);
        const double here = most[i];
        char isCoupled = 0;
        for (int k = 0; k < length; ++k)
        {
            const double there = most[couplings.Neighbour(i, k)];
            strong[k] = size[k] > 0 && size[k] >= threshold * std::max(here, there);
            isCoupled |= strong[k];
        }
        takesPart[std::size_t(i)] = isCoupled;
    });
    return takesPart;
}

/// Excludes nodes whose rows are dominated by their diagonal.
void ExcludeDominantRows(const MatrixView& A, int unknowns, RawVector<char>& takesPart)
{
    ForNodes(A, unknowns, [&](int node) {
        bool isDominated = true;
        for (int i = node * unknowns; i < (node + 1) * unknowns; ++i)
        {
            double diagonal = 0, others = 0;
            for (int k = A.rowStart[i]; k < A.rowStart[i + 1]; ++k)
                (A.columns[k] == i ? diagonal : others) += std::abs(A.values[k]);
            isDominated = isDominated && others <= kDominated * diagonal;
        }
        if (isDominated)
            takesPart[std::size_t(node)] = 0;
    });
}

} // namespace

bool HasUniformGroups(const MatrixView& A, int size)
{
    if (A.n % size != 0)
        return false;
    for (int i = 0; i < A.n; i += size)
    {
        const int* first = A.columns + A.rowStart[i];
        const int length = A.rowStart[i + 1] - A.rowStart[i];
        if (length % size != 0)
            return false;
        for (int k = 0; k < length; k += size)
            if (first[k] % size != 0 || first[k + size - 1] != first[k] + size - 1)
                return false;
        for (int row = i + 1; row < i + size; ++row)
        {
            const int* other = A.columns + A.rowStart[row];
            if (A.rowStart[row + 1] - A.rowStart[row] != length ||
                !std::equal(first, first + length, other))
                return false;
        }
    }
    return true;
}

int UnknownsPerNode(const MatrixView& A)
{
    for (const int size : {3, 2})
        if (HasUniformGroups(A, size))
            return size;
    return 1;
}

Aggregates FormAggregates(const MatrixView& A, int unknowns, double threshold)
{
    Aggregates result;
    result.unknowns = unknowns;
    const Couplings couplings(A, unknowns);
    RawVector<char> takesPart = MarkStrong(A, couplings, threshold, result);
    ExcludeDominantRows(A, unknowns, takesPart);
    constexpr int kFree = -2, kLeftOut = -1;
    const int nodes = couplings.Nodes();
    result.of.resize(std::size_t(nodes));
    for (std::size_t i = 0; i < result.of.size(); ++i)
        result.of[i] = takesPart[i] ? kFree : kLeftOut;
    auto forStrong = [&](int i, auto f) {
        const std::size_t begin = std::size_t(couplings.Start(i));
        for (int k = 0; k < couplings.Length(i); ++k)
            if (result.isStrong[begin + std::size_t(k)])
                f(couplings.Neighbour(i, k), k);
    };

    // Node i with its free neighbours.
    auto aggregate = [&](int i) {
        result.of[std::size_t(i)] = result.count;
        forStrong(i, [&](int j, int) {
            if (result.of[std::size_t(j)] == kFree)
                result.of[std::size_t(j)] = result.count;
        });
        ++result.count;
    };

    // First whole neighbourhoods.
    for (int i = 0; i < nodes; ++i)
    {
        bool isFree = result.of[std::size_t(i)] == kFree;
        if (isFree)
            forStrong(i, [&](int j, int) { isFree = isFree && result.of[std::size_t(j)] < 0; });
        if (isFree)
            aggregate(i);
    }
    // Then every remaining node joins the aggregate of its most strongly coupled neighbour, without
    // chains.
    std::vector<int> joined(result.of);
    ForNodes(A, unknowns, [&](int i) {
        double largest = 0;
        if (result.of[std::size_t(i)] == kFree)
            forStrong(i, [&](int j, int k) {
                const double size = couplings.Size(i, k);
                if (result.of[std::size_t(j)] >= 0 && size > largest)
                {
                    largest = size;
                    joined[std::size_t(i)] = result.of[std::size_t(j)];
                }
            });
    });
    result.of.swap(joined);
    // The remaining free nodes form aggregates among themselves.
    for (int i = 0; i < nodes; ++i)
        if (result.of[std::size_t(i)] == kFree)
            aggregate(i);
    return result;
}

namespace
{

/// Makes the rows of the interpolation.
class Interpolation
{
public:
    /// @param part  to which rows are appended
    Interpolation(const MatrixView& A, const Aggregates& aggregates, SparseRows& part)
        : A_(A), aggregates_(aggregates), unknowns_(aggregates.unknowns), P_(part)
    {
        P_.columns.reserve(std::size_t(P_.rows) * 3);
        P_.values.reserve(std::size_t(P_.rows) * 3);
        place_.assign(std::size_t(P_.cols), -1);
    }

    void AddRow(int i);

private:
    int AggregateOf(int i) const { return aggregates_.of[std::size_t(i / unknowns_)]; }
    /// Adds to the current row, at the unknown of @p j's aggregate that belongs to @p j.
    void Add(int rowBegin, int j, double value)
    {
        const int column = AggregateOf(j) * unknowns_ + j % unknowns_;
        int& at = place_[std::size_t(column)];
        if (at < rowBegin)
        {
            at = int(P_.columns.size());
            P_.columns.push_back(column);
            P_.values.push_back(value);
        }
        else
            P_.values[std::size_t(at)] += value;
    }

    const MatrixView& A_;
    const Aggregates& aggregates_;
    int unknowns_;
    SparseRows& P_;
    std::vector<int> place_; ///< of a column in the current row; outdated where below its begin
};

void Interpolation::AddRow(int i)
{
    const int rowBegin = int(P_.columns.size()), begin = A_.rowStart[i], end = A_.rowStart[i + 1];
    double diagonal = 0, largest = 0, sum = 0;
    for (int k = begin; k < end; ++k)
        if (A_.columns[k] == i)
            diagonal = A_.values[k];
        else
            sum += std::abs(A_.values[k]);
    const double sign = diagonal < 0 ? -1 : 1;
    for (int k = begin; k < end; ++k)
        if (A_.columns[k] != i)
            largest = std::max(largest, -sign * A_.values[k]);
    auto isKept = [&](int k) {
        const double size = -sign * A_.values[k];
        const bool isStrong = unknowns_ == 1 && aggregates_.isStrong[std::size_t(k)] != 0;
        return unknowns_ > 1 || size >= (isStrong ? kShared : kOwn) * largest;
    };
    const bool isOwned = AggregateOf(i) >= 0;
    if (diagonal != 0 && (isOwned || sum > kDominated * std::abs(diagonal)))
    {
        double lumped = 0, others = 0;
        for (int k = begin; k < end; ++k)
        {
            const double a = A_.values[k];
            if (A_.columns[k] == i || AggregateOf(A_.columns[k]) < 0)
                continue;
            if (isKept(k))
                others += std::abs(a);
            else
                lumped += a;
        }
        // Weak couplings are lumped on the diagonal, which preserves constants; not where that
        // would cancel the diagonal.
        if (std::abs(diagonal + lumped) > 0.25 * std::abs(diagonal))
            diagonal += lumped;
        // A node outside the aggregates is interpolated entirely from its neighbours.
        const double omega = isOwned ? kDamping / (1 + others / std::abs(diagonal)) : 1.0;
        if (isOwned)
            Add(rowBegin, i, 1 - omega);
        for (int k = begin; k < end; ++k)
        {
            const int j = A_.columns[k];
            const double a = A_.values[k];
            if (j != i && a != 0 && AggregateOf(j) >= 0 && isKept(k))
                Add(rowBegin, j, -omega * a / diagonal);
        }
    }
    P_.EndRow();
}

} // namespace

SparseRows SmoothedInterpolation(const MatrixView& A, const Aggregates& aggregates)
{
    constexpr double kWork = 5; // for each entry of A
    return MakeRows(A.n, aggregates.count * aggregates.unknowns, kWork * A.rowStart[A.n],
                    [&](SparseRows& part, int begin, int end) {
                        Interpolation interpolation(A, aggregates, part);
                        for (int i = begin; i < end; ++i)
                            interpolation.AddRow(i);
                    });
}

} // namespace numerics
