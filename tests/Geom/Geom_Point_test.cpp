#include "Geom/Geom_Line2D.h"
#include "Geom/Geom_Point.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>
#include <vector>

namespace
{
using Geom::Point2D;
using Geom::Precision3D;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

TEST(Precision3D, StartsWithFourDigitsAndTakesOthers)
{
    Precision3D precision;
    const int digits[3] = {4, 2, -2147483647 - 1};
    EXPECT_EQ(precision.epsilon[1], 1e-4);
    EXPECT_EQ(precision.halfEpsilon[2], 5e-5);
    precision.Set(digits);
    EXPECT_EQ(precision.halfEpsilon[0], 5e-5);
    EXPECT_EQ(precision.epsilon[1], 1e-2);
    EXPECT_EQ(precision.halfEpsilon[2], kInfinity);
}

TEST(Precision3D, ScalesItsEpsilonsAndLosesADigitAtPowersOfTen)
{
    const std::pair<double, int> rows[] = {{1.0, 3},
                                           {10.0, 2},
                                           {0.1, 4},
                                           {3.0, 3},
                                           {4.0, 2},
                                           {0.0, 2147483647},
                                           {kInfinity, -2147483647},
                                           {-1.0, 0},
                                           {kNaN, 0}};
    for (const auto& [factor, digits] : rows)
    {
        Precision3D precision;
        precision.ScaleEpsilon(factor);
        EXPECT_EQ(precision.digits[0], digits) << factor;
        if (factor == factor)
            EXPECT_EQ(precision.halfEpsilon[1], 1e-4 * factor * 0.5) << factor;
    }
    Precision3D three, other;
    three.ScaleEpsilon(1);
    other.ScaleEpsilon(1.1);
    EXPECT_TRUE(three == other); // by their digits
    EXPECT_FALSE(three == Precision3D());
}

TEST(Precision3D, IsReplacedForTheWholeProcess)
{
    Precision3D coarse;
    coarse.ScaleEpsilon(1e4);
    Geom::SetCompPrecision(coarse);
    EXPECT_EQ(Geom::Precision().halfEpsilon[0], 0.5);
    EXPECT_EQ(Geom::LineGet2D({0, 0}, {0.4, 0.6}), (Geom::Line2D{{0, 0}, {0.4, 0.6}}));
    Geom::SetCompPrecision({});
    EXPECT_EQ(Geom::Precision().halfEpsilon[0], 5e-5);
}

TEST(Point, EqualsWithinTheHalfEpsilonInclusive)
{
    const Precision3D p;
    EXPECT_TRUE(Geom::IsEqual2D({0, 0}, {5e-5, 0}, p));
    EXPECT_FALSE(Geom::IsEqual2D({0, 0}, {5.0001e-5, 0}, p));
    EXPECT_FALSE(Geom::IsEqual2D({0, 0}, {0, -5.0001e-5}, p));
    EXPECT_TRUE(Geom::IsEqual2D({-1e-5, 0}, {4e-5, 0}, p)); // 5e-5 apart as doubles
    EXPECT_TRUE(Geom::IsEqual2D({kInfinity, 0}, {kInfinity, 0}, p));
    EXPECT_FALSE(Geom::IsEqual2D({kNaN, 0}, {kNaN, 0}, p));
    EXPECT_TRUE(Geom::IsEqual3D({1, 2, 3}, {1, 2, 3.00005 - 1e-9}, p));
    EXPECT_FALSE(Geom::IsEqual3D({1, 2, 3}, {1, 2, 3.0001}, p));
}

TEST(Point, RoundsToTheGridHalvesAwayFromZero)
{
    const Geom::round_Point2D round{Precision3D()};
    EXPECT_EQ(round({0.12345001, -0.3}), (Point2D{0.1235, -0.3}));
    const int whole[3] = {0, -2, 0};
    Precision3D coarse;
    coarse.Set(whole);
    EXPECT_EQ(Geom::round_Point2D(coarse)({-2.5, 149}), (Point2D{-3, 100}));
    EXPECT_EQ(round({1e15 + 0.125, -kInfinity}), (Point2D{1e15 + 0.125, -kInfinity}));
}

/// Values around cell boundaries, and everything that is hard to compare.
std::vector<double> HardValues()
{
    std::vector<double> values = {0,
                                  -0.0,
                                  kNaN,
                                  -kNaN,
                                  kInfinity,
                                  -kInfinity,
                                  1e15,
                                  1e15 + 0.125,
                                  4.9e-324,
                                  -4.9e-324,
                                  MissingValue<double>(),
                                  1.1258999e11};
    for (int i = -4; i <= 4; ++i)
        values.push_back(i * 2.5e-5 + 1);
    return values;
}

template <class Less, class Point>
void ExpectStrictWeakOrder(const Less& less, const std::vector<Point>& points)
{
    const auto areAlike = [&](const Point& a, const Point& b) {
        return !less(a, b) && !less(b, a);
    };
    for (const Point& a : points)
        for (const Point& b : points)
        {
            ASSERT_FALSE(less(a, b) && less(b, a));
            for (const Point& c : points)
            {
                ASSERT_FALSE(less(a, b) && less(b, c) && !less(a, c));
                ASSERT_FALSE(areAlike(a, b) && areAlike(b, c) && !areAlike(a, c));
            }
        }
}

TEST(PointOrder, IsAStrictWeakOrderWhateverThePoints)
{
    const std::vector<double> values = HardValues();
    std::vector<Point2D> points;
    std::vector<Geom::Point3D> spatial;
    std::mt19937 random(7);
    for (int i = 0; i < 60; ++i)
    {
        const auto any = [&] { return values[random() % values.size()]; };
        points.push_back({any(), any()});
        spatial.push_back({1, any(), any()});
    }
    ExpectStrictWeakOrder(Geom::less_Point2D(Precision3D()), points);
    ExpectStrictWeakOrder(Geom::less_Point3D(), spatial);
    for (const double tolerance : {0.0, -1.0, kNaN, kInfinity, 1e-320})
        ExpectStrictWeakOrder(gtl::engless_point_2D<Point2D, 2, 1>(tolerance, 5e-5), points);
}

TEST(PointOrder, TellsPointsApartByTheirGridPoint)
{
    const Precision3D precision;
    const Geom::less_Point2D less(precision);
    const Geom::round_Point2D round(precision);
    std::mt19937 random(3);
    std::uniform_real_distribution<double> coordinate(-3e-4, 3e-4);
    for (int i = 0; i < 2000; ++i)
    {
        const Point2D a = {coordinate(random), coordinate(random)};
        const Point2D b = {coordinate(random), coordinate(random)};
        ASSERT_EQ(!less(a, b) && !less(b, a), round(a) == round(b));
    }
    EXPECT_TRUE(less({0, 9}, {1, 0}));
    EXPECT_FALSE(less({1, 0}, {1 + 4e-5, 0})); // one grid point
    EXPECT_TRUE((gtl::engless_point_2D<Point2D, 2, 1>(1e-3, 1e-3)({9, 0}, {0, 1})));
    EXPECT_TRUE((gtl::engless_point_3D<Geom::Point3D, 1, 2, 3>(0, 0, 0)({1, 2, 3}, {1, 2, 4})));
}

TEST(PointPrecedes2D, RunsInACircle)
{
    const Point2D a = {0, 0}, b = {4e-5, -1}, c = {8e-5, -2};
    const Precision3D p;
    EXPECT_TRUE(Geom::PointPrecedes2D(c, b, p) && Geom::PointPrecedes2D(b, a, p));
    EXPECT_TRUE(Geom::PointPrecedes2D(a, c, p));
    EXPECT_FALSE(Geom::PointPrecedes2D(a, {5e-5, 5e-5}, p)); // equal within the tolerance
}

TEST(Line2D, PutsTheLowerLeftPointFirst)
{
    const Point2D origin = {0, 0}, near = {4e-5, -4e-5};
    const std::pair<Geom::Line2D, Geom::Line2D> rows[] = {
        {{{1, 0}, {0, 0}}, {{0, 0}, {1, 0}}},
        {{{0, 0}, {0, 1}}, {{0, 0}, {0, 1}}},
        {{{0, 1}, {0, 0}}, {{0, 0}, {0, 1}}},
        {{{4e-5, 0}, {0, 1}}, {{4e-5, 0}, {0, 1}}}, // one column within the tolerance
        {{origin, near}, {near, origin}},           // equal within it: swapped
        {{near, origin}, {origin, near}},
    };
    for (const auto& [given, expected] : rows)
        EXPECT_EQ(Geom::LineGet2D(given.first, given.second), expected);
}
} // namespace
