/// @file
/// @internal Sums and products of doubles without rounding error, as in J. R. Shewchuk, "Adaptive
/// Precision Floating-Point Arithmetic and Fast Robust Geometric Predicates", Discrete &
/// Computational Geometry 18 (1997). They hold while nothing overflows or underflows.
#pragma once

#include "Geom/exact/Plane.h"
#include "foundation/number/ProductError.h"

namespace geom
{

/// A number as the exact sum of two doubles that do not overlap.
struct Pair
{
    double high, low;
};

inline Pair operator-(const Pair& p) { return {-p.high, -p.low}; }

inline Pair ExactSumOf(double a, double b)
{
    const double high = a + b;
    const double bPart = high - a;
    const double aPart = high - bPart;
    return {high, (a - aPart) + (b - bPart)};
}

inline Pair ExactDifference(double a, double b) { return ExactSumOf(a, -b); }

inline Pair ExactProduct(double a, double b)
{
    const double high = a * b;
    return {high, foundation::ProductError(a, b, high)};
}

/// a + b with about 100 bits.
inline Pair operator+(const Pair& a, const Pair& b)
{
    const Pair sum = ExactSumOf(a.high, b.high);
    return ExactSumOf(sum.high, sum.low + (a.low + b.low));
}

/// a * b with about 100 bits.
inline Pair operator*(const Pair& a, const Pair& b)
{
    const Pair product = ExactProduct(a.high, b.high);
    return ExactSumOf(product.high, product.low + (a.high * b.low + a.low * b.high));
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
            const Pair sum = ExactSumOf(value, parts_[i]);
            if (sum.low != 0)
                parts_[kept++] = sum.low;
            value = sum.high;
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

    /// The sum within a unit in the last place.
    double Value() const
    {
        double value = 0;
        for (int i = 0; i < count_; ++i)
            value += parts_[i];
        return value;
    }

private:
    double parts_[24] = {};
    int count_ = 0;
};

/// A power of two by which points are multiplied before exact products of them are formed: the
/// greatest coordinate becomes about 2^300, or as large as a finite factor makes it. Then products
/// are exact as long as no coordinate but 0 is 1e200 times smaller than the greatest.
inline double ExactFactor(std::initializer_list<Point2D> points)
{
    double most = 0;
    for (const Point2D& p : points)
        most = std::max({most, std::fabs(p.x), std::fabs(p.y)});
    int exponent = 0;
    std::frexp(most, &exponent);
    return std::ldexp(1.0, std::min(300 - exponent, 1000));
}

} // namespace geom
