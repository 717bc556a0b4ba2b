#include "Geom/GeomTest.h"

namespace
{
using namespace geomtest;

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
    const std::pair<double, int> rows[] = {
        {1.0, 3}, {10.0, 2}, {0.1, 4},          {3.0, 3},
        {4.0, 2}, {-1., 0},  {0.0, 2147483647}, {kInfinity, -2147483647},
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
    SetCompPrecision(coarse);
    EXPECT_EQ(Precision().halfEpsilon[0], 0.5);
    EXPECT_EQ(LineGet2D({0, 0}, {0.4, 0.6}), (Line2D{{0, 0}, {0.4, 0.6}}));
    SetCompPrecision({});
    EXPECT_EQ(Precision().halfEpsilon[0], 5e-5);
}

TEST(Point, EqualsWithinTheHalfEpsilonInclusive)
{
    const std::tuple<Point3D, Point3D, bool, bool> rows[] = {
        {{0, 0, 0}, {5e-5, 0, 0}, true, true},
        {{0, 0, 0}, {5.0001e-5, 0, 0}, false, false},
        {{0, 0, 0}, {0, -5.0001e-5, 0}, false, false},
        {{-1e-5, 0, 0}, {4e-5, 0, 0}, true, true}, // 5e-5 apart as doubles
        {{kInfinity, 0, 0}, {kInfinity, 0, 0}, true, true},
        {{kNaN, 0, 0}, {kNaN, 0, 0}, false, false},
        {{1, 2, 3}, {1, 2, 3.00005 - 1e-9}, true, true},
        {{1, 2, 3}, {1, 2, 3.0001}, true, false}};
    for (const auto& [a, b, inPlan, inSpace] : rows)
    {
        EXPECT_EQ(IsEqual2D({a.x, a.y}, {b.x, b.y}, kPrecision), inPlan) << b.x;
        EXPECT_EQ(IsEqual3D(a, b, kPrecision), inSpace) << b.x;
    }
}

TEST(Point, RoundsToTheGridHalvesAwayFromZero)
{
    const round_Point2D round{Precision3D()};
    EXPECT_EQ(round({0.12345001, -0.3}), (Point2D{0.1235, -0.3}));
    EXPECT_EQ(round({1e15 + 0.125, -kInfinity}), (Point2D{1e15 + 0.125, -kInfinity}));
    const int whole[3] = {0, -2, 0};
    Precision3D coarse;
    coarse.Set(whole);
    EXPECT_EQ(round_Point2D(coarse)({-2.5, 149}), (Point2D{-3, 100}));
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
    // Around cell boundaries, and everything that is hard to compare.
    std::vector<double> values = {0,    -0.0,         kNaN,     -kNaN,     kInfinity, -kInfinity,
                                  1e15, 1e15 + 0.125, 4.9e-324, -4.9e-324, kMissing,  1.1258999e11};
    for (int i = -4; i <= 4; ++i)
        values.push_back(i * 2.5e-5 + 1);
    std::vector<Point2D> points;
    std::vector<Point3D> spatial;
    std::mt19937 random(7);
    for (int i = 0; i < 60; ++i)
    {
        const auto any = [&] { return values[random() % values.size()]; };
        points.push_back({any(), any()});
        spatial.push_back({1, any(), any()});
    }
    ExpectStrictWeakOrder(less_Point2D(Precision3D()), points);
    ExpectStrictWeakOrder(less_Point3D(), spatial);
    for (const double tolerance : {0.0, -1.0, kNaN, kInfinity, 1e-320})
        ExpectStrictWeakOrder(gtl::engless_point_2D<Point2D, 2, 1>(tolerance, 5e-5), points);
}

TEST(PointOrder, DistinguishesPointsByTheirGridPoint)
{
    const less_Point2D less(kPrecision);
    const round_Point2D round(kPrecision);
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
    EXPECT_TRUE((gtl::engless_point_3D<Point3D, 1, 2, 3>(0, 0, 0)({1, 2, 3}, {1, 2, 4})));
}
} // namespace
