#include "Geom/events/LinePairKernels.h"
#include "Geom/exact/SimdVector.h"

namespace geom::KVI_SIMD
{
namespace
{

/// One line, in all elements, ready to be tested against kWidth others.
struct Probe
{
    Vector ax, ay, dx, dy, halfDx, halfDy, margin, minX, maxX, minY, maxY;
};

inline Probe ProbeOf(const PairRow& line, double reachX, double reachY)
{
    const Vector ax = All(line.ax), ay = All(line.ay), bx = All(line.bx), by = All(line.by);
    const Vector dx = Minus(bx, ax), dy = Minus(by, ay), half = All(0.5);
    const Vector x = All(reachX), y = All(reachY);
    return {ax,
            ay,
            dx,
            dy,
            Times(dx, half),
            Times(dy, half),
            All(line.margin),
            Minus(Min(ax, bx), x),
            Plus(Max(ax, bx), x),
            Minus(Min(ay, by), y),
            Plus(Max(ay, by), y)};
}

/// Which of the rows from @p at to @p end may meet the probe, by their boxes.
inline Mask AreBoxesNear(const PairRows& rows, std::size_t at, std::size_t end, const Probe& probe)
{
    const Vector ay = Load(rows.ay + at), by = Load(rows.by + at);
    const Mask apart = IsGreater(Load(rows.ax + at), probe.maxX) |
                       IsGreater(probe.minX, Load(rows.bx + at)) |
                       IsGreater(Min(ay, by), probe.maxY) | IsGreater(probe.minY, Max(ay, by));
    const std::size_t left = end - at;
    return ~apart & ((1u << (left < kWidth ? left : kWidth)) - 1);
}

/// Of the rows @p boxes from @p at on those that may meet the probe by their sides. With u the
/// probe's direction, v a row's and e from the probe's first point to the row's, the row's points
/// relate to the probe as u x e and u x e + u x v, the probe's to the row as e x v and
/// e x v - u x v. Two such numbers are on one side of 0 when their mean is further from it than
/// half their difference.
inline Mask MayMeet(const PairRows& rows, std::size_t at, Mask boxes, const Probe& probe)
{
    const Vector ax = Load(rows.ax + at), ay = Load(rows.ay + at);
    const Vector bx = Load(rows.bx + at), by = Load(rows.by + at);
    const Vector ex = Minus(ax, probe.ax), ey = Minus(ay, probe.ay);
    const Vector vx = Minus(bx, ax), vy = Minus(by, ay);
    const Vector halfTurn = Minus(Times(probe.halfDx, vy), Times(probe.halfDy, vx));
    const Vector row = Plus(Minus(Times(probe.dx, ey), Times(probe.dy, ex)), halfTurn);
    const Vector other = Minus(Minus(Times(ex, vy), Times(ey, vx)), halfTurn);
    const Vector spread = Size(halfTurn);
    return boxes & ~(IsGreater(Size(row), Plus(spread, probe.margin)) |
                     IsGreater(Size(other), Plus(spread, Load(rows.margin + at))));
}

/// Writes the pairs of @p row with those rows from @p at on that @p hits marks and that have the
/// flags which it lacks.
/// @returns pairs written; past them @p out is written to as far as a vector reaches
inline std::size_t Keep(RowPair* out, Mask hits, std::uint32_t row, std::size_t at,
                        const std::uint32_t* rowFlags, std::uint32_t flags, std::uint32_t allFlags)
{
#if defined(__AVX512F__)
    const __m256i theirs = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(rowFlags + at));
    const __m256i both = _mm256_or_si256(theirs, _mm256_set1_epi32(int(flags)));
    const Mask kept = hits & _mm256_cmpeq_epi32_mask(both, _mm256_set1_epi32(int(allFlags)));
    const __m512i others = _mm512_add_epi64(_mm512_set1_epi64(std::int64_t(at)),
                                            _mm512_setr_epi64(0, 1, 2, 3, 4, 5, 6, 7));
    const __m512i pairs =
        _mm512_or_si512(_mm512_slli_epi64(others, 32), _mm512_set1_epi64(std::int64_t(row)));
    _mm512_storeu_si512(out, _mm512_maskz_compress_epi64(__mmask8(kept), pairs));
    return unsigned(__builtin_popcount(kept));
#else
    std::size_t count = 0;
    for (; hits != 0; hits &= hits - 1)
    {
        const std::size_t other = at + unsigned(__builtin_ctz(hits));
        out[count] = {row, std::uint32_t(other)};
        count += (flags | rowFlags[other]) == allFlags;
    }
    return count;
#endif
}

std::size_t InCells(const PairRows& rows, const std::size_t* starts, const std::size_t* splits,
                    std::size_t cells, PairCursor& cursor, std::uint32_t allFlags, RowPair* out,
                    std::size_t room)
{
    std::size_t count = 0;
    for (; cursor.cell < cells; cursor.row = starts[++cursor.cell])
    {
        const std::size_t end = starts[cursor.cell + 1];
        const std::size_t last = splits == nullptr ? end : splits[cursor.cell];
        for (; cursor.row < last; ++cursor.row)
        {
            const std::size_t row = cursor.row;
            if (room - count < end - row)
                return count;
            const PairRow line = {rows.ax[row], rows.ay[row], rows.bx[row], rows.by[row],
                                  rows.margin[row]};
            const Probe probe = ProbeOf(line, rows.reachX, rows.reachY);
            const std::uint32_t flags = rows.flags[row];
            for (std::size_t at = splits == nullptr ? row + 1 : last; at < end; at += kWidth)
                if (const Mask boxes = AreBoxesNear(rows, at, end, probe); boxes != 0)
                    count += Keep(out + count, MayMeet(rows, at, boxes, probe), std::uint32_t(row),
                                  at, rows.flags, flags, allFlags);
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
    {
        Mask hits = AreBoxesNear(rows, at, end, probe);
        if (hits != 0)
            hits = MayMeet(rows, at, hits, probe);
        for (; hits != 0; hits &= hits - 1)
            out[count++] = std::uint32_t(at + unsigned(__builtin_ctz(hits)));
    }
    return count;
}

} // namespace

const PairKernels kPairKernels = {InCells, WithLine};

} // namespace geom::KVI_SIMD
