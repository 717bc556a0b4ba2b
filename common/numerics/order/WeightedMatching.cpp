#include "numerics/order/WeightedMatching.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <functional>
#include <limits>
#include <queue>
#include <utility>

namespace numerics
{
namespace
{

constexpr int kNone = -1;
constexpr int kFar = std::numeric_limits<int>::max();

/// A matching of rows and columns with the prices that prove it cheapest. A value's cost is how
/// many halvings it is below the largest of its row; cost - rowPrice - columnPrice is never
/// negative, and 0 for the chosen values.
class Matcher
{
public:
    explicit Matcher(const MatrixView& A)
        : A_(A), cost_(std::size_t(A.rowStart[A.n]), kFar), largest_(std::size_t(A.n)),
          rowPrice_(std::size_t(A.n)), columnPrice_(std::size_t(A.n), kFar),
          rowOf_(std::size_t(A.n), kNone), columnOf_(std::size_t(A.n), kNone),
          distance_(std::size_t(A.n), kFar), from_(std::size_t(A.n))
    {
    }

    WeightedMatching Run()
    {
        SetCosts();
        ChooseGreedily();
        WeightedMatching result;
        for (int i = 0; i < A_.n; ++i)
            if (columnOf_[std::size_t(i)] == kNone && !Augment(i))
            {
                result.freeRow = i;
                return result;
            }
        result.rowOf = std::move(rowOf_);
        for (std::size_t i = 0; i < std::size_t(A_.n); ++i)
        {
            result.rowScale.push_back(rowPrice_[i] - largest_[i]);
            result.colScale.push_back(columnPrice_[i]);
        }
        return result;
    }

private:
    /// What a value costs beyond the prices of its row and column; kFar for a zero.
    int Reduced(int row, int k) const
    {
        const int cost = cost_[std::size_t(k)];
        return cost == kFar
                   ? kFar
                   : cost - rowPrice_[std::size_t(row)] - columnPrice_[std::size_t(A_.columns[k])];
    }

    void SetCosts()
    {
        std::vector<char> isEmpty(std::size_t(A_.n), 0);
        for (int i = 0; i < A_.n; ++i)
        {
            double largest = 0;
            for (int k = A_.rowStart[i]; k < A_.rowStart[i + 1]; ++k)
                largest = std::max(largest, std::abs(A_.values[k]));
            isEmpty[std::size_t(i)] = largest == 0;
            largest_[std::size_t(i)] = largest > 0 ? std::ilogb(largest) : 0;
            for (int k = A_.rowStart[i]; k < A_.rowStart[i + 1]; ++k)
            {
                if (A_.values[k] == 0)
                    continue;
                int& cost = cost_[std::size_t(k)];
                cost = largest_[std::size_t(i)] - std::ilogb(A_.values[k]);
                int& price = columnPrice_[std::size_t(A_.columns[k])];
                price = std::min(price, cost);
            }
        }
        // An unknown that occurs nowhere, in an equation without values: they have each other.
        for (std::size_t i = 0; i < std::size_t(A_.n); ++i)
            if (columnPrice_[i] == kFar)
            {
                columnPrice_[i] = 0;
                if (isEmpty[i] != 0)
                    rowOf_[i] = columnOf_[i] = int(i);
            }
    }

    /// Sets the prices of the rows, and takes values without a reduced cost while their columns
    /// are free.
    void ChooseGreedily()
    {
        for (int i = 0; i < A_.n; ++i)
        {
            int price = kFar;
            for (int k = A_.rowStart[i]; k < A_.rowStart[i + 1]; ++k)
                price = std::min(price, Reduced(i, k));
            rowPrice_[std::size_t(i)] = price == kFar ? 0 : price;
            for (int k = A_.rowStart[i]; k < A_.rowStart[i + 1]; ++k)
                if (const int j = A_.columns[k];
                    Reduced(i, k) == 0 && rowOf_[std::size_t(j)] == kNone)
                {
                    rowOf_[std::size_t(j)] = i;
                    columnOf_[std::size_t(i)] = j;
                    break;
                }
        }
    }

    /// Matches the row @p start by the path of least cost to a free column. @returns whether there
    /// is one
    bool Augment(int start)
    {
        using Step = std::pair<int, int>; // distance, column
        std::priority_queue<Step, std::vector<Step>, std::greater<>> next;
        std::vector<int> reached, done;
        const auto relax = [&](int row, int before) {
            for (int k = A_.rowStart[row]; k < A_.rowStart[row + 1]; ++k)
            {
                const int reduced = Reduced(row, k);
                const std::size_t j = std::size_t(A_.columns[k]);
                if (reduced == kFar || before + reduced >= distance_[j])
                    continue;
                if (distance_[j] == kFar)
                    reached.push_back(int(j));
                distance_[j] = before + reduced;
                from_[j] = row;
                next.emplace(distance_[j], int(j));
            }
        };
        relax(start, 0);
        int end = kNone, length = 0;
        while (end == kNone && !next.empty())
        {
            const auto [distance, j] = next.top();
            next.pop();
            if (distance != distance_[std::size_t(j)])
                continue; // reached by a shorter path since
            const int row = rowOf_[std::size_t(j)];
            if (row == kNone)
            {
                end = j;
                length = distance;
                continue;
            }
            done.push_back(j);
            relax(row, distance);
        }
        if (end != kNone)
        {
            rowPrice_[std::size_t(start)] += length;
            for (const int j : done)
            {
                const int gain = length - distance_[std::size_t(j)];
                rowPrice_[std::size_t(rowOf_[std::size_t(j)])] += gain;
                columnPrice_[std::size_t(j)] -= gain;
            }
            for (int j = end; j != kNone;)
            {
                const int row = from_[std::size_t(j)];
                rowOf_[std::size_t(j)] = row;
                j = std::exchange(columnOf_[std::size_t(row)], j);
            }
        }
        for (const int j : reached)
            distance_[std::size_t(j)] = kFar;
        return end != kNone;
    }

    const MatrixView& A_;
    std::vector<int> cost_;    // of each stored value
    std::vector<int> largest_; // exponent of each row's largest value
    std::vector<int> rowPrice_, columnPrice_;
    std::vector<int> rowOf_, columnOf_;
    std::vector<int> distance_, from_; // of a search, by column
};

} // namespace

WeightedMatching MatchRows(const MatrixView& A) { return Matcher(A).Run(); }

} // namespace numerics
