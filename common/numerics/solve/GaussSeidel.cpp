#include "numerics/solve/GaussSeidel.h"

#include "numerics/solve/BlockVector.h"

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

void GaussSeidel::Prepare(const MatrixView& A)
{
    A_ = A;
    const auto n = std::size_t(A.n);
    lower_.resize(n);
    upper_.resize(n);
    inverse_.resize(n);
    std::vector<Reach> reach(std::size_t(BlockCount(A.n, kChunk)));
    ForNumbers(int(reach.size()), A.rowStart[A.n], [&](int chunk) {
        const int begin = chunk * kChunk;
        FindDiagonals({begin, std::min(A.n - begin, kChunk) + begin}, reach[std::size_t(chunk)]);
    });
    FormBlocks(reach);
    split_.resize(n);
    for (const int colour : {0, 1})
        ForColour(colour, [=, this](Rows rows) { Split(rows, colour); });
}

void GaussSeidel::Split(Rows rows, int colour)
{
    for (int i = rows.begin; i < rows.end; ++i)
    {
        int k = colour == 0 ? A_.rowStart[i] : A_.rowStart[i + 1];
        if (colour == 0)
            while (k < lower_[std::size_t(i)] && A_.columns[k] < rows.begin)
                ++k;
        else
            while (k > upper_[std::size_t(i)] && A_.columns[k - 1] >= rows.end)
                --k;
        split_[std::size_t(i)] = k;
    }
}

void GaussSeidel::FindDiagonals(Rows rows, Reach& reach)
{
    reach = {rows.begin, rows.end - 1};
    for (int i = rows.begin; i < rows.end; ++i)
    {
        const int begin = A_.rowStart[i], end = A_.rowStart[i + 1];
        int k = begin;
        while (k < end && A_.columns[k] <= i)
            ++k;
        upper_[std::size_t(i)] = k;
        const bool hasDiagonal = k > begin && A_.columns[k - 1] == i;
        lower_[std::size_t(i)] = hasDiagonal ? k - 1 : k;
        const double diagonal = hasDiagonal ? A_.values[k - 1] : 0.0;
        inverse_[std::size_t(i)] = diagonal != 0 ? 1 / diagonal : 0.0;
        if (begin == end)
            continue;
        reach.first = std::min(reach.first, A_.columns[begin]);
        reach.last = std::max(reach.last, A_.columns[end - 1]);
    }
}

/// A block ends where the rows of the block before it reach no further.
void GaussSeidel::FormBlocks(std::vector<Reach>& reach)
{
    const int chunks = int(reach.size());
    const int least = std::clamp(A_.n / kBlocks, kShort, kLong) / kChunk;
    std::vector<int> last(reach.size()); // chunk that a chunk is coupled to, in either direction
    for (int c = 0; c < chunks; ++c)
    {
        const auto [first, end] = reach[std::size_t(c)];
        last[std::size_t(c)] = std::max(last[std::size_t(c)], end / kChunk);
        last[std::size_t(first / kChunk)] = std::max(last[std::size_t(first / kChunk)], c);
    }
    blockStart_.assign(1, 0);
    int reached = 0; // one past the last chunk that the blocks before the current are coupled to
    for (int begin = 0; begin < chunks;)
    {
        const int end = std::min(std::max(begin + least, reached), chunks);
        for (int c = begin; c < end; ++c)
            reached = std::max(reached, last[std::size_t(c)] + 1);
        blockStart_.push_back(end == chunks ? A_.n : end * kChunk);
        begin = end;
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
    ForColour(0, [=, this](Rows rows) { ForwardEven(rows, b, x); });
    ForColour(1, [=, this](Rows rows) { ForwardOdd(rows, b, x, residual); });
    ForColour(0, [=, this](Rows rows) { ResidualEven(rows, x, residual); });
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
