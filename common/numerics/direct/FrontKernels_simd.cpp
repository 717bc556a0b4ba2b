#include "numerics/dense/FusedVector.h"
#include "numerics/direct/FrontKernels.h"

// A register block is up to 3 vectors high and as wide as the registers allow.
namespace numerics::KVI_SIMD
{
namespace
{

inline double Size(double a) { return a < 0 ? -a : a; }

/// Vectors x kWidth rows and kColumns columns of a panel. Every loop over them is unrolled: only
/// then does the compiler keep them in registers.
template <int Vectors>
struct Block
{
    Vector v[kColumns][Vectors];

    /// The first @p columns columns; the others are 0.
    void Read(const double* C, std::ptrdiff_t height, int columns)
    {
#pragma GCC unroll 8
        for (int c = 0; c < kColumns; ++c)
#pragma GCC unroll 3
            for (int r = 0; r < Vectors; ++r)
                v[c][r] = c < columns ? Load(C + c * height + r * kWidth) : All(0);
    }
    void Write(double* C, std::ptrdiff_t height, int columns) const
    {
#pragma GCC unroll 8
        for (int c = 0; c < kColumns; ++c)
            if (c < columns)
#pragma GCC unroll 3
                for (int r = 0; r < Vectors; ++r)
                    Store(C + c * height + r * kWidth, v[c][r]);
    }
    /// this -= W M^T over @p steps columns; M points at the row of the block's first column
    void Subtract(const double* W, std::ptrdiff_t height, const double* M, std::ptrdiff_t mHeight,
                  std::ptrdiff_t steps)
    {
        for (std::ptrdiff_t k = 0; k < steps; ++k, W += height, M += mHeight)
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
    /// this = this T^-T, T being unit lower triangular
    void Divide(const double* T, std::ptrdiff_t height)
    {
#pragma GCC unroll 8
        for (int c = 0; c < kColumns - 1; ++c)
#pragma GCC unroll 8
            for (int d = c + 1; d < kColumns; ++d)
            {
                const Vector m = All(T[c * height + d]);
#pragma GCC unroll 3
                for (int r = 0; r < Vectors; ++r)
                    v[d][r] = Less(v[d][r], v[c][r], m);
            }
    }
    void Scale(const double* factors, int columns)
    {
#pragma GCC unroll 8
        for (int c = 0; c < kColumns; ++c)
            if (c < columns)
            {
                const Vector factor = All(factors[c]);
#pragma GCC unroll 3
                for (int r = 0; r < Vectors; ++r)
                    v[c][r] = Times(v[c][r], factor);
            }
    }
};

/// Calls f.template operator()<vectors>(row) for the register blocks that cover a panel.
template <class F>
inline void ForRows(int height, F f)
{
    int row = 0;
    for (; row + 3 * kWidth <= height; row += 3 * kWidth)
        f.template operator()<3>(row);
    if (row + 2 * kWidth <= height)
    {
        f.template operator()<2>(row);
        row += 2 * kWidth;
    }
    if (row + kWidth <= height)
        f.template operator()<1>(row);
}

void Update(double* C, const double* W, int height, const double* M, int mHeight, int columns,
            std::ptrdiff_t steps)
{
    for (int column = 0; column < columns; column += kColumns)
        ForRows(height, [&]<int Vectors>(int row) {
            Block<Vectors> block;
            double* const at = C + std::ptrdiff_t(column) * height + row;
            block.Read(at, height, kColumns);
            block.Subtract(W + row, height, M + column, mHeight, steps);
            block.Write(at, height, kColumns);
        });
}

void Eliminate(double* A, double* W, int height, const double* M, int mHeight, int width,
               std::ptrdiff_t steps, const double* inverse)
{
    for (int column = 0; column < width; column += kColumns)
        ForRows(height, [&]<int Vectors>(int row) {
            const int columns = width - column < kColumns ? width - column : kColumns;
            const std::ptrdiff_t at = (steps + column) * height + row;
            Block<Vectors> block;
            block.Read(A + at, height, columns);
            block.Subtract(W + row, height, M + column, mHeight, steps + column);
            block.Divide(M + (steps + column) * mHeight + column, mHeight);
            block.Write(W + at, height, columns);
            if (inverse == nullptr)
                return;
            block.Scale(inverse + column, columns);
            block.Write(A + at, height, columns);
        });
}

void Scale(double* A, const double* W, int height, int width, const double* inverse,
           const double* coupling)
{
    for (int k = 0; k < width; ++k)
    {
        const bool isPair = coupling[k] != 0;
        for (int half = 0; half < (isPair ? 2 : 1); ++half)
        {
            const int own = k + half, other = isPair ? k + 1 - half : k;
            // Less subtracts, so the partner has its sign reversed.
            const Vector a = All(inverse[own]), b = All(isPair ? -coupling[own] : 0);
            for (int i = 0; i < height; i += kWidth)
                Store(A + own * height + i,
                      Less(Times(Load(W + own * height + i), a), Load(W + other * height + i), b));
        }
        k += isPair;
    }
}

/// The elimination of one pivot tile.
struct TileElimination
{
    const PivotTile& tile;
    const int height = tile.height, width = tile.width;
    double* const C = tile.C;

    double& At(int i, int j) const { return i >= j ? C[j * height + i] : C[i * height + j]; }

    /// Exchanges rows and columns @p a < @p b of the tile.
    void Exchange(int a, int b) const
    {
        if (a == b)
            return;
        for (int j = 0; j < width; ++j)
        {
            if (j == a || j == b)
                continue;
            // Columns that are done hold L, in which rows alone are exchanged; the same addresses.
            double& first = At(a, j);
            double& second = At(b, j);
            const double kept = first;
            first = second;
            second = kept;
        }
        const auto swap = [](auto& x, auto& y) {
            const auto kept = x;
            x = y;
            y = kept;
        };
        swap(At(a, a), At(b, b));
        swap(tile.order[a], tile.order[b]);
        swap(tile.subtracted[a], tile.subtracted[b]);
    }

    /// The largest entry of column k between @p from and the end, its own row left out.
    double Largest(int k, int from, int& row) const
    {
        double largest = 0;
        row = k;
        for (int i = from; i < width; ++i)
            if (i != k && Size(At(i, k)) > largest)
            {
                largest = Size(At(i, k));
                row = i;
            }
        return largest;
    }

    /// Rank-one update of the columns right of @p k by column k, which becomes L.
    void EliminateOne(int k) const
    {
        double* const column = C + k * height;
        const double inverse = 1 / column[k];
        tile.inverse[k] = inverse;
        tile.coupling[k] = 0;
        tile.ratio[k] = Size(column[k]) / tile.subtracted[k];
        double l[kPanel] = {};
        for (int i = 0; i < height; ++i)
            l[i] = i > k ? column[i] * inverse : 0;
        const int firstRow = (k + 1) / kWidth * kWidth;
        for (int j = k + 1; j < width; ++j)
        {
            tile.subtracted[j] += Size(column[j] * l[j]);
            const Vector factor = All(l[j]);
            double* const target = C + j * height;
            for (int i = firstRow; i < height; i += kWidth)
                Store(target + i, Less(Load(target + i), Load(column + i), factor));
        }
        for (int i = 0; i < height; ++i)
            column[i] = l[i];
    }

    /// The same by the columns k and k + 1 at once.
    void EliminateTwo(int k) const
    {
        double* const first = C + k * height;
        double* const second = first + height;
        const double a = first[k], b = first[k + 1], c = second[k + 1];
        // Divided by b, which is the largest of the three, so that nothing overflows.
        const double p = a / b, q = c / b, determinant = (p * q - 1) * b;
        const double inverseA = q / determinant, inverseC = p / determinant, off = -1 / determinant;
        tile.inverse[k] = inverseA;
        tile.inverse[k + 1] = inverseC;
        tile.coupling[k] = tile.coupling[k + 1] = off;
        tile.ratio[k] = tile.ratio[k + 1] = 1;
        double l[kPanel] = {}, m[kPanel] = {};
        for (int i = 0; i < height; ++i)
        {
            l[i] = i > k + 1 ? first[i] * inverseA + second[i] * off : 0;
            m[i] = i > k + 1 ? first[i] * off + second[i] * inverseC : 0;
        }
        const int firstRow = (k + 2) / kWidth * kWidth;
        for (int j = k + 2; j < width; ++j)
        {
            tile.subtracted[j] += Size(first[j] * l[j]) + Size(second[j] * m[j]);
            const Vector x = All(l[j]), y = All(m[j]);
            double* const target = C + j * height;
            for (int i = firstRow; i < height; i += kWidth)
                Store(target + i,
                      Less(Less(Load(target + i), Load(first + i), x), Load(second + i), y));
        }
        for (int i = 0; i < height; ++i)
        {
            first[i] = l[i];
            second[i] = m[i];
        }
    }

    bool IsNothing(int k) const
    {
        constexpr double kRounding = 4e-16; // of what was added and subtracted
        return !(Size(At(k, k)) > kRounding * tile.subtracted[k]);
    }

    /// Eliminates the column at k, or it and another. @returns columns eliminated, 0 when the
    /// column holds no pivot
    int Step(int k) const
    {
        constexpr double kGood = 0.1, kAlpha = 0.6404; // Bunch and Kaufman's (1 + sqrt(17)) / 8
        int row = k;
        const double below = Largest(k, k + 1, row), own = Size(At(k, k));
        const bool isNothing = IsNothing(k);
        if (!isNothing && own >= kGood * below)
        {
            EliminateOne(k);
            return 1;
        }
        if (below == 0 || (isNothing && below <= 4e-16 * tile.subtracted[k]))
            return 0;
        int unused = 0;
        const double beside = Largest(row, k, unused);
        if (!isNothing && own * beside >= kAlpha * below * below)
            EliminateOne(k);
        else if (Size(At(row, row)) >= kAlpha * beside)
        {
            if (IsNothing(row))
                return 0;
            Exchange(k, row);
            EliminateOne(k);
        }
        else
        {
            Exchange(k + 1, row);
            EliminateTwo(k);
            return 2;
        }
        return 1;
    }
};

int Factorise(const PivotTile& tile)
{
    const TileElimination work{tile};
    const int width = tile.width, height = tile.height;
    for (int k = 0; k < width; ++k)
        tile.order[k] = k;
    int replaced = 0;
    for (int k = 0, end = width; k < width;)
    {
        const int done = work.Step(k);
        if (done > 0)
        {
            k += done;
            end = width; // postponed columns may have a pivot now
            continue;
        }
        if (--end > k)
        {
            work.Exchange(k, end);
            continue;
        }
        // The size of a replaced pivot, which leaves half of the digits to the others.
        constexpr double kReplacement = 1e-8;
        double& pivot = tile.C[k * height + k];
        const double size = kReplacement * (tile.subtracted[k] > 1 ? tile.subtracted[k] : 1);
        const double ratio = Size(pivot) / (tile.subtracted[k] > 0 ? tile.subtracted[k] : 1);
        pivot = pivot < 0 ? -size : size;
        work.EliminateOne(k);
        tile.ratio[k] = ratio;
        ++replaced;
        ++k;
        end = width;
    }
    for (int j = 0; j < height; ++j)
        for (int i = 0; i <= j; ++i)
            tile.C[j * height + i] = 0;
    return replaced;
}

int FactoriseGeneral(const PivotTile& tile, double* upper)
{
    const int width = tile.width, height = tile.height;
    double* const C = tile.C;
    for (int k = 0; k < width; ++k)
        tile.order[k] = k;
    int replaced = 0;
    for (int k = 0; k < width; ++k)
    {
        double* const column = C + k * height;
        int best = k;
        for (int i = k + 1; i < width; ++i)
            best = Size(column[i]) > Size(column[best]) ? i : best;
        constexpr double kGood = 0.1; // of the largest: the diagonal keeps the sparsity's order
        if (Size(column[k]) >= kGood * Size(column[best]))
            best = k;
        if (best != k)
        {
            for (int j = 0; j < height; ++j)
            {
                const double kept = C[j * height + k];
                C[j * height + k] = C[j * height + best];
                C[j * height + best] = kept;
            }
            const int order = tile.order[k];
            tile.order[k] = tile.order[best];
            tile.order[best] = order;
            const double size = tile.subtracted[k];
            tile.subtracted[k] = tile.subtracted[best];
            tile.subtracted[best] = size;
        }
        double& pivot = column[k];
        constexpr double kRounding = 4e-16, kReplacement = 1e-8;
        const double magnitude = tile.subtracted[k];
        tile.ratio[k] = Size(pivot) / (magnitude > 0 ? magnitude : 1);
        if (!(Size(pivot) > kRounding * magnitude))
        {
            const double size = kReplacement * (magnitude > 1 ? magnitude : 1);
            pivot = pivot < 0 ? -size : size;
            ++replaced;
        }
        const double inverse = 1 / pivot;
        tile.inverse[k] = inverse;
        tile.coupling[k] = 0;
        double l[kPanel] = {};
        for (int i = 0; i < height; ++i)
            l[i] = i > k ? column[i] * inverse : 0;
        const int firstRow = (k + 1) / kWidth * kWidth;
        for (int j = 0; j < height; ++j)
            upper[k * height + j] = j > k ? C[j * height + k] * inverse : 0;
        for (int j = k + 1; j < width; ++j)
        {
            const double u = upper[k * height + j];
            tile.subtracted[j] += Size(column[j] * u);
            const Vector factor = All(u);
            double* const target = C + j * height;
            for (int i = firstRow; i < height; i += kWidth)
                Store(target + i, Less(Load(target + i), Load(column + i), factor));
        }
        for (int i = 0; i < height; ++i)
            column[i] = l[i]; // rows above hold the values moved to upper
    }
    for (int j = width; j < height; ++j)
        for (int i = 0; i < height; ++i)
            C[j * height + i] = upper[j * height + i] = 0;
    return replaced;
}

void Multiply(const double* L, int height, std::ptrdiff_t steps, const double* x, double* y)
{
    ForRows(height, [&]<int Vectors>(int row) {
        Vector sum[Vectors], odd[Vectors];
        const double* column = L + row;
#pragma GCC unroll 3
        for (int r = 0; r < Vectors; ++r)
        {
            sum[r] = Load(y + row + r * kWidth);
            odd[r] = All(0);
        }
        std::ptrdiff_t k = 0;
        for (; k + 1 < steps; k += 2, column += 2 * height)
        {
            const Vector a = All(x[k]), b = All(x[k + 1]);
#pragma GCC unroll 3
            for (int r = 0; r < Vectors; ++r)
            {
                sum[r] = Less(sum[r], Load(column + r * kWidth), a);
                odd[r] = Less(odd[r], Load(column + height + r * kWidth), b);
            }
        }
        const Vector a = k < steps ? All(x[k]) : All(0), minus = All(-1);
#pragma GCC unroll 3
        for (int r = 0; r < Vectors; ++r)
        {
            if (k < steps)
                sum[r] = Less(sum[r], Load(column + r * kWidth), a);
            Store(y + row + r * kWidth, Less(sum[r], odd[r], minus));
        }
    });
}

void MultiplyTransposed(const double* L, int height, std::ptrdiff_t steps, const double* y,
                        double* x)
{
    constexpr int kMost = kPanel / kWidth;
    const int vectors = height / kWidth;
    Vector rows[kMost];
    for (int r = 0; r < vectors; ++r)
        rows[r] = Load(y + r * kWidth);
    const auto run = [&]<int Vectors>() {
        for (std::ptrdiff_t k = 0; k < steps; ++k, L += height)
        {
            Vector sum = All(0);
#pragma GCC unroll 12
            for (int r = 0; r < Vectors; ++r)
                sum = Less(sum, Load(L + r * kWidth), rows[r]);
            x[k] += Sum(sum);
        }
    };
    if (height == kPanel)
        run.template operator()<kMost>();
    else if (height == 8)
        run.template operator()<8 / kWidth>();
    else
        run.template operator()<16 / kWidth>();
}

} // namespace

const FrontKernels kFrontKernels = {Update,   Eliminate,         Scale, Factorise, FactoriseGeneral,
                                    Multiply, MultiplyTransposed};

} // namespace numerics::KVI_SIMD
