// The tolerant predicates compared with exact arithmetic at the limit of their tolerance.
#include "Geom/ExactNumber.h"
#include "Geom/GeomTest.h"
#include "Geom/Geom_LineIntersection2D.h"
#include "Geom/Geom_Polygon.h"
#include "Geom/Geom_Vector.h"

namespace
{
using namespace Geom;
using Number = ExactNumber;

struct Vector
{
    Number x, y;
};

Vector operator-(const Point2D& a, const Point2D& b)
{
    return {Number(a.x) - b.x, Number(a.y) - b.y};
}
Number Cross(const Vector& u, const Vector& v) { return u.x * v.y - u.y * v.x; }

/// What the box of half-epsilons spans across a line with the direction @p d.
Number Band(const Vector& d, const Precision3D& precision)
{
    const double* half = precision.halfEpsilon;
    return d.y.Abs() * half[0] + d.x.Abs() * half[1];
}

int ExactSide(const Line2D& line, const Point2D& p, const Precision3D& precision)
{
    const Vector d = line.second - line.first;
    const Number cross = Cross(d, p - line.first);
    return cross.Abs() > Band(d, precision) ? cross.Sign() : 0;
}

bool AreSeparate(double a1, double a2, double b1, double b2, double halfEpsilon)
{
    const auto [low, high] = std::minmax(a1, a2);
    const auto [otherLow, otherHigh] = std::minmax(b1, b2);
    return Number(low) - otherHigh > halfEpsilon || Number(otherLow) - high > halfEpsilon;
}

/// Separating axes: two segments, the one grown by the box, are disjoint when x, y, or the normal
/// of one of them separates them.
bool ExactMeet(const Line2D& u, const Line2D& v, const Precision3D& precision)
{
    const auto isBeside = [&](const Line2D& line, const Line2D& other) {
        const int side = ExactSide(line, other.first, precision);
        return side != 0 && side == ExactSide(line, other.second, precision);
    };
    return !AreSeparate(u.first.x, u.second.x, v.first.x, v.second.x, precision.halfEpsilon[0]) &&
           !AreSeparate(u.first.y, u.second.y, v.first.y, v.second.y, precision.halfEpsilon[1]) &&
           !isBeside(u, v) && !isBeside(v, u);
}

/// Segments of all sizes, with points just within or beyond the tolerance of each other.
class EdgeCases
{
public:
    explicit EdgeCases(unsigned seed) : random_(seed) {}

    double Uniform(double most) { return std::uniform_real_distribution<>(-most, most)(random_); }
    Line2D Segment()
    {
        constexpr double kScales[] = {1e-3, 1, 100, 1e5, 1e9};
        const double scale = kScales[random_() % 5];
        const Point2D a = {Uniform(scale), Uniform(scale)};
        const Point2D ends[] = {
            {a.x, Uniform(scale)}, {a.x + 3e-5, a.y - 2e-5}, {Uniform(scale), Uniform(scale)}};
        return {a, ends[std::min(2, int(random_() % 4))]};
    }
    /// A point whose tolerance box about touches @p line.
    Point2D PointNear(const Line2D& line, const Precision3D& precision)
    {
        const double t = random_() % 4 == 0 ? double(random_() % 2) : 0.6 + Uniform(0.5);
        const double dx = line.second.x - line.first.x, dy = line.second.y - line.first.y;
        const double hair = random_() % 3 == 0 ? Uniform(1e-5) : Uniform(1e-13);
        const double side = (random_() % 2 == 0 ? 1 : -1) * (1 + hair);
        return {line.first.x + t * dx - std::copysign(precision.halfEpsilon[0] * side, dy),
                line.first.y + t * dy + std::copysign(precision.halfEpsilon[1] * side, dx)};
    }
    Precision3D AnyPrecision()
    {
        const int digits[3] = {int(random_() % 6), int(random_() % 6), 4};
        Precision3D precision;
        precision.Set(digits);
        return precision;
    }

private:
    std::mt19937 random_;
};

/// Coordinates of about 1e-170 and 1e150, whose products of two underflow and overflow. Factors
/// are powers of two, so nothing rounds and every answer is that of the factor 1.
constexpr double kFactors[] = {1, 0x1p-565, 0x1p498};

Point2D Times(double factor, const Point2D& p) { return {p.x * factor, p.y * factor}; }

Precision3D Times(double factor, Precision3D precision)
{
    precision.ScaleEpsilon(factor);
    return precision;
}

TEST(TolerantPredicates, AgreeWithExactArithmetic)
{
    EdgeCases cases(11);
    int straight = 0, on = 0;
    const int tries = 2000 * geomtest::Rounds();
    for (int i = 0; i < tries; ++i)
    {
        const Precision3D precision = cases.AnyPrecision();
        const Line2D line = cases.Segment();
        const Point2D p = cases.PointNear(line, precision);
        const int side = ExactSide(line, p, precision);
        const bool isOn = ExactMeet(line, {p, p}, precision);
        const auto& [a, b] = line;
        const Point2D ring[4] = {a, b, {b.y, -a.x}, a};
        const PointLocation location = PolygonLocatePoint2D(ring, 4, p, precision);
        for (const double f : kFactors)
        {
            const Precision3D scaled = Times(f, precision);
            const Point2D r[4] = {Times(f, a), Times(f, b), Times(f, ring[2]), Times(f, a)};
            ASSERT_EQ(int(VectorTurn2D(r[0], r[1], Times(f, p), scaled)), -side) << i << ' ' << f;
            ASSERT_EQ(LineContainsPoint2D(r[0], r[1], Times(f, p), scaled), isOn) << i << ' ' << f;
            ASSERT_EQ(PolygonLocatePoint2D(r, 4, Times(f, p), scaled), location) << i << ' ' << f;
        }
        straight += side == 0;
        on += isOn;
    }
    EXPECT_GT(straight, tries / 5);
    EXPECT_LT(straight, tries * 4 / 5);
    EXPECT_GT(on, tries / 5);
}

TEST(TolerantPredicates, FindSegmentsMeetingAsExactArithmeticDoes)
{
    EdgeCases cases(5);
    int kinds[3] = {}, crossings = 0;
    const int tries = 2000 * geomtest::Rounds();
    for (int i = 0; i < tries; ++i)
    {
        const Precision3D precision = cases.AnyPrecision();
        const Line2D u = cases.Segment();
        Line2D v = {cases.PointNear(u, precision), cases.PointNear(u, precision)};
        if (i % 3 != 0)
            v.second = {u.first.x + cases.Uniform(100), u.second.y + cases.Uniform(100)};
        const bool meet = ExactMeet(u, v, precision);
        const auto& [a, b] = u;
        const auto& [c, d] = v;
        const bool isEndOn = ExactMeet(u, {c, c}, precision) || ExactMeet(u, {d, d}, precision) ||
                             ExactMeet(v, {a, a}, precision) || ExactMeet(v, {b, b}, precision);
        Point2D p1, p2, q1, q2;
        const int n = LineIntersection2D(p1, p2, a, b, c, d, precision);
        ASSERT_EQ(n != 0, meet) << i;
        ASSERT_EQ(LineIsCrossing2D(a, b, c, d, precision), meet && !isEndOn) << i;
        // The same bits for the segments and their points in any order.
        ASSERT_EQ(LineIntersection2D(q1, q2, d, c, a, b, precision), n);
        ASSERT_TRUE(p1 == q1 && p2 == q2) << i;
        ++kinds[n];
        crossings += n == 1 && !isEndOn;
        Precision3D wider = precision;
        wider.ScaleEpsilon(1 + 1e-5); // the point itself is rounded
        for (const double f : kFactors)
        {
            const Point2D e[4] = {Times(f, a), Times(f, b), Times(f, c), Times(f, d)};
            const Precision3D exact = Times(f, precision), loose = Times(f, wider);
            ASSERT_EQ(LineIntersection2D(q1, q2, e[0], e[1], e[2], e[3], exact), n) << i;
            ASSERT_EQ(LineIsCrossing2D(e[0], e[1], e[2], e[3], exact), meet && !isEndOn) << i;
            for (const Point2D& p : {q1, q2})
                if (!IsMissing2D(p) && std::max(std::fabs(a.x), std::fabs(a.y)) < 1e6)
                    ASSERT_TRUE(LineContainsPoint2D(e[0], e[1], p, loose) &&
                                LineContainsPoint2D(e[2], e[3], p, loose))
                        << i << ' ' << f;
        }
    }
    EXPECT_GT(kinds[0], tries / 14);
    EXPECT_GT(kinds[2], tries / 14);
    EXPECT_GT(crossings, tries / 40);
}
} // namespace
