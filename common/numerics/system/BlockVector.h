/// @file
/// @internal Vector operations over fixed blocks: the same bits for every number of threads.
#pragma once

#include "parallel/For.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <vector>

namespace numerics
{

using Vec = std::vector<double>;

/// Entries worked on as one piece. A constant, so that sums do not depend on the threads.
constexpr int kVectorBlock = 8192;

constexpr int BlockCount(int n, int block = kVectorBlock)
{
    return int((static_cast<long long>(n) + block - 1) / block);
}

/// Calls f(number) for 0 ... @p count - 1, in parallel when @p work, in products and additions
/// altogether, is worth that.
template <class F>
void ForNumbers(int count, double work, F f)
{
    constexpr double kWorthThreads = 50000; // about 20 us; waking a thread costs 2
    if (count > 1 && work >= kWorthThreads)
        return parallel::ForEach(std::size_t(count), [&](std::size_t number) { f(int(number)); });
    for (int number = 0; number < count; ++number)
        f(number);
}

/// Calls f(number, begin, end) for every block of @p block of @p n entries, in parallel when
/// @p work is worth that.
template <class F>
void ForBlocks(int n, double work, int block, F f)
{
    ForNumbers(BlockCount(n, block), work, [&](int number) {
        const int begin = number * block;
        f(number, begin, n - begin < block ? n : begin + block);
    });
}

/// The same, in parallel when there are several.
template <class F>
void ForBlocks(int n, F f, int block = kVectorBlock)
{
    ForBlocks(n, std::numeric_limits<double>::infinity(), block, f);
}

/// Sum of f(begin, end) over all blocks, added in the order of the blocks.
template <class F>
double SumBlocks(int n, F f)
{
    if (n <= kVectorBlock)
        return n > 0 ? f(0, n) : 0.0;
    Vec parts(std::size_t(BlockCount(n)));
    ForBlocks(n,
              [&](int number, int begin, int end) { parts[std::size_t(number)] = f(begin, end); });
    double sum = 0;
    for (const double part : parts)
        sum += part;
    return sum;
}

/// u . v
double Dot(int n, const double* u, const double* v);

/// 2-norm of v, right also where the squares of its entries leave the range of a double; NaN
/// anywhere in v gives NaN.
double Norm2(int n, const double* v);

/// y = y + s x
void AddScaled(int n, double s, const double* x, double* y);

} // namespace numerics
