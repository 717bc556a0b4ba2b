#include "Geom/exact/Plane.h"
#include "Geom/exact/SimdVector.h"
#include "Geom/tree/QuadKernels.h"

// Rings of four edges do not fill 512 bits: AVX2 serves both levels.
#if !defined(__AVX512F__)

namespace geom::KVI_SIMD
{
namespace
{

constexpr std::uint32_t kPoints = kWidth / 2; // that a vector holds

#if defined(__AVX2__)

inline Vector AllOf(double x, double y) { return _mm256_setr_pd(x, y, x, y); }
inline Vector AllX(Vector a, Vector b) { return _mm256_unpacklo_pd(a, b); }
inline Vector AllY(Vector a, Vector b) { return _mm256_unpackhi_pd(a, b); }
/// The elements of a step that belong to distinct edges when so many edges are left.
constexpr Mask kOwn[] = {0, 4, 5, 13, 15};

#else

inline Vector AllOf(double x, double y) { return _mm_setr_pd(x, y); }
inline Vector AllX(Vector a, Vector b) { return _mm_unpacklo_pd(a, b); }
inline Vector AllY(Vector a, Vector b) { return _mm_unpackhi_pd(a, b); }
constexpr Mask kOwn[] = {0, 1, 3};

#endif

constexpr std::uint32_t kStep = 2 * kPoints; // edges
constexpr Mask kAll = kOwn[kStep];

/// The point, and the half-epsilons that go with dx and dy: that of y, that of x.
struct Probe
{
    Vector point, halves;
};

/// Edges by a bit each.
struct Edges
{
    Mask crossed; ///< by a ray from the point to the right
    Mask clear;   ///< the point is off their lines by more than the tolerance, for certain
};

/// The edges that begin at the points from @p i on and from @p j on, kPoints each. With a and b
/// from the point to the ends of an edge the point is off the edge's line by a x b.
inline Edges Look(const Point2D* i, const Point2D* j, const Probe& probe)
{
    const auto load = [](const Point2D* p) { return Load(&p->x); };
    const Vector zero = All(0);
    const Vector i0 = load(i), i1 = load(i + 1), j0 = load(j), j1 = load(j + 1);
    const Vector ai = Minus(i0, probe.point), bi = Minus(i1, probe.point);
    const Vector aj = Minus(j0, probe.point), bj = Minus(j1, probe.point);
    const Vector ay = AllY(ai, aj), by = AllY(bi, bj);
    const Vector left = Times(AllX(ai, aj), by), right = Times(ay, AllX(bi, bj));
    const Vector cross = Minus(left, right);

    const Vector reachI = Times(Size(Minus(i1, i0)), probe.halves);
    const Vector reachJ = Times(Size(Minus(j1, j0)), probe.halves);
    const Vector tolerance = Plus(AllX(reachI, reachJ), AllY(reachI, reachJ));
    // Each term has at most eight roundings.
    const Vector terms = Plus(Plus(Size(left), Size(right)), tolerance);
    const Vector doubt = Plus(tolerance, Plus(Times(terms, All(0x1p-49)), All(kUnderflowError)));

    // Half-open in y: a ray through a vertex crosses one of two edges that go on, both or none of
    // two that turn back. An edge that rises past the point is crossed when the point is left of
    // it.
    const Mask isUp = IsGreater(by, zero);
    const Mask isPast = IsGreater(ay, zero) ^ isUp;
    const Mask isDown = isUp ^ kAll;
    return {isPast & (IsGreater(cross, zero) ^ isDown), IsGreater(Size(cross), doubt)};
}

/// Whether a ring holds the point: kHolder, kInDoubt or 0.
inline std::uint64_t Ask(const Point2D* header, const Probe& probe)
{
    constexpr std::uint64_t kHolder = 1, kInDoubt = std::uint64_t(1) << 32;
    QuadRing item;
    __builtin_memcpy(static_cast<void*>(&item), header, sizeof item);
    if (item.count < 3)
        return kInDoubt;
    const Point2D* const ring = header + 1;
    const std::uint32_t edges = item.count - 1, final = edges - kPoints;
    Mask crossed = 0, clear = kAll;
    for (std::uint32_t edge = 0; edge < edges; edge += kStep)
    {
        const std::uint32_t next = edge + kPoints, left = edges - edge;
        const Edges some =
            Look(ring + (edge < final ? edge : final), ring + (next < final ? next : final), probe);
        crossed ^= some.crossed & kOwn[left < kStep ? left : kStep];
        clear &= some.clear;
    }
    return clear != kAll ? kInDoubt : __builtin_parity(crossed) != 0 ? kHolder : 0;
}

/// The marks of a cache line whose boxes hold the position.
inline std::uint32_t BoxesAt(const QuadMark* line, std::uint32_t position)
{
    const __m128i added = _mm_set1_epi32(int(position)), tops = _mm_set1_epi32(int(0x80808080));
    __m128i four[2];
    for (int half = 0; half < 2; ++half)
    {
        const auto* const two = reinterpret_cast<const __m128i*>(line + 4 * half);
        const __m128 low = _mm_castsi128_ps(_mm_load_si128(two));
        const __m128 high = _mm_castsi128_ps(_mm_load_si128(two + 1));
        const __m128i boxes = _mm_castps_si128(_mm_shuffle_ps(low, high, _MM_SHUFFLE(3, 1, 3, 1)));
        four[half] = _mm_cmpeq_epi32(_mm_and_si128(_mm_add_epi32(boxes, added), tops), tops);
    }
    const __m128i eight = _mm_packs_epi32(four[0], four[1]);
    return std::uint32_t(_mm_movemask_epi8(_mm_packs_epi16(eight, _mm_setzero_si128())));
}

std::uint64_t HoldersAmong(const QuadMark* marks, std::uint32_t last, std::uint32_t position,
                           const Point2D* points, double x, double y, double hx, double hy)
{
    const Probe probe = {AllOf(x, y), AllOf(hy, hx)};
    std::uint32_t boxes = 0;
    for (std::uint32_t mark = 0; mark <= last; mark += kMarksPerLine)
        boxes |= BoxesAt(marks + mark, position) << mark;
    boxes &= (2u << last) - 1; // beyond the last one there is no mark
    std::uint64_t holders = 0;
    while (boxes != 0)
    {
        // The first and the last of them, without a branch on whether they are the same: most
        // points lie in one box or two, which cannot be predicted.
        const int first = __builtin_ctz(boxes), final = 31 - __builtin_clz(boxes);
        holders |= Ask(points + marks[first].item, probe) << first;
        holders |= Ask(points + marks[final].item, probe) << final;
        boxes &= ~(1u << first | 1u << final);
    }
    return holders;
}

} // namespace

const QuadKernel kQuadKernel = HoldersAmong;

} // namespace geom::KVI_SIMD

#endif
