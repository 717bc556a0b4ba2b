#include "numerics/dense/FusedVector.h"
#include "numerics/direct/ProfileTiles.h"

// A register block is 3 vectors high, so that a tile is 1, 2 or 4 blocks high, and as wide as
// the registers allow.
namespace numerics::KVI_SIMD
{
namespace
{

constexpr int kHeight = 3 * kWidth;
static_assert(kTile % kHeight == 0 && kTile % kColumns == 0);

/// kHeight rows and kColumns columns of a tile. Every loop over them is unrolled: only then does
/// the compiler keep them in registers.
struct Block
{
    Vector v[kColumns][3];

    void Read(const double* C)
    {
#pragma GCC unroll 8
        for (int c = 0; c < kColumns; ++c)
#pragma GCC unroll 3
            for (int r = 0; r < 3; ++r)
                v[c][r] = Load(C + c * kTile + r * kWidth);
    }
    void Write(double* C) const
    {
#pragma GCC unroll 8
        for (int c = 0; c < kColumns; ++c)
#pragma GCC unroll 3
            for (int r = 0; r < 3; ++r)
                Store(C + c * kTile + r * kWidth, v[c][r]);
    }
    /// this -= W M^T over @p steps columns; M points at the row of the block's first column
    void Subtract(const double* W, const double* M, std::ptrdiff_t steps)
    {
        for (std::ptrdiff_t k = 0; k < steps; ++k, W += kTile, M += kTile)
        {
            const Vector w0 = Load(W), w1 = Load(W + kWidth), w2 = Load(W + 2 * kWidth);
#pragma GCC unroll 8
            for (int c = 0; c < kColumns; ++c)
            {
                const Vector m = All(M[c]);
                v[c][0] = Less(v[c][0], w0, m);
                v[c][1] = Less(v[c][1], w1, m);
                v[c][2] = Less(v[c][2], w2, m);
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
                for (int r = 0; r < 3; ++r)
                    v[d][r] = Less(v[d][r], v[c][r], m);
            }
    }
    void Scale(const double* factors)
    {
#pragma GCC unroll 8
        for (int c = 0; c < kColumns; ++c)
#pragma GCC unroll 3
            for (int r = 0; r < 3; ++r)
                v[c][r] = Times(v[c][r], All(factors[c]));
    }
};

void Eliminate(double* W, const double* M, std::ptrdiff_t steps, const double* inversePivots,
               double* scaled)
{
    double* C = W + steps * kTile;
    for (int column = 0; column < kTile; column += kColumns)
        for (int row = 0; row < kTile; row += kHeight)
        {
            Block block;
            block.Read(C + column * kTile + row);
            block.Subtract(W + row, M + column, steps + column);
            block.Divide(M + (steps + column) * kTile + column);
            block.Write(C + column * kTile + row);
            block.Scale(inversePivots + column);
            block.Write(scaled + column * kTile + row);
        }
}

void Update(double* W, const double* M, std::ptrdiff_t steps)
{
    double* C = W + steps * kTile;
    for (int column = 0; column < kTile; column += kColumns)
        for (int row = 0; row < kTile; row += kHeight)
        {
            Block block;
            block.Read(C + column * kTile + row);
            block.Subtract(W + row, M + column, steps);
            block.Write(C + column * kTile + row);
        }
}

void Measure(const double* W, const double* M, std::ptrdiff_t steps, double* sizes)
{
    constexpr int kVectors = kTile / kWidth;
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
        double* u = l;
        if (upper != nullptr)
        {
            u = upper + k * kTile;
            for (int i = 0; i < kTile; ++i)
                u[i] = i > k ? C[i * kTile + k] * inverse : 0;
        }
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

void Forward(const double* L, std::ptrdiff_t steps, const double* y, double* yRow)
{
    constexpr int kVectors = kTile / kWidth;
    Vector sum[kVectors];
    for (int r = 0; r < kVectors; ++r)
        sum[r] = Load(yRow + r * kWidth);
    for (std::ptrdiff_t k = 0; k < steps; ++k, L += kTile)
    {
        const Vector yk = All(y[k]);
        for (int r = 0; r < kVectors; ++r)
            sum[r] = Less(sum[r], Load(L + r * kWidth), yk);
    }
    for (int r = 0; r < kVectors; ++r)
        Store(yRow + r * kWidth, sum[r]);
    for (int k = 0; k < kTile; ++k, L += kTile)
        for (int i = k + 1; i < kTile; ++i)
            yRow[i] -= L[i] * yRow[k];
}

/// L^T x over one column of a tile
inline double Dot(const double* L, const Vector* x)
{
    constexpr int kVectors = kTile / kWidth;
    Vector sum = Times(Load(L), x[0]);
    for (int r = 1; r < kVectors; ++r)
        sum = Less(sum, Load(L + r * kWidth), x[r]);
    return Sum(sum);
}

void Backward(const double* L, std::ptrdiff_t steps, double* x, double* xRow)
{
    constexpr int kVectors = kTile / kWidth;
    const double* triangle = L + steps * kTile;
    for (int k = kTile; k-- > 0;)
        for (int i = k + 1; i < kTile; ++i)
            xRow[k] -= triangle[k * kTile + i] * xRow[i];
    // Less subtracts, so all but the first product of a dot have the sign reversed.
    Vector rows[kVectors];
    for (int r = 0; r < kVectors; ++r)
        rows[r] = Times(Load(xRow + r * kWidth), All(r == 0 ? 1 : -1));
    for (std::ptrdiff_t k = 0; k < steps; ++k, L += kTile)
        x[k] -= Dot(L, rows);
}

} // namespace

const TileKernels kTileKernels = {Eliminate, Update, Measure, Factorise, Forward, Backward};

} // namespace numerics::KVI_SIMD
