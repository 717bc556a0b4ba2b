#include "Geom/Geom_LinePairKernels_impl.h"

#include <immintrin.h>

namespace Geom::impl::KVI_SIMD
{
namespace
{

#if defined(__AVX512F__)

using Vector = __m512d;
using Mask = unsigned;
constexpr std::size_t kWidth = 8;
inline Vector Load(const double* p) { return _mm512_loadu_pd(p); }
inline Vector All(double a) { return _mm512_set1_pd(a); }
inline Vector Minus(Vector a, Vector b) { return _mm512_sub_pd(a, b); }
inline Vector Plus(Vector a, Vector b) { return _mm512_add_pd(a, b); }
inline Vector Times(Vector a, Vector b) { return _mm512_mul_pd(a, b); }
inline Vector Min(Vector a, Vector b) { return _mm512_min_pd(a, b); }
inline Vector Max(Vector a, Vector b) { return _mm512_max_pd(a, b); }
inline Mask IsGreater(Vector a, Vector b) { return _mm512_cmp_pd_mask(a, b, _CMP_GT_OQ); }

#elif defined(__AVX2__)

using Vector = __m256d;
using Mask = unsigned;
constexpr std::size_t kWidth = 4;
inline Vector Load(const double* p) { return _mm256_loadu_pd(p); }
inline Vector All(double a) { return _mm256_set1_pd(a); }
inline Vector Minus(Vector a, Vector b) { return _mm256_sub_pd(a, b); }
inline Vector Plus(Vector a, Vector b) { return _mm256_add_pd(a, b); }
inline Vector Times(Vector a, Vector b) { return _mm256_mul_pd(a, b); }
inline Vector Min(Vector a, Vector b) { return _mm256_min_pd(a, b); }
inline Vector Max(Vector a, Vector b) { return _mm256_max_pd(a, b); }
inline Mask IsGreater(Vector a, Vector b)
{
    return unsigned(_mm256_movemask_pd(_mm256_cmp_pd(a, b, _CMP_GT_OQ)));
}

#else

using Vector = __m128d;
using Mask = unsigned;
constexpr std::size_t kWidth = 2;
inline Vector Load(const double* p) { return _mm_loadu_pd(p); }
inline Vector All(double a) { return _mm_set1_pd(a); }
inline Vector Minus(Vector a, Vector b) { return _mm_sub_pd(a, b); }
inline Vector Plus(Vector a, Vector b) { return _mm_add_pd(a, b); }
inline Vector Times(Vector a, Vector b) { return _mm_mul_pd(a, b); }
inline Vector Min(Vector a, Vector b) { return _mm_min_pd(a, b); }
inline Vector Max(Vector a, Vector b) { return _mm_max_pd(a, b); }
inline Mask IsGreater(Vector a, Vector b) { return unsigned(_mm_movemask_pd(_mm_cmpgt_pd(a, b))); }

#endif

constexpr Mask kAll = (1u << kWidth) - 1;

inline double Least(double a, double b) { return a < b ? a : b; }
inline double Greatest(double a, double b) { return a < b ? b : a; }

/// One line, in all elements, ready to be tested against kWidth others.
struct Probe
{
    Vector ax, ay, dx, dy, margin, minusMargin, minX, maxX, minY, maxY;
};

inline Probe ProbeOf(const PairRow& line, double reachX, double reachY)
{
    return {All(line.ax),
            All(line.ay),
            All(line.bx - line.ax),
            All(line.by - line.ay),
            All(line.margin),
            All(-line.margin),
            All(Least(line.ax, line.bx) - reachX),
            All(Greatest(line.ax, line.bx) + reachX),
            All(Least(line.ay, line.by) - reachY),
            All(Greatest(line.ay, line.by) + reachY)};
}

/// Which of the rows from @p at may meet the probe. With u the probe's direction, v a row's and
/// e from the probe's first point to the row's, the row's points stand to the probe as u x e and
/// u x e + u x v, the probe's to the row as e x v and e x v - u x v.
inline Mask MayMeet(const PairRows& rows, std::size_t at, const Probe& probe)
{
    const Vector ax = Load(rows.ax + at), ay = Load(rows.ay + at);
    const Vector bx = Load(rows.bx + at), by = Load(rows.by + at);
    Mask apart = IsGreater(Min(ax, bx), probe.maxX) | IsGreater(probe.minX, Max(ax, bx)) |
                 IsGreater(Min(ay, by), probe.maxY) | IsGreater(probe.minY, Max(ay, by));
    if (apart == kAll)
        return 0;
    const Vector ex = Minus(ax, probe.ax), ey = Minus(ay, probe.ay);
    const Vector vx = Minus(bx, ax), vy = Minus(by, ay);
    const Vector turn = Minus(Times(probe.dx, vy), Times(probe.dy, vx));
    const Vector rowA = Minus(Times(probe.dx, ey), Times(probe.dy, ex));
    const Vector rowB = Plus(rowA, turn);
    const Vector probeA = Minus(Times(ex, vy), Times(ey, vx));
    const Vector probeB = Minus(probeA, turn);
    const Vector margin = Load(rows.margin + at);
    const Vector minusMargin = Minus(All(0), margin);
    apart |= IsGreater(Min(rowA, rowB), probe.margin) |
             IsGreater(probe.minusMargin, Max(rowA, rowB)) |
             IsGreater(Min(probeA, probeB), margin) | IsGreater(minusMargin, Max(probeA, probeB));
    return ~apart & kAll;
}

/// The same with the rows at and behind @p end left out.
inline Mask MayMeet(const PairRows& rows, std::size_t at, std::size_t end, const Probe& probe)
{
    const Mask mask = MayMeet(rows, at, probe);
    return end - at < kWidth ? mask & ((1u << (end - at)) - 1) : mask;
}

std::size_t InCells(const PairRows& rows, const std::size_t* starts, std::size_t cells,
                    PairCursor& cursor, std::uint32_t allFlags, RowPair* out, std::size_t room)
{
    std::size_t count = 0;
    for (; cursor.cell < cells; cursor.row = starts[++cursor.cell])
    {
        const std::size_t end = starts[cursor.cell + 1];
        for (; cursor.row + 1 < end; ++cursor.row)
        {
            const std::size_t row = cursor.row;
            if (room - count < end - row)
                return count;
            const PairRow line = {rows.ax[row], rows.ay[row], rows.bx[row], rows.by[row],
                                  rows.margin[row]};
            const Probe probe = ProbeOf(line, rows.reachX, rows.reachY);
            const std::uint32_t flags = rows.flags[row];
            for (std::size_t at = row + 1; at < end; at += kWidth)
                for (Mask hits = MayMeet(rows, at, end, probe); hits != 0; hits &= hits - 1)
                {
                    const std::size_t other = at + unsigned(__builtin_ctz(hits));
                    out[count] = {std::uint32_t(row), std::uint32_t(other)};
                    count += (flags | rows.flags[other]) == allFlags;
                }
        }
    }
    return count;
}

std::size_t WithLine(const PairRows& rows, const PairRow& line, std::size_t begin, std::size_t end,
                     std::uint32_t* out)
{
    const Probe probe = ProbeOf(line, rows.reachX, rows.reachY);
    std::size_t count = 0;
    for (std::size_t at = begin; at < end; at += kWidth)
        for (Mask hits = MayMeet(rows, at, end, probe); hits != 0; hits &= hits - 1)
            out[count++] = std::uint32_t(at + unsigned(__builtin_ctz(hits)));
    return count;
}

} // namespace

const PairKernels kPairKernels = {InCells, WithLine};

} // namespace Geom::impl::KVI_SIMD
