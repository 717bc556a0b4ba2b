#include "Geom/exact/Plane.h"

namespace Geom::impl
{
namespace
{

// Sums and products without rounding error, as in J. R. Shewchuk, "Adaptive Precision
// Floating-Point Arithmetic and Fast Robust Geometric Predicates", Discrete & Computational
// Geometry 18 (1997).

/// A number as the exact sum of two doubles.
struct Pair
{
    double high, low;
};

Pair ExactDifference(double a, double b)
{
    const double high = a - b;
    const double bPart = a - high;
    const double aPart = high + bPart;
    return {high, (a - aPart) + (bPart - b)};
}

Pair ExactProduct(double a, double b)
{
    constexpr double kSplitter = 134217729; // 2^27 + 1
    const auto upperHalf = [](double v) {
        const double scaled = kSplitter * v;
        return scaled - (scaled - v);
    };
    const double a1 = upperHalf(a), a2 = a - a1;
    const double b1 = upperHalf(b), b2 = b - b1;
    const double high = a * b;
    return {high, a2 * b2 - (((high - a1 * b1) - a2 * b1) - a1 * b2)};
}

/// The exact sum of at most 24 doubles.
class ExactSum
{
public:
    void Add(double value)
    {
        int kept = 0;
        for (int i = 0; i < count_; ++i)
        {
            const double sum = value + parts_[i];
            const double partOfSum = sum - value;
            const double error = (value - (sum - partOfSum)) + (parts_[i] - partOfSum);
            if (error != 0)
                parts_[kept++] = error;
            value = sum;
        }
        if (value != 0)
            parts_[kept++] = value;
        count_ = kept;
    }

    void AddProduct(const Pair& a, const Pair& b)
    {
        for (const double u : {a.low, a.high})
            for (const double v : {b.low, b.high})
            {
                const Pair product = ExactProduct(u, v);
                Add(product.low);
                Add(product.high);
            }
    }

    /// The parts do not overlap and grow, so the last one has the sign of the sum.
    int Sign() const { return count_ == 0 ? 0 : parts_[count_ - 1] < 0 ? -1 : 1; }

private:
    double parts_[24] = {};
    int count_ = 0;
};

Pair Negative(const Pair& p) { return {-p.high, -p.low}; }

int ExactSideOf(const Point2D& a, const Point2D& b, const Point2D& p, double hx, double hy)
{
    const Pair dx = ExactDifference(b.x, a.x), dy = ExactDifference(b.y, a.y);
    const Pair qx = ExactDifference(p.x, a.x), qy = ExactDifference(p.y, a.y);
    ExactSum cross;
    cross.AddProduct(dx, qy);
    cross.AddProduct(Negative(dy), qx);
    const int side = cross.Sign();

    // What |cross| exceeds the tolerance by.
    ExactSum excess;
    excess.AddProduct(side < 0 ? Negative(dx) : dx, qy);
    excess.AddProduct(side < 0 ? dy : Negative(dy), qx);
    for (const auto& [half, d] : {std::pair{hx, dy}, std::pair{hy, dx}})
        for (const double part : {d.low, d.high})
        {
            const Pair product = ExactProduct(d.high < 0 ? half : -half, part);
            excess.Add(product.low);
            excess.Add(product.high);
        }
    return excess.Sign() > 0 ? side : 0;
}

} // namespace

int SideOf(const Point2D& a, const Point2D& b, const Point2D& p, double hx, double hy)
{
    const double dx = b.x - a.x, dy = b.y - a.y;
    const double left = dx * (p.y - a.y), right = dy * (p.x - a.x);
    const double cross = left - right;
    const double tolerance = hx * std::fabs(dy) + hy * std::fabs(dx);
    // Eight roundings at the most touch each of the terms; 16 units in the last place are safe.
    const double error = (std::fabs(left) + std::fabs(right) + tolerance) * 0x1p-49;
    if (cross - tolerance > error)
        return 1;
    if (cross + tolerance < -error)
        return -1;
    if (std::fabs(cross) < tolerance - error)
        return 0;
    if (!(std::isfinite(a.x) && std::isfinite(a.y) && std::isfinite(b.x) && std::isfinite(b.y) &&
          std::isfinite(p.x) && std::isfinite(p.y)) ||
        !(hx >= 0 && hy >= 0))
        return kNoSide;
    if (std::isinf(hx) || std::isinf(hy))
        return 0;
    const double factor = SafeFactor({a, b, p, {hx, hy}});
    return ExactSideOf(a * factor, b * factor, p * factor, hx * factor, hy * factor);
}

} // namespace Geom::impl
