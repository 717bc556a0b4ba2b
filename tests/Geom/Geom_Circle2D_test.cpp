#include "Geom/GeomTest.h"
#include "Geom/Geom_Circle2D.h"
#include "Geom/Geom_Vector.h"

#include <bit>
#include <numbers>

namespace
{
using namespace geomtest;

constexpr double kPi = std::numbers::pi;

TEST(Vector2D, TurnsAndEnclosesAreas)
{
    const Point2D a = {0, 0}, b = {10, 0};
    EXPECT_EQ(VectorTurn2D(a, b, {20, 1}, kPrecision), TurnOrientation::CounterClockwise);
    EXPECT_EQ(VectorTurn2D(a, a, {3, 4}, kPrecision), TurnOrientation::Collinear);
    EXPECT_EQ(VectorTurn2D(a, b, {3, kNaN}, kPrecision), TurnOrientation::Collinear);
    EXPECT_EQ(VectorTurn2D(a, {0, 1e300}, {1e300, 0}, kPrecision), TurnOrientation::Clockwise);
    EXPECT_EQ(int(TurnOrientation::CounterClockwise), -1);
    EXPECT_EQ(TriArea2x2D(a, b, {0, 3}), 30);
    EXPECT_EQ(TriArea2D(a, {0, 3}, b), -15);
}

TEST(Vector2D, HasAnglesBetweenVectors)
{
    const std::tuple<Point2D, Point2D, double> rows[] = {{{1, 0}, {0, 5}, kPi / 2},
                                                         {{0, 5}, {1, 1}, -kPi / 4},
                                                         {{1, 0}, {-1, -1e-300}, kPi}, // never -pi
                                                         {{0, 0}, {1, 2}, 0},
                                                         {{1e-320, 0}, {1e300, 1e300}, kPi / 4}};
    for (const auto& [u, v, angle] : rows)
    {
        EXPECT_DOUBLE_EQ(VectorAngle2D(u, v), angle);
        EXPECT_DOUBLE_EQ(VectorAbsAngle2D(u, v), std::fabs(angle));
        EXPECT_DOUBLE_EQ(VectorAngle3D({u.x, u.y, 0}, {v.x, v.y, 0}), std::fabs(angle));
    }
    EXPECT_TRUE(std::isnan(VectorAngle2D({1, kNaN}, {1, 2})));
    EXPECT_DOUBLE_EQ(VectorAngle3D({1, 0, 0}, {0, 0, -2}), kPi / 2);
    EXPECT_DOUBLE_EQ(VectorAngle3D({1e200, 0, 0}, {-1e-200, 0, 0}), kPi);
}

TEST(Vector2D, HasADirectionInDegrees)
{
    const std::pair<Point2D, double> rows[] = {{{1, 0}, 0},    {{3, 3}, 45},   {{0, 2}, 90},
                                               {{-2, 2}, 135}, {{-1, 0}, 180}, {{-1, -1}, 225},
                                               {{0, -1}, 270}, {{1, -1}, 315}, {{0, 0}, 0}};
    for (const auto& [to, degrees] : rows)
        EXPECT_EQ(CalcAngleInDegreesFromLineEndPts2D({0, 0}, to), degrees);
    EXPECT_NEAR(CalcAngleInDegreesFromLineEndPts2D({0, 0}, {-3, std::sqrt(3)}), 150, 1e-12);
    EXPECT_LT(CalcAngleInDegreesFromLineEndPts2D({0, 0}, {1, -1e-300}), 360);
}

TEST(Vector2D, RotatesByTheTrueSineAndCosine)
{
    // Worked out with 80 digits.
    const std::tuple<double, double, double> rows[] = {
        {0.7, 0.7648421872844885, 0.644217687237691},
        {-2.5, -0.8011436155469337, -0.5984721441039565},
        {12345.678, 0.7101193587160628, -0.7040813137533816},
        {999999.5, 0.654281508650351, -0.756251087561678},
        {kPi / 2, 6.123233995736766e-17, 1},
        {355, -0.999999999545659, -3.014435335948845e-05}};
    for (const auto& [angle, cosine, sine] : rows)
    {
        const Point2D turned = VectorRotate2D({1, 0}, angle);
        EXPECT_NEAR(turned.x, cosine, std::fabs(cosine) * 2.3e-16) << angle;
        EXPECT_NEAR(turned.y, sine, std::fabs(sine) * 2.3e-16) << angle;
        EXPECT_EQ(VectorRotate2D({0, -1}, angle), (Point2D{turned.y, -turned.x}));
    }
    EXPECT_NEAR(CalcPtFromAngle2D({5, 5}, 1e9, 2).y, 5 + 2 * 0.545843449448699, 4e-7);
    EXPECT_TRUE(std::isnan(VectorRotate2D({1, 0}, kInfinity).x));
}

TEST(Vector2D, HasAnglesWithinAUnitInTheLastPlace)
{
    // Against the C library's with more digits; all octants, near the axes and at their borders.
    long double worst = 0;
    for (int i = 0; i < 20000; ++i)
        for (const double scale : {1.0, 1e-3, 1e-9, 1e200})
        {
            const double y = (i % 200 - 100) * 0.01 * scale, x = (i / 100 - 100) * 0.01;
            const double angle = VectorAngle2D({1, 0}, {x, y});
            const long double right = std::atan2((long double)y, (long double)x); // 0 for 0
            const double unit = std::nextafter(std::fabs(angle), 9) - std::fabs(angle);
            if (!(y == 0 && x < 0))
                worst = std::max(worst, std::fabs(angle - right) / unit);
        }
    EXPECT_LT(worst, 1);
}

TEST(Circle2D, IsMeasured)
{
    const Circle2D circle = CircleGet2D({1, 1}, {4, 5});
    EXPECT_EQ(circle, (Circle2D{{1, 1}, 5}));
    EXPECT_EQ(CircleArea2D(circle), kPi * 25);
    EXPECT_EQ(CircleCircumference2D(circle), (kPi + kPi) * 5);
    EXPECT_DOUBLE_EQ(CircleGet2D({0, 0}, {3e200, 4e200}).radius, 5e200);
    EXPECT_EQ(CircleEdgePoint2D(circle, 0), (Point2D{6, 1}));
    EXPECT_EQ(CircleEdgeClosestPoint2D(circle, {1, 9}), (Point2D{1, 6}));
    EXPECT_EQ(CircleEdgeClosestPoint2D(circle, circle.centre), (Point2D{6, 1}));
    EXPECT_EQ(CircleEdgeClosestPoint2D(circle, {kNaN, 1}), kNoPoint);
}

TEST(Circle2D, ContainsItsRimUnlessItIsExcluded)
{
    const Circle2D circle = {{0, 0}, 5};
    const std::tuple<Circle2D, Point2D, bool, bool> rows[] = {
        {circle, {3, 4}, true, false},
        {circle, {5 - 6e-5, 0}, true, true},
        {circle, {5 - 4e-5, 0}, true, false},
        {circle, {5 + 4e-5, 0}, true, false},
        {circle, {5 + 6e-5, 0}, false, false},
        {circle, {kNaN, 0}, false, false},
        {{{2, 2}, 0}, {2, 2.00004}, true, false},
        {{{2, 2}, -1}, {2, 2}, false, false}};
    for (const auto& [round, p, isIn, isClear] : rows)
    {
        EXPECT_EQ(CircleContainsPoint2D(round, p, false, kPrecision), isIn) << p.x;
        EXPECT_EQ(CircleContainsPoint2D(round, p, true, kPrecision), isClear) << p.x;
    }
    EXPECT_TRUE(CircleIsCollision2D(circle, {{10 + 4e-5, 0}, 5}));
    EXPECT_FALSE(CircleIsCollision2D(circle, {{10 + 6e-5, 0}, 5}));
    EXPECT_TRUE(CircleIsCollision2D(circle, {{1, 0}, 1})); // one within the other
    EXPECT_FALSE(CircleIsCollision2D(circle, {{0, 0}, kNaN}));
}

TEST(Circle2D, MeetsLinesInUpToTwoPoints)
{
    using Points = std::vector<Point2D>;
    const Circle2D circle = {{0, 0}, 5};
    const double kFarHalf = std::sqrt(2000 * 0x1p-30 - 0x1p-60), kTop = 4.5e6 + 1000 - 0x1p-30;
    const Points far = {{4.5e6 - kFarHalf, kTop}, {4.5e6 + kFarHalf, kTop}};
    const std::tuple<Circle2D, Line2D, Points, Points> rows[] = {
        {circle, {{-9, 3}, {9, 3}}, {{-4, 3}, {4, 3}}, {{-4, 3}, {4, 3}}},
        {circle, {{9, 3}, {0, 3}}, {{4, 3}}, {{4, 3}, {-4, 3}}},
        {circle, {{-1, 3}, {1, 3}}, {}, {{-4, 3}, {4, 3}}},
        {circle, {{-9, 5 + 4e-5}, {9, 5 + 4e-5}}, {{0, 5 + 4e-5}}, {{0, 5 + 4e-5}}},
        {circle, {{-9, 5 + 6e-5}, {9, 5 + 6e-5}}, {}, {}},
        {circle, {{0, 0}, {5 - 4e-5, 0}}, {{5 - 4e-5, 0}}, {{-5, 0}, {5, 0}}},
        {circle, {{3, 4}, {3, 4}}, {{3, 4}}, {{3, 4}}},
        {circle, {{1, 1}, {1, 1}}, {}, {}},
        {{{2, 2}, 0}, {{0, 2}, {4, 2}}, {{2, 2}}, {{2, 2}}},
        {{{0, 0}, kNaN}, {{0, 2}, {4, 2}}, {}, {}},
        {circle, {{0, kInfinity}, {4, 2}}, {}, {}},
        // A chord of 45 half-epsilons far out: 2^-30 is the last digit there.
        {{{4.5e6, 4.5e6}, 1000}, {{4.498e6, kTop}, {4.502e6, kTop}}, far, far},
    };
    for (const auto& [round, line, onSegment, onLine] : rows)
    {
        SCOPED_TRACE(testing::Message() << line.first.x << ' ' << line.first.y);
        CircleLinePoints out;
        EXPECT_EQ(CircleLineIntersection2D(out, round, line), int(onSegment.size()));
        EXPECT_EQ(Points(out.begin(), out.end()), onSegment);
        CircleInfLineIntersection2D(out, round, line);
        EXPECT_EQ(Points(out.begin(), out.end()), onLine);
    }
}
} // namespace
