#include "numerics/iterative/RigidBodyModes.h"

#include "numerics/iterative/NodeRows.h"
#include "numerics/system/BlockVector.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace numerics
{
namespace
{

constexpr int kMostDimensions = 3;
constexpr int kNodesOfBlock = 1024;
/// Of a mode's length, what is left of it when an aggregate lacks it.
constexpr double kLost = 1e-4;
/// Of the largest coordinate, a length that is only rounding.
constexpr double kShortest = 1e-10;

bool IsCoupled(const MatrixView& A, int i)
{
    for (int k = A.rowStart[i]; k < A.rowStart[i + 1]; ++k)
        if (A.columns[k] != i && A.values[k] != 0)
            return true;
    return false;
}

} // namespace

RigidBodyModes::RigidBodyModes(const MatrixView& A, const UnknownPlaces& places,
                               const std::vector<int>& from)
    : dimensions_(places.dimensions), modes_(Count(dimensions_)), unknowns_(dimensions_)
{
    const auto d = std::size_t(dimensions_), m = std::size_t(modes_);
    values_.assign(std::size_t(A.n) * m, 0.0);
    centre_.assign(std::size_t(A.n), 0.0);
    ForBlocks(
        A.n / dimensions_,
        [&](int, int begin, int end) {
            for (int row = begin * dimensions_; row < end * dimensions_; ++row)
            {
                const int i = from.empty() ? row : from[std::size_t(row)];
                if (i < 0)
                    continue;
                std::copy_n(&places.position[std::size_t(i) * d], d,
                            &centre_[std::size_t(row / dimensions_) * d]);
                const auto mode = std::size_t(places.component[std::size_t(i)]);
                if (IsCoupled(A, row))
                    values_[std::size_t(row) * m + mode] = 1;
            }
        },
        kNodesOfBlock);
}

/// Copies the modes at @p node, now about @p centre: u(x) = e x (x - c) gains e x (c_node - c).
void RigidBodyModes::MoveTo(const double* centre, int node, double* values) const
{
    const auto d = std::size_t(dimensions_), m = std::size_t(modes_);
    const double* const own = &centre_[std::size_t(node) * d];
    double s[kMostDimensions] = {};
    for (std::size_t axis = 0; axis < d; ++axis)
        s[axis] = own[axis] - centre[axis];
    const double* from = &values_[std::size_t(node * unknowns_) * m];
    for (int row = 0; row < unknowns_; ++row, from += m, values += m)
    {
        std::copy(from, from + m, values);
        if (dimensions_ == 2)
            values[2] += s[0] * from[1] - s[1] * from[0];
        else
            for (std::size_t axis = 0; axis < 3; ++axis)
            {
                const std::size_t next = (axis + 1) % 3, last = (axis + 2) % 3;
                values[3 + axis] += s[next] * from[last] - s[last] * from[next];
            }
    }
}

/// The nodes of each aggregate, ascending.
struct RigidBodyModes::Members
{
    std::vector<int> start, nodes;

    explicit Members(const Aggregates& aggregates)
        : start(std::size_t(aggregates.count) + 1), nodes(aggregates.of.size())
    {
        for (const int to : aggregates.of)
            if (to >= 0)
                ++start[std::size_t(to) + 1];
        for (std::size_t k = 1; k < start.size(); ++k)
            start[k] += start[k - 1];
        std::vector<int> next(start);
        for (std::size_t node = 0; node < aggregates.of.size(); ++node)
            if (const int to = aggregates.of[node]; to >= 0)
                nodes[std::size_t(next[std::size_t(to)]++)] = int(node);
    }
};

/// The rows of an aggregate's nodes.
struct RigidBodyModes::Part
{
    const int* begin;
    const int* end;
    int unknowns; ///< of a node
    std::size_t modes;

    /// Calls f(values of the row).
    template <class F>
    void ForRows(double* values, F f) const
    {
        for (const int* node = begin; node != end; ++node)
            for (int row = *node * unknowns; row < (*node + 1) * unknowns; ++row)
                f(values + std::size_t(row) * modes);
    }
    double Dot(double* values, std::size_t i, std::size_t j) const
    {
        double sum = 0;
        ForRows(values, [&](const double* row) { sum += row[i] * row[j]; });
        return sum;
    }
};

/// Gram-Schmidt, each mode twice. @p coarse receives the upper triangle.
void RigidBodyModes::Orthonormalise(const Part& part, double* values, double* coarse) const
{
    const auto d = std::size_t(dimensions_), m = std::size_t(modes_);
    double translation = 0;
    for (std::size_t mode = 0; mode < m; ++mode)
    {
        const double before = std::sqrt(part.Dot(values, mode, mode));
        for (int pass = 0; pass < 2; ++pass)
            for (std::size_t other = 0; other < mode; ++other)
            {
                const double along = part.Dot(values, other, mode);
                coarse[other * m + mode] += along;
                part.ForRows(values, [=](double* row) { row[mode] -= along * row[other]; });
            }
        const double left = std::sqrt(part.Dot(values, mode, mode));
        const bool isLost =
            left <= kLost * before || (mode >= d && left <= kShortest * translation);
        if (mode < d)
            translation = std::max(translation, before);
        coarse[mode * m + mode] = isLost ? 0 : left;
        const double scale = isLost ? 0 : 1 / left;
        part.ForRows(values, [=](double* row) { row[mode] *= scale; });
    }
}

RawVector<double> RigidBodyModes::Restrict(const Aggregates& aggregates)
{
    const auto d = std::size_t(dimensions_), m = std::size_t(modes_);
    const auto count = std::size_t(aggregates.count);
    const Members members(aggregates);
    RawVector<double> T, coarse, centres;
    T.assign(values_.size(), 0.0);
    coarse.assign(count * m * m, 0.0);
    centres.assign(count * d, 0.0);
    const double work = 4.0 * modes_ * double(values_.size());
    ForBlocks(aggregates.count, work, kNodesOfBlock / 8, [&](int, int first, int last) {
        for (auto to = std::size_t(first); to < std::size_t(last); ++to)
        {
            const int *const begin = members.nodes.data() + members.start[to],
                             *const end = members.nodes.data() + members.start[to + 1];
            double* const centre = &centres[to * d];
            for (std::size_t axis = 0; axis < d; ++axis)
            {
                for (const int* node = begin; node != end; ++node)
                    centre[axis] += centre_[std::size_t(*node) * d + axis];
                centre[axis] /= double(end - begin);
            }
            for (const int* node = begin; node != end; ++node)
                MoveTo(centre, *node, &T[std::size_t(*node * unknowns_) * m]);
            Orthonormalise({begin, end, unknowns_, m}, T.data(), &coarse[to * m * m]);
        }
    });
    unknowns_ = modes_;
    values_ = std::move(coarse);
    centre_ = std::move(centres);
    return T;
}

namespace
{

/// How a row of the interpolation is made: own factor, and that of the couplings; both 0 for a row
/// that is coupled to no aggregate.
struct Weights
{
    double own = 0, others = 0;
};

Weights WeightsOf(const MatrixView& A, const Aggregates& aggregates, int i)
{
    const auto aggregateOf = [&](int j) {
        return aggregates.of[std::size_t(j / aggregates.unknowns)];
    };
    double diagonal = 0, others = 0;
    for (int k = A.rowStart[i]; k < A.rowStart[i + 1]; ++k)
        if (A.columns[k] == i)
            diagonal = A.values[k];
        else if (aggregateOf(A.columns[k]) >= 0)
            others += std::abs(A.values[k]);
    if (diagonal == 0 || others == 0)
        return {};
    // A node outside the aggregates is interpolated entirely from its neighbours.
    const bool isOwned = aggregateOf(i) >= 0;
    const double omega = isOwned ? kDamping / (1 + others / std::abs(diagonal)) : 1.0;
    return {isOwned ? 1 - omega : 0.0, -omega / diagonal};
}

template <int kRows, int kModes>
SparseRows Smoothed(const MatrixView& A, const Aggregates& aggregates, const RawVector<double>& T)
{
    const double work = (3.0 + kModes) * A.rowStart[A.n];
    return MakeNodeRows<kRows, kModes>(
        A.n / kRows, aggregates.count, work, [&](auto& rows, int node) {
            Weights weights[kRows];
            for (int row = 0; row < kRows; ++row)
                weights[row] = WeightsOf(A, aggregates, node * kRows + row);
            const int begin = A.rowStart[node * kRows],
                      length = A.rowStart[node * kRows + 1] - begin;
            for (int k = begin; k < begin + length; k += kRows)
            {
                const int other = A.columns[k] / kRows, to = aggregates.of[std::size_t(other)];
                if (to < 0)
                    continue;
                double factors[kRows * kRows];
                for (int row = 0; row < kRows; ++row)
                    for (int c = 0; c < kRows; ++c)
                        factors[row * kRows + c] =
                            other == node && row == c
                                ? weights[row].own
                                : weights[row].others * A.values[k + row * length + c];
                const bool isZero = std::all_of(factors, factors + kRows * kRows,
                                                [](double factor) { return factor == 0; });
                if (!isZero)
                    AddBlockProduct<kRows, kRows, kModes>(factors, kRows,
                                                          &T[std::size_t(other) * kRows * kModes],
                                                          kModes, rows.Block(to));
            }
        });
}

} // namespace

SparseRows SmoothedModes(const MatrixView& A, const Aggregates& aggregates,
                         const RawVector<double>& T, int modes)
{
    if (modes == 3)
        return aggregates.unknowns == 2 ? Smoothed<2, 3>(A, aggregates, T)
                                        : Smoothed<3, 3>(A, aggregates, T);
    return aggregates.unknowns == 3 ? Smoothed<3, 6>(A, aggregates, T)
                                    : Smoothed<6, 6>(A, aggregates, T);
}

} // namespace numerics
