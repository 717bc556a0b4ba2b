#include "Geom/exact/RepeatedPoint.h"

#include "Geom/exact/Plane.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <emmintrin.h>
#include <memory>

namespace geom
{
namespace
{
constexpr std::size_t kFew = 16;      // points that are compared pair by pair
constexpr std::size_t kOnStack = 512; // slots of a table on the stack
constexpr double kWideCell = 64;      // in half-epsilons: borders are rarely near
constexpr double kNarrowCell = 3;     // holds few points that are not near each other
constexpr std::size_t kCrowd = 4;     // comparisons per point that make cells narrow
constexpr double kReach = 1 + 1e-9;   // a half-epsilon and the rounding of a difference

/// Whether all points are certainly distinct; computed without a branch, false for infinite ones.
bool AreClearlyDistinct(const Point2D* points, std::size_t n, const Precision3D& precision)
{
    const __m128d halfEpsilons = _mm_loadu_pd(precision.halfEpsilon), minus = _mm_set1_pd(-0.0);
    const auto areNear = [&](__m128d a, __m128d b) { // on x, on y
        return _mm_cmpngt_pd(_mm_andnot_pd(minus, _mm_sub_pd(a, b)), halfEpsilons);
    };
    __m128d isPair = _mm_setzero_pd();
    for (std::size_t i = 0; i < n; i += 2) // and i + 1: each with those before it
    {
        const __m128d a = _mm_loadu_pd(&points[i].x);
        const __m128d b = _mm_loadu_pd(&points[std::min(i + 1, n - 1)].x);
        for (std::size_t k = 0; k < i; ++k)
        {
            const __m128d point = _mm_loadu_pd(&points[k].x);
            const __m128d nearA = areNear(a, point), nearB = areNear(b, point);
            isPair = _mm_or_pd(
                isPair, _mm_and_pd(_mm_unpacklo_pd(nearA, nearB), _mm_unpackhi_pd(nearA, nearB)));
        }
        if (i + 1 < n && _mm_movemask_pd(areNear(a, b)) == 3)
            return false;
    }
    return _mm_movemask_pd(isPair) == 0;
}

bool HasEqualPair(const Point2D* points, std::size_t n, const Precision3D& precision)
{
    for (std::size_t i = 1; i < n; ++i)
        for (std::size_t k = 0; k < i; ++k)
            if (IsNear(points[i], points[k], precision))
                return true;
    return false;
}

/// One axis of the grid of cells; the map from coordinates to cells is monotone.
class Axis
{
public:
    Axis(double halfEpsilon, double cell)
        : perUnit_(1 / (halfEpsilon * cell)), reach_(halfEpsilon * kReach),
          border_(0.5 - kReach / cell)
    {
    }

    /// Bits that identify the cell of @p v, whole cells about multiples of the edge. Where cells
    /// are finer than the coordinates themselves, those of v: there only equal ones are near.
    std::uint64_t CellOf(double v) const
    {
        const double cells = v * perUnit_;
        return std::bit_cast<std::uint64_t>(std::fabs(cells) < kMost ? cells + kRound : v + 0.0);
    }
    /// Whether a coordinate near @p v may lie in another cell.
    bool IsNearBorder(double v) const
    {
        const double cells = v * perUnit_;
        const double offset = std::fabs(cells - ((cells + kRound) - kRound));
        return !(offset < border_ - std::fabs(cells) * 0x1p-51);
    }
    double Below(double v) const { return v - reach_; }
    double Above(double v) const { return v + reach_; }

private:
    static constexpr double kMost = 0x1p51;
    static constexpr double kRound = 0x1.8p52; // a sum with it is a whole number

    double perUnit_, reach_, border_;
};

std::uint64_t HashOf(std::uint64_t cellX, std::uint64_t cellY)
{
    const std::uint64_t mixed =
        (cellX ^ (cellY * 0x9e3779b97f4a7c15u + (cellY >> 32))) * 0xd6e8feb86659fd93u;
    return mixed ^ (mixed >> 32);
}

/// The points seen so far, by the hash of their cell; open addressing, at most half full.
class SeenPoints
{
public:
    /// @param cell   edge of the cells in half-epsilons
    /// @param slots  @p mask + 1 zeros, mask + 1 a power of two
    SeenPoints(const Point2D* points, const Precision3D& precision, double cell,
               std::uint32_t* slots, std::size_t mask)
        : points_(points), precision_(precision), x_(precision.halfEpsilon[0], cell),
          y_(precision.halfEpsilon[1], cell), slots_(slots), mask_(mask)
    {
    }

    /// Whether point @p i is near one seen before; if not, it is seen from now on.
    bool IsRepeated(std::size_t i)
    {
        const Point2D& p = points_[i];
        const std::uint64_t cellX = x_.CellOf(p.x), cellY = y_.CellOf(p.y);
        if ((x_.IsNearBorder(p.x) || y_.IsNearBorder(p.y)) && IsRepeatedAround(p, cellX, cellY))
            return true;
        std::uint32_t* slot = SlotOfEqual(p, cellX, cellY);
        if (*slot != 0)
            return true;
        *slot = std::uint32_t(i) + 1;
        return false;
    }

    /// Comparisons so far of distinct points.
    std::size_t Misses() const { return misses_; }

private:
    /// Whether a point near @p p lies in another cell than its own.
    bool IsRepeatedAround(const Point2D& p, std::uint64_t cellX, std::uint64_t cellY)
    {
        for (const double x : {x_.Below(p.x), x_.Above(p.x)})
            for (const double y : {y_.Below(p.y), y_.Above(p.y)})
            {
                const std::uint64_t otherX = x_.CellOf(x), otherY = y_.CellOf(y);
                if ((otherX != cellX || otherY != cellY) && *SlotOfEqual(p, otherX, otherY) != 0)
                    return true;
            }
        return false;
    }
    /// The slot of a point near @p p among those hashed like the cell, or the free slot after them.
    std::uint32_t* SlotOfEqual(const Point2D& p, std::uint64_t cellX, std::uint64_t cellY)
    {
        std::size_t at = std::size_t(HashOf(cellX, cellY)) & mask_;
        for (; slots_[at] != 0 && !IsNear(p, points_[slots_[at] - 1], precision_); ++misses_)
            at = (at + 1) & mask_;
        return &slots_[at];
    }

    const Point2D* points_;
    const Precision3D& precision_;
    Axis x_, y_;
    std::uint32_t* slots_;
    std::size_t mask_;
    std::size_t misses_ = 0;
};

} // namespace

bool HasRepeatedPoint(const Point2D* points, std::size_t n, const Precision3D& precision)
{
    const auto isOrdinary = [](double h) { return h == 0 || (h > 1e-300 && h < 1e300); };
    if (n <= kFew && AreClearlyDistinct(points, n, precision))
        return false;
    if (n <= kFew || !isOrdinary(precision.halfEpsilon[0]) || !isOrdinary(precision.halfEpsilon[1]))
        return HasEqualPair(points, n, precision);
    const std::size_t size = std::bit_ceil(2 * n);
    std::uint32_t onStack[kOnStack];
    std::unique_ptr<std::uint32_t[]> onHeap;
    if (size > kOnStack)
        onHeap.reset(new std::uint32_t[size]);
    std::uint32_t* const slots = size > kOnStack ? onHeap.get() : onStack;
    for (const double cell : {kWideCell, kNarrowCell})
    {
        std::fill(slots, slots + size, 0);
        SeenPoints seen(points, precision, cell, slots, size - 1);
        const std::size_t most = cell == kWideCell ? n * kCrowd : std::size_t(-1);
        std::size_t i = 0;
        for (; i < n && seen.Misses() <= most; ++i)
            if (seen.IsRepeated(i))
                return true;
        if (i == n)
            break;
    }
    return false;
}

} // namespace geom
