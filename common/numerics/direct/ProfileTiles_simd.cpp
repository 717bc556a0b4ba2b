#include "numerics/dense/FusedVector.h"
#include "numerics/direct/ProfileTiles.h"

// A register block is 3 vectors high, so that a tile is 1, 2 or 4 blocks high, and as wide as
// the registers allow.
namespace numerics::KVI_SIMD
{
namespace
{

constexpr int kHeight = 3 * kWidth;
constexpr int kVectors = kTile / kWidth; // of a column of a tile
static_assert(kTile % kHeight == 0 && kTile % kColumns == 0 && kColumns % kWidth == 0);
static_assert(kColumnGroup % kColumns == 0);

/// Vectors x kWidth rows and kColumns columns of a tile. Every loop over them is unrolled: only
/// then does the compiler keep them in registers.
template <int Vectors>
struct Block
{
    Vector v[kColumns][Vectors];

    void Read(const double* C)
    {
#pragma GCC unroll 8
        for (int c = 0; c < kColumns; ++c)
#pragma GCC unroll 12
            for (int r = 0; r < Vectors; ++r)
                v[c][r] = Load(C + c * kTile + r * kWidth);
    }
    void Write(double* C) const
    {
#pragma GCC unroll 8
        for (int c = 0; c < kColumns; ++c)
#pragma GCC unroll 12
            for (int r = 0; r < Vectors; ++r)
                Store(C + c * kTile + r * kWidth, v[c][r]);
    }
    /// this -= W M^T over @p steps columns; M points at the row of the block's first column
    void Subtract(const double* W, const double* M, std::ptrdiff_t steps)
    {
        for (std::ptrdiff_t k = 0; k < steps; ++k, W += kTile, M += kTile)
        {
            Vector w[Vectors];
#pragma GCC unroll 3
            for (int r = 0; r < Vectors; ++r)
                w[r] = Load(W + r * kWidth);
#pragma GCC unroll 8
            for (int c = 0; c < kColumns; ++c)
            {
                const Vector m = All(M[c]);
#pragma GCC unroll 3
                for (int r = 0; r < Vectors; ++r)
                    v[c][r] = Less(v[c][r], w[r], m);
            }
        }
    }
    /// this = this T^-T, T being unit lower triangular, its columns kTile apart
    void Divide(const double* T)
    {
#pragma GCC unroll 8
        for (int c = 0; c < kColumns - 1; ++c)
#pragma GCC unroll 8
            for (int d = c + 1; d < kColumns; ++d)
            {
                const Vector m = All(T[c * kTile + d]);
#pragma GCC unroll 3
                for (int r = 0; r < Vectors; ++r)
                    v[d][r] = Less(v[d][r], v[c][r], m);
            }
    }
    void Scale(const double* factors)
    {
#pragma GCC unroll 8
        for (int c = 0; c < kColumns; ++c)
#pragma GCC unroll 3
            for (int r = 0; r < Vectors; ++r)
                v[c][r] = Times(v[c][r], All(factors[c]));
    }
};

void Eliminate(double* W, const double* M, std::ptrdiff_t steps, const double* inversePivots,
               double* scaled)
{
    for (int column = steps < 0 ? int(-steps) : 0; column < kTile; column += kColumns)
        for (int row = 0; row < kTile; row += kHeight)
        {
            const std::ptrdiff_t before = steps + column, at = before * kTile + row;
            Block<3> block;
            block.Read(W + at);
            block.Subtract(W + row, M + column, before);
            block.Divide(M + before * kTile + column);
            block.Write(W + at);
            block.Scale(inversePivots + column);
            block.Write(scaled + at);
        }
}

void Update(double* W, const double* M, std::ptrdiff_t steps)
{
    double* const C = W + steps * kTile;
    for (int column = 0; column < kTile; column += kColumns)
        for (int row = 0; row < kTile; row += kHeight)
        {
            Block<3> block;
            block.Read(C + column * kTile + row);
            block.Subtract(W + row, M + column, steps);
            block.Write(C + column * kTile + row);
        }
}

/// The rows @p row ... of the columns @p column ... of the tile behind @p steps columns.
template <int Vectors>
void UpdateRows(double* W, const double* M, std::ptrdiff_t steps, int row, int column)
{
    double* const C = W + (steps + column) * kTile + row;
    Block<Vectors> block;
    block.Read(C);
    block.Subtract(W + row, M + column, steps);
    block.Write(C);
}

void UpdateLower(double* W, const double* M, std::ptrdiff_t steps)
{
    for (int column = 0; column < kTile; column += kColumns)
    {
        int row = column;
        for (; row + kHeight <= kTile; row += kHeight)
            UpdateRows<3>(W, M, steps, row, column);
        if (row + 2 * kWidth == kTile)
            UpdateRows<2>(W, M, steps, row, column);
        else if (row + kWidth == kTile)
            UpdateRows<1>(W, M, steps, row, column);
    }
}

void Measure(const double* W, const double* M, std::ptrdiff_t steps, double* sizes)
{
    Vector sum[kVectors];
    for (int r = 0; r < kVectors; ++r)
        sum[r] = Load(sizes + r * kWidth);
    for (std::ptrdiff_t k = 0; k < steps; ++k, W += kTile, M += kTile)
        for (int r = 0; r < kVectors; ++r)
            sum[r] = Plus(sum[r], Abs(Times(Load(W + r * kWidth), Load(M + r * kWidth))));
    for (int r = 0; r < kVectors; ++r)
        Store(sizes + r * kWidth, sum[r]);
}

void Factorise(double* C, double* sizes, double limit, double* lower, double* upper,
               double* inversePivots)
{
    for (int k = 0; k < kTile; ++k)
    {
        double* column = C + k * kTile;
        const double pivot = column[k];
        const double size = pivot < 0 ? -pivot : pivot;
        const double inverse = size > limit * sizes[k] ? 1 / pivot : 0; // 0 for NaN
        inversePivots[k] = inverse;
        double* l = lower + k * kTile;
        for (int i = 0; i < kTile; ++i)
            l[i] = i > k ? column[i] * inverse : 0;
        double* u = upper + k * kTile;
        for (int i = 0; i < kTile; ++i)
            u[i] = i > k ? C[i * kTile + k] * inverse : 0;
        for (int i = (k + 1) / kWidth * kWidth; i < kTile; i += kWidth) // u is 0 up to k
            Store(sizes + i, Plus(Load(sizes + i), Abs(Times(Load(column + i), Load(u + i)))));
        const int firstRow = (k + 1) / kWidth * kWidth;
        for (int j = k + 1; j < kTile; ++j)
        {
            const Vector factor = All(u[j]);
            for (int i = firstRow; i < kTile; i += kWidth)
                Store(C + j * kTile + i, Less(Load(C + j * kTile + i), Load(column + i), factor));
        }
    }
}

/// Columns Column ... of a tile, and those behind: less the columns before, then pivot by pivot.
template <int Column>
void FactoriseColumns(double* C, double* sizes, double limit, double* lower, double* inversePivots)
{
    constexpr int kRows = kVectors - Column / kWidth; // vectors from the diagonal down
    Block<kRows> block;
    auto& v = block.v;
    block.Read(C + Column * (kTile + 1));
    block.Subtract(C + Column, lower + Column, Column);
    Vector size[kRows];
#pragma GCC unroll 12
    for (int r = 0; r < kRows; ++r)
        size[r] = Load(sizes + Column + r * kWidth);
#pragma GCC unroll 8
    for (int k = 0; k < kColumns; ++k)
    {
        const int first = k / kWidth; // vector with the pivot
        const double pivot = v[k][first][k % kWidth], terms = size[first][k % kWidth];
        const double inverse = (pivot < 0 ? -pivot : pivot) > limit * terms ? 1 / pivot : 0;
        inversePivots[Column + k] = inverse; // 0 for NaN
        Vector l[kRows];
#pragma GCC unroll 12
        for (int r = 0; r < kRows; ++r)
        {
            l[r] = r < first ? All(0) : Times(v[k][r], All(inverse));
            if (r == first)
                l[r] = Behind(l[r], k % kWidth);
            Store(lower + (Column + k) * kTile + Column + r * kWidth, l[r]);
            if (r >= first)
                size[r] = Plus(size[r], Abs(Times(v[k][r], l[r])));
        }
#pragma GCC unroll 8
        for (int d = k + 1; d < kColumns; ++d)
        {
            const Vector factor = All(v[k][d / kWidth][d % kWidth]);
#pragma GCC unroll 12
            for (int r = d / kWidth; r < kRows; ++r)
                v[d][r] = Less(v[d][r], l[r], factor);
        }
    }
    block.Write(C + Column * (kTile + 1));
    for (int k = Column; k < Column + kColumns; ++k)
        for (int r = 0; r < Column; r += kWidth)
            Store(lower + k * kTile + r, All(0));
#pragma GCC unroll 12
    for (int r = 0; r < kRows; ++r)
        Store(sizes + Column + r * kWidth, size[r]);
    if constexpr (Column + kColumns < kTile)
        FactoriseColumns<Column + kColumns>(C, sizes, limit, lower, inversePivots);
}

void FactoriseSymmetric(double* C, double* sizes, double limit, double* lower,
                        double* inversePivots)
{
    FactoriseColumns<0>(C, sizes, limit, lower, inversePivots);
}

void Forward(const double* L, std::ptrdiff_t steps, const double* y, double* yRow)
{
    // Every other column has sums of its own where one set does not keep the multipliers busy.
    constexpr int kSets = kVectors < 6 ? 2 : 1;
    Vector sum[kSets][kVectors];
#pragma GCC unroll 12
    for (int r = 0; r < kVectors; ++r)
    {
        sum[kSets - 1][r] = All(0);
        sum[0][r] = Load(yRow + r * kWidth);
    }
    for (std::ptrdiff_t k = 0; k < steps; k += kSets, L += kSets * kTile)
#pragma GCC unroll 2
        for (int set = 0; set < kSets; ++set)
#pragma GCC unroll 12
            for (int r = 0; r < kVectors; ++r)
                sum[set][r] =
                    Less(sum[set][r], Load(L + set * kTile + r * kWidth), All(y[k + set]));
    auto& v = sum[0];
#pragma GCC unroll 12
    for (int r = 0; kSets == 2 && r < kVectors; ++r)
        v[r] = Plus(v[r], sum[1][r]);
#pragma GCC unroll 24
    for (int k = 0; k < kTile; ++k) // L is 0 up to its diagonal
    {
        const Vector yk = All(v[k / kWidth][k % kWidth]);
#pragma GCC unroll 12
        for (int r = k / kWidth; r < kVectors; ++r)
            v[r] = Less(v[r], Load(L + k * kTile + r * kWidth), yk);
    }
#pragma GCC unroll 12
    for (int r = 0; r < kVectors; ++r)
        Store(yRow + r * kWidth, v[r]);
}

/// @returns L^T x over kWidth columns of a tile and its vectors from @p first on, negated
inline Vector Dots(const double* L, const Vector* x, int first)
{
    Vector sums[kWidth];
#pragma GCC unroll 8
    for (int c = 0; c < kWidth; ++c)
    {
        sums[c] = All(0);
#pragma GCC unroll 12
        for (int r = first; r < kVectors; ++r)
            sums[c] = Less(sums[c], Load(L + c * kTile + r * kWidth), x[r]);
    }
    return Sums(sums);
}

void Backward(const double* L, std::ptrdiff_t steps, double* x, double* xRow)
{
    const double* const triangle = L + steps * kTile;
    Vector rows[kVectors];
#pragma GCC unroll 12
    for (int g = kVectors - 1; g >= 0; --g)
    {
        const double* const T = triangle + g * kWidth * kTile;
        double* const part = xRow + g * kWidth;
        Store(part, Plus(Load(part), Dots(T, rows, g + 1)));
#pragma GCC unroll 8
        for (int i = kWidth - 1; i > 0; --i)
#pragma GCC unroll 8
            for (int j = 0; j < i; ++j)
                part[j] -= T[j * kTile + g * kWidth + i] * part[i];
        rows[g] = Load(part);
    }
    for (std::ptrdiff_t k = 0; k < steps; k += kWidth, L += kWidth * kTile)
        Store(x + k, Plus(Load(x + k), Dots(L, rows, 0)));
}

} // namespace

const TileKernels kTileKernels = {Eliminate,          Update,  UpdateLower, Measure, Factorise,
                                  FactoriseSymmetric, Forward, Backward};

} // namespace numerics::KVI_SIMD
