// The tolerant predicates beside exact arithmetic, right at the edge of their tolerance.
#include "Geom/ExactNumber.h"
#include "Geom/Geom_Line2D.h"
#include "Geom/Geom_LineIntersection2D.h"
#include "Geom/Geom_Vector.h"
#include "Geom/Rounds.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <random>

namespace
{
using Geom::Line2D;
using Geom::Point2D;
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
Number Band(const Vector& d, const Geom::Precision3D& precision)
{
    return Number(precision.halfEpsilon[0]) * d.y.Abs() +
           Number(precision.halfEpsilon[1]) * d.x.Abs();
}

int ExactSide(const Line2D& line, const Point2D& p, const Geom::Precision3D& precision)
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

/// Separating axes: two segments, the one grown by the box, are apart when x, y, or the normal of
/// one of them tells them apart.
bool ExactMeet(const Line2D& u, const Line2D& v, const Geom::Precision3D& precision)
{
    const auto isBeside = [&](const Line2D& line, const Line2D& other) {
        const int side = ExactSide(line, other.first, precision);
        return side != 0 && side == ExactSide(line, other.second, precision);
    };
    return !AreSeparate(u.first.x, u.second.x, v.first.x, v.second.x, precision.halfEpsilon[0]) &&
           !AreSeparate(u.first.y, u.second.y, v.first.y, v.second.y, precision.halfEpsilon[1]) &&
           !isBeside(u, v) && !isBeside(v, u);
}

/// Segments of all sizes, with points a hair within or beyond the tolerance of each other.
class EdgeCases
{
public:
    explicit EdgeCases(unsigned seed) : random_(seed) {}

    double Uniform(double most) { return std::uniform_real_distribution<>(-most, most)(random_); }
    Line2D Segment()
    {
        static const double scales[] = {1e-3, 1, 100, 1e5, 1e9};
        const double scale = scales[random_() % 5];
        const Point2D a = {Uniform(scale), Uniform(scale)};
        switch (random_() % 4)
        {
        case 0:
            return {a, {a.x, Uniform(scale)}};
        case 1:
            return {a, {a.x + 3e-5, a.y - 2e-5}};
        default:
            return {a, {Uniform(scale), Uniform(scale)}};
        }
    }
    /// A point whose tolerance box about touches @p line.
    Point2D PointNear(const Line2D& line, const Geom::Precision3D& precision)
    {
        const double t = random_() % 4 == 0 ? double(random_() % 2) : 0.6 + Uniform(0.5);
        const double dx = line.second.x - line.first.x, dy = line.second.y - line.first.y;
        const double hair = random_() % 3 == 0 ? Uniform(1e-5) : Uniform(1e-13);
        const double side = (random_() % 2 == 0 ? 1 : -1) * (1 + hair);
        return {line.first.x + t * dx - std::copysign(precision.halfEpsilon[0] * side, dy),
                line.first.y + t * dy + std::copysign(precision.halfEpsilon[1] * side, dx)};
    }
    Geom::Precision3D AnyPrecision()
    {
        const int digits[3] = {int(random_() % 6), int(random_() % 6), 4};
        Geom::Precision3D precision;
        precision.Set(digits);
        return precision;
    }

private:
    std::mt19937 random_;
};

TEST(ExactNumber, AddsAndMultipliesWithoutRounding)
{
    const Number tiny(0x1p-900), huge(0x1p900);
    EXPECT_EQ((huge + tiny - huge - tiny).Sign(), 0);
    EXPECT_EQ((huge + tiny - huge).Sign(), 1);
    const Number next(1 + 0x1p-52);
    EXPECT_EQ((next * next - 1 - 0x1p-51 - 0x1p-104).Sign(), 0);
    EXPECT_TRUE(Number(-2) > Number(-3));
}

TEST(TolerantPredicates, AgreeWithExactArithmetic)
{
    EdgeCases cases(11);
    int straight = 0, on = 0;
    const int tries = 2000 * oracle::Rounds();
    for (int i = 0; i < tries; ++i)
    {
        const Geom::Precision3D precision = cases.AnyPrecision();
        const Line2D line = cases.Segment();
        const Point2D p = cases.PointNear(line, precision);
        const int side = ExactSide(line, p, precision);
        ASSERT_EQ(int(Geom::VectorTurn2D(line.first, line.second, p, precision)), -side) << i;
        const bool isOn = ExactMeet(line, {p, p}, precision);
        ASSERT_EQ(Geom::LineContainsPoint2D(line.first, line.second, p, precision), isOn) << i;
        straight += side == 0;
        on += isOn;
    }
    EXPECT_GT(straight, tries / 5);
    EXPECT_LT(straight, tries * 4 / 5);
    EXPECT_GT(on, tries / 5);
    std::printf("[ ORACLE   ] %d points judged exactly, %d on their segment\n", tries, on);
}

TEST(TolerantPredicates, FindSegmentsMeetingAsExactArithmeticDoes)
{
    EdgeCases cases(5);
    int kinds[3] = {}, crossings = 0;
    const int tries = 2000 * oracle::Rounds();
    for (int i = 0; i < tries; ++i)
    {
        const Geom::Precision3D precision = cases.AnyPrecision();
        const Line2D u = cases.Segment();
        Line2D v = {cases.PointNear(u, precision), cases.PointNear(u, precision)};
        if (i % 3 != 0)
            v.second = {u.first.x + cases.Uniform(100), u.second.y + cases.Uniform(100)};
        const bool meet = ExactMeet(u, v, precision);
        const int endsOn = ExactMeet(u, {v.first, v.first}, precision) +
                           ExactMeet(u, {v.second, v.second}, precision) +
                           ExactMeet(v, {u.first, u.first}, precision) +
                           ExactMeet(v, {u.second, u.second}, precision);
        Point2D p1, p2, q1, q2;
        const int n =
            Geom::LineIntersection2D(p1, p2, u.first, u.second, v.first, v.second, precision);
        ASSERT_EQ(n != 0, meet) << i;
        ASSERT_EQ(Geom::LineIsCrossing2D(u.first, u.second, v.first, v.second, precision),
                  meet && endsOn == 0)
            << i;
        // The same bits for the segments and their points in any order.
        ASSERT_EQ(Geom::LineIntersection2D(q1, q2, v.second, v.first, u.first, u.second, precision),
                  n);
        ASSERT_EQ(p1, q1) << i;
        ASSERT_EQ(p2, q2) << i;
        ++kinds[n];
        crossings += n == 1 && endsOn == 0;
        for (const Point2D& p : {p1, p2})
            if (!Geom::IsMissing2D(p) && std::max(std::fabs(u.first.x), std::fabs(u.first.y)) < 1e6)
            {
                Geom::Precision3D wider = precision;
                wider.ScaleEpsilon(1 + 1e-5); // the point itself is rounded
                ASSERT_TRUE(Geom::LineContainsPoint2D(u.first, u.second, p, wider)) << i;
                ASSERT_TRUE(Geom::LineContainsPoint2D(v.first, v.second, p, wider)) << i;
            }
    }
    EXPECT_GT(kinds[0], tries / 14);
    EXPECT_GT(kinds[2], tries / 14);
    EXPECT_GT(crossings, tries / 40);
    std::printf("[ ORACLE   ] %d pairs of segments judged exactly, %d crossings\n", tries,
                crossings);
}
} // namespace
