#include "numerics/iterative/GaussSeidel.h"

#include "numerics/system/BlockVector.h"
#include "numerics/system/Threads.h"

#include <algorithm>
#include <cstddef>

namespace numerics
{
namespace
{

constexpr int kChunk = 256; ///< rows; blocks are made of whole chunks
/// Rows of a block. Shorter ones cost time, as the processor fetches less ahead; on small levels
/// they are what threads share.
constexpr int kShort = 512, kLong = 2048, kBlocks = 16;

} // namespace

std::vector<int> BandBlocks(const MatrixView& A)
{
    const int chunks = BlockCount(A.n, kChunk);
    // The chunks that each chunk's rows reach; then the last that it is coupled to either way.
    std::vector<int> first(static_cast<std::size_t>(chunks)), last(first);
    ForBlocks(A.n, A.rowStart[A.n], kChunk, [&](int chunk, int begin, int end) {
        int least = begin, most = begin;
        for (int i = begin; i < end; ++i)
            if (A.rowStart[i] < A.rowStart[i + 1])
            {
                least = std::min(least, A.columns[A.rowStart[i]]);
                most = std::max(most, A.columns[A.rowStart[i + 1] - 1]);
            }
        first[std::size_t(chunk)] = least / kChunk;
        last[std::size_t(chunk)] = most / kChunk;
    });
    for (int chunk = 0; chunk < chunks; ++chunk)
    {
        int& lastOfFirst = last[std::size_t(first[std::size_t(chunk)])];
        lastOfFirst = std::max(lastOfFirst, chunk);
    }
    const int least = std::clamp(A.n / kBlocks, kShort, kLong) / kChunk;
    std::vector<int> start(1, 0);
    int reached = 0; // one past the last chunk that the blocks before the current are coupled to
    for (int begin = 0; begin < chunks;)
    {
        const int end = std::min(std::max(begin + least, reached), chunks);
        for (int chunk = begin; chunk < end; ++chunk)
            reached = std::max(reached, last[std::size_t(chunk)] + 1);
        start.push_back(end == chunks ? A.n : end * kChunk);
        begin = end;
    }
    return start;
}

void GaussSeidel::Prepare(const MatrixView& A)
{
    A_ = A;
    const auto n = std::size_t(A.n);
    lower_.resize(n);
    upper_.resize(n);
    split_.resize(n);
    inverse_.resize(n);
    blockStart_ = BandBlocks(A);
    for (const int colour : {0, 1})
        ForColour(colour, [=, this](Rows rows) { FindDiagonals(rows, colour); });
}

void GaussSeidel::FindDiagonals(Rows rows, int colour)
{
    const MatrixView A = A_;
    for (int i = rows.begin; i < rows.end; ++i)
    {
        const int begin = A.rowStart[i], end = A.rowStart[i + 1];
        int k = begin;
        while (k < end && A.columns[k] <= i)
            ++k;
        upper_[std::size_t(i)] = k;
        const bool hasDiagonal = k > begin && A.columns[k - 1] == i;
        const int lower = lower_[std::size_t(i)] = hasDiagonal ? k - 1 : k;
        const double diagonal = hasDiagonal ? A.values[k - 1] : 0.0;
        inverse_[std::size_t(i)] = diagonal != 0 ? 1 / diagonal : 0.0;
        int split = colour == 0 ? begin : end;
        if (colour == 0)
            while (split < lower && A.columns[split] < rows.begin)
                ++split;
        else
            while (split > k && A.columns[split - 1] >= rows.end)
                --split;
        split_[std::size_t(i)] = split;
    }
}

/// Calls f(rows) for the even blocks (colour 0) or the odd ones.
template <class F>
void GaussSeidel::ForColour(int colour, F f) const
{
    ForNumbers((Blocks() + 1 - colour) / 2, 0.5 * A_.rowStart[A_.n], [&](int number) {
        const int* const start = blockStart_.data() + 2 * number + colour;
        f(Rows{start[0], start[1]});
    });
}

/// The unknowns of the odd blocks count as 0.
void GaussSeidel::ForwardEven(Rows rows, const double* b, double* x) const
{
    const int* const columns = A_.columns;
    const double* const values = A_.values;
    const int* const split = split_.data();
    const int* const lower = lower_.data();
    const double* const inverse = inverse_.data();
    // The entry next to the diagonal comes last: only it depends on the previous row.
    for (int i = rows.begin; i < rows.end; ++i)
    {
        double sum = b[i];
        for (int k = split[i]; k < lower[i]; ++k)
            sum -= values[k] * x[columns[k]];
        x[i] = sum * inverse[i];
    }
}

/// Also the residual, which is minus the part of the upper triangle inside the block.
void GaussSeidel::ForwardOdd(Rows rows, const double* b, double* x, double* residual) const
{
    const int* const rowStart = A_.rowStart;
    const int* const columns = A_.columns;
    const double* const values = A_.values;
    const int* const split = split_.data();
    const int* const lower = lower_.data();
    const int* const upper = upper_.data();
    const double* const inverse = inverse_.data();
    for (int i = rows.begin; i < rows.end; ++i)
    {
        double sum = b[i];
        for (int k = split[i]; k < rowStart[i + 1]; ++k)
            sum -= values[k] * x[columns[k]];
        for (int k = rowStart[i]; k < lower[i]; ++k)
            sum -= values[k] * x[columns[k]];
        x[i] = sum * inverse[i];
    }
    for (int i = rows.begin; i < rows.end; ++i)
    {
        double sum = 0;
        for (int k = upper[i]; k < split[i]; ++k)
            sum -= values[k] * x[columns[k]];
        residual[i] = sum;
    }
}

/// Minus the upper triangle and the couplings to the blocks before and behind.
void GaussSeidel::ResidualEven(Rows rows, const double* x, double* residual) const
{
    const int* const rowStart = A_.rowStart;
    const int* const columns = A_.columns;
    const double* const values = A_.values;
    const int* const split = split_.data();
    const int* const upper = upper_.data();
    for (int i = rows.begin; i < rows.end; ++i)
    {
        double sum = 0;
        for (int k = rowStart[i]; k < split[i]; ++k)
            sum -= values[k] * x[columns[k]];
        for (int k = upper[i]; k < rowStart[i + 1]; ++k)
            sum -= values[k] * x[columns[k]];
        residual[i] = sum;
    }
}

void GaussSeidel::ForwardFromZero(const double* b, double* x, double* residual) const
{
    if (ThreadCount(0) == 1)
        return ForwardInOnePass(b, x, residual);
    ForColour(0, [=, this](Rows rows) { ForwardEven(rows, b, x); });
    ForColour(1, [=, this](Rows rows) { ForwardOdd(rows, b, x, residual); });
    ForColour(0, [=, this](Rows rows) { ResidualEven(rows, x, residual); });
}

/// The same with each step as soon as it can be, while its rows are in the cache.
void GaussSeidel::ForwardInOnePass(const double* b, double* x, double* residual) const
{
    const auto rows = [this](int block) {
        return Rows{blockStart_[std::size_t(block)], blockStart_[std::size_t(block) + 1]};
    };
    for (int block = 0; block < Blocks() + 2; block += 2)
    {
        if (block < Blocks())
            ForwardEven(rows(block), b, x);
        if (block >= 2 && block - 1 < Blocks())
            ForwardOdd(rows(block - 1), b, x, residual);
        if (block >= 2)
            ResidualEven(rows(block - 2), x, residual);
    }
}

void GaussSeidel::BackwardBlock(Rows rows, const double* b, double* x) const
{
    const int* const rowStart = A_.rowStart;
    const int* const columns = A_.columns;
    const double* const values = A_.values;
    const int* const lower = lower_.data();
    const int* const upper = upper_.data();
    const double* const inverse = inverse_.data();
    for (int i = rows.end; i-- > rows.begin;)
    {
        double before = b[i], after = 0;
        for (int k = rowStart[i]; k < lower[i]; ++k)
            before -= values[k] * x[columns[k]];
        for (int k = rowStart[i + 1]; k-- > upper[i];)
            after += values[k] * x[columns[k]];
        if (inverse[i] != 0)
            x[i] = (before - after) * inverse[i];
    }
}

void GaussSeidel::Backward(const double* b, double* x) const
{
    for (const int colour : {1, 0})
        ForColour(colour, [=, this](Rows rows) { BackwardBlock(rows, b, x); });
}

} // namespace numerics
