#include "Geom/FPOINT.h"
#include "Geom/Geom_Circle2D.h"
#include "Geom/Geom_Vector.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <numbers>

namespace
{
using Geom::Circle2D;
using Geom::Line2D;
using Geom::Point2D;
using Geom::TurnOrientation;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kPi = std::numbers::pi;
constexpr Point2D kNoPoint = MissingValue<Point2D>();
const Geom::Precision3D kPrecision;

TEST(Vector2D, TurnsAndEnclosesAreas)
{
    const Point2D a = {0, 0}, b = {10, 0};
    EXPECT_EQ(Geom::VectorTurn2D(a, b, {20, 1}, kPrecision), TurnOrientation::CounterClockwise);
    EXPECT_EQ(Geom::VectorTurn2D(a, b, {20, -1}, kPrecision), TurnOrientation::Clockwise);
    EXPECT_EQ(Geom::VectorTurn2D(a, b, {-20, 4e-5}, kPrecision), TurnOrientation::Collinear);
    EXPECT_EQ(Geom::VectorTurn2D(a, a, {3, 4}, kPrecision), TurnOrientation::Collinear);
    EXPECT_EQ(Geom::VectorTurn2D(a, b, {3, kNaN}, kPrecision), TurnOrientation::Collinear);
    EXPECT_EQ(Geom::VectorTurn2D({0, 0}, {1e300, 0}, {0, 1e300}, kPrecision),
              TurnOrientation::CounterClockwise);
    EXPECT_EQ(int(TurnOrientation::CounterClockwise), -1);
    EXPECT_EQ(Geom::TriArea2x2D(a, b, {0, 3}), 30);
    EXPECT_EQ(Geom::TriArea2D(a, {0, 3}, b), -15);
}

TEST(Vector2D, HasAnglesBetweenVectors)
{
    EXPECT_DOUBLE_EQ(Geom::VectorAngle2D({1, 0}, {0, 5}), kPi / 2);
    EXPECT_DOUBLE_EQ(Geom::VectorAngle2D({0, 5}, {1, 0}), -kPi / 2);
    EXPECT_DOUBLE_EQ(Geom::VectorAbsAngle2D({0, 5}, {1, 1}), kPi / 4);
    EXPECT_EQ(Geom::VectorAngle2D({1, 0}, {-1, -1e-300}), kPi); // never -pi
    EXPECT_EQ(Geom::VectorAngle2D({0, 0}, {1, 2}), 0);
    EXPECT_DOUBLE_EQ(Geom::VectorAngle2D({1e-320, 0}, {1e300, 1e300}), kPi / 4);
    EXPECT_TRUE(std::isnan(Geom::VectorAngle2D({1, kNaN}, {1, 2})));
    EXPECT_DOUBLE_EQ(Geom::VectorAngle3D({1, 0, 0}, {0, 0, -2}), kPi / 2);
    EXPECT_DOUBLE_EQ(Geom::VectorAngle3D({1e200, 0, 0}, {-1e-200, 0, 0}), kPi);
}

TEST(Vector2D, HasADirectionInDegrees)
{
    const std::pair<Point2D, double> rows[] = {{{1, 0}, 0},    {{3, 3}, 45},   {{0, 2}, 90},
                                               {{-2, 2}, 135}, {{-1, 0}, 180}, {{-1, -1}, 225},
                                               {{0, -1}, 270}, {{1, -1}, 315}, {{0, 0}, 0}};
    for (const auto& [to, degrees] : rows)
        EXPECT_EQ(Geom::CalcAngleInDegreesFromLineEndPts2D({0, 0}, to), degrees);
    EXPECT_NEAR(Geom::CalcAngleInDegreesFromLineEndPts2D({0, 0}, {-3, std::sqrt(3)}), 150, 1e-12);
    EXPECT_LT(Geom::CalcAngleInDegreesFromLineEndPts2D({0, 0}, {1, -1e-300}), 360);
}

TEST(Vector2D, RotatesByTheTrueSineAndCosine)
{
    struct
    {
        double angle, cosine, sine; // worked out with 80 digits
    } const rows[] = {{0.7, 0.7648421872844885, 0.644217687237691},
                      {-2.5, -0.8011436155469337, -0.5984721441039565},
                      {12345.678, 0.7101193587160628, -0.7040813137533816},
                      {999999.5, 0.654281508650351, -0.756251087561678},
                      {kPi / 2, 6.123233995736766e-17, 1},
                      {355, -0.999999999545659, -3.014435335948845e-05}};
    for (const auto& [angle, cosine, sine] : rows)
    {
        const Point2D turned = Geom::VectorRotate2D({1, 0}, angle);
        EXPECT_NEAR(turned.x, cosine, std::fabs(cosine) * 2.3e-16) << angle;
        EXPECT_NEAR(turned.y, sine, std::fabs(sine) * 2.3e-16) << angle;
        EXPECT_EQ(Geom::VectorRotate2D({0, -1}, angle), (Point2D{turned.y, -turned.x}));
    }
    EXPECT_NEAR(Geom::CalcPtFromAngle2D({5, 5}, 1e9, 2).y, 5 + 2 * 0.545843449448699, 4e-7);
    EXPECT_TRUE(std::isnan(Geom::VectorRotate2D({1, 0}, kInfinity).x));
}

TEST(Vector2D, RotatesWithTheSameBitsEverywhere)
{
    std::uint64_t hash = 14695981039346656037u;
    for (int i = -5000; i < 5000; ++i)
    {
        const Point2D turned = Geom::VectorRotate2D({1, 0}, i * 0.737);
        for (const double v : {turned.x, turned.y})
            hash = (hash ^ std::bit_cast<std::uint64_t>(v)) * 1099511628211u;
    }
    EXPECT_EQ(hash, 5941000141088082034u); // of this code; a change of one bit changes it
}

TEST(Circle2D, IsMeasured)
{
    const Circle2D circle = Geom::CircleGet2D({1, 1}, {4, 5});
    EXPECT_EQ(circle, (Circle2D{{1, 1}, 5}));
    EXPECT_EQ(Geom::CircleArea2D(circle), kPi * 25);
    EXPECT_EQ(Geom::CircleCircumference2D(circle), (kPi + kPi) * 5);
    EXPECT_DOUBLE_EQ(Geom::CircleGet2D({0, 0}, {3e200, 4e200}).radius, 5e200);
    EXPECT_EQ(Geom::CircleEdgePoint2D(circle, 0), (Point2D{6, 1}));
    EXPECT_EQ(Geom::CircleEdgeClosestPoint2D(circle, {1, 9}), (Point2D{1, 6}));
    EXPECT_EQ(Geom::CircleEdgeClosestPoint2D(circle, circle.centre), (Point2D{6, 1}));
    EXPECT_EQ(Geom::CircleEdgeClosestPoint2D(circle, {kNaN, 1}), kNoPoint);
}

TEST(Circle2D, ContainsItsRimUnlessItIsExcluded)
{
    const Circle2D circle = {{0, 0}, 5};
    struct
    {
        Point2D p;
        bool contained, clear;
    } const rows[] = {{{3, 4}, true, false},         {{5 - 6e-5, 0}, true, true},
                      {{5 - 4e-5, 0}, true, false},  {{5 + 4e-5, 0}, true, false},
                      {{5 + 6e-5, 0}, false, false}, {{kNaN, 0}, false, false}};
    for (const auto& [p, contained, clear] : rows)
    {
        EXPECT_EQ(Geom::CircleContainsPoint2D(circle, p, false, kPrecision), contained) << p.x;
        EXPECT_EQ(Geom::CircleContainsPoint2D(circle, p, true, kPrecision), clear) << p.x;
    }
    EXPECT_TRUE(Geom::CircleContainsPoint2D({{2, 2}, 0}, {2, 2 + 4e-5}, false, kPrecision));
    EXPECT_FALSE(Geom::CircleContainsPoint2D({{2, 2}, -1}, {2, 2}, false, kPrecision));
    EXPECT_TRUE(Geom::CircleIsCollision2D(circle, {{10 + 4e-5, 0}, 5}));
    EXPECT_FALSE(Geom::CircleIsCollision2D(circle, {{10 + 6e-5, 0}, 5}));
    EXPECT_TRUE(Geom::CircleIsCollision2D(circle, {{1, 0}, 1})); // one within the other
    EXPECT_FALSE(Geom::CircleIsCollision2D(circle, {{0, 0}, kNaN}));
}

TEST(Circle2D, MeetsLinesInUpToTwoPoints)
{
    using Points = std::vector<Point2D>;
    const Circle2D circle = {{0, 0}, 5};
    struct
    {
        Circle2D circle;
        Line2D line;
        Points segment, infinite;
    } const rows[] = {
        {circle, {{-9, 3}, {9, 3}}, {{-4, 3}, {4, 3}}, {{-4, 3}, {4, 3}}},
        {circle, {{9, 3}, {0, 3}}, {{4, 3}}, {{4, 3}, {-4, 3}}},
        {circle, {{-1, 3}, {1, 3}}, {}, {{-4, 3}, {4, 3}}},
        {circle, {{-9, 5}, {9, 5}}, {{0, 5}}, {{0, 5}}},
        {circle, {{-9, 5 + 4e-5}, {9, 5 + 4e-5}}, {{0, 5 + 4e-5}}, {{0, 5 + 4e-5}}},
        {circle, {{-9, 5 + 6e-5}, {9, 5 + 6e-5}}, {}, {}},
        {circle, {{0, 0}, {5 - 4e-5, 0}}, {{5 - 4e-5, 0}}, {{-5, 0}, {5, 0}}},
        {circle, {{3, 4}, {3, 4}}, {{3, 4}}, {{3, 4}}},
        {circle, {{1, 1}, {1, 1}}, {}, {}},
        {{{2, 2}, 0}, {{0, 2}, {4, 2}}, {{2, 2}}, {{2, 2}}},
        {{{0, 0}, kNaN}, {{0, 2}, {4, 2}}, {}, {}},
        {circle, {{0, kInfinity}, {4, 2}}, {}, {}},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(testing::Message() << &row - rows);
        Geom::CircleLinePoints out;
        EXPECT_EQ(Geom::CircleLineIntersection2D(out, row.circle, row.line),
                  int(row.segment.size()));
        EXPECT_EQ(Points(out.begin(), out.end()), row.segment);
        Geom::CircleInfLineIntersection2D(out, row.circle, row.line);
        EXPECT_EQ(Points(out.begin(), out.end()), row.infinite);
    }
}

TEST(equalX, ComparesAbscissaeWithinEightDigits)
{
    const gtl::equalX<FPOINT> equal;
    constexpr double kMissing = MissingValue<double>();
    EXPECT_TRUE(equal({1.00000001, 2, 3}, {1.00000004, 9, 9}));
    EXPECT_FALSE(equal({1.0, 2, 3}, {1.0000001, 2, 3}));
    EXPECT_TRUE(equal({123456780, 0, 0}, {123456784, 0, 0}));
    EXPECT_FALSE(equal({1, 2, kMissing}, {1, 2, 3}));
    EXPECT_FALSE(equal({1, 2, 3}, {1, kMissing, 3}));
    EXPECT_FALSE(equal({kNaN, 2, 3}, {kNaN, 2, 3}));
}
} // namespace
