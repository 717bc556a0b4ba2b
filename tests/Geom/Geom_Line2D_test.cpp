#include "Geom/Geom_Extents2D.h"
#include "Geom/Geom_Line2D.h"
#include "Geom/Geom_LineIntersection2D.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace
{
using Geom::Extents2D;
using Geom::IntersectionType;
using Geom::Line2D;
using Geom::Point2D;
using Geom::Precision3D;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kMissing = MissingValue<double>();
constexpr Point2D kNoPoint = MissingValue<Point2D>();
const Precision3D kPrecision;

TEST(Extents2D, MeetWithinTheTolerance)
{
    const Extents2D a = {0, 10, 0, 10}, touching = {10 + 4e-5, 20, 2, 3},
                    apart = {10 + 6e-5, 20, 2, 3};
    EXPECT_TRUE(Geom::IsExtentsIntersected2D(a, touching, kPrecision));
    EXPECT_FALSE(Geom::IsExtentsIntersected2D(a, apart, kPrecision));
    EXPECT_FALSE(Geom::IsExtentsIntersected2D({}, {}, kPrecision));
    EXPECT_FALSE(Geom::IsExtentsIntersected2D(a, {}, kPrecision));
    EXPECT_EQ(Geom::ExtentsIntersection2D(a, apart), Extents2D());
    const Extents2D seam = Geom::ExtentsIntersection2D(a, touching);
    EXPECT_EQ(seam, (Extents2D{10 + 4e-5, 10, 2, 3}));
    EXPECT_LT(Geom::WidthOf(seam), 0);
}

TEST(Extents2D, OverlapIsContainmentOfTheSecondInTheFirst)
{
    const Extents2D a = {0, 10, 0, 10}, b = {1, 9, 1, 9};
    EXPECT_TRUE(Geom::ExtentsOverlap2D(a, b, kPrecision));
    EXPECT_FALSE(Geom::ExtentsOverlap2D(b, a, kPrecision));
    EXPECT_TRUE(Geom::ExtentsOverlap2D(a, a, kPrecision));
    EXPECT_TRUE(Geom::ExtentsOverlap2D(b, {}, kPrecision));
    const double hx = 5e-5;
    EXPECT_FALSE(Geom::ExtentsOverlap2D(a, {0, 10 + hx, 0, 10}, kPrecision)); // strictly
}

TEST(Extents2D, GrowFromEmptyAndHaveAnAspect)
{
    Extents2D box;
    Geom::ExtentsGrow2D(box, {3, -1});
    EXPECT_EQ(box, (Extents2D{3, 3, -1, -1}));
    Geom::ExtentsGrow2D(box, {kNaN, 1});
    EXPECT_EQ(box, (Extents2D{3, 3, -1, 1}));
    EXPECT_EQ(Geom::HeightOf(box), 2);
    EXPECT_EQ(Geom::AspectOf({0, 8, 0, 2}, kPrecision), 4);
    EXPECT_EQ(Geom::AspectOf({0, 4e-5, 0, 2}, kPrecision), 0);
    EXPECT_EQ(Geom::AspectOf({0, 8, 0, 4e-5}, kPrecision), kMissing);
    EXPECT_EQ(Geom::AspectOf({}, kPrecision), kMissing);
}

TEST(Line2D, HasARangeOfOrdinatesAtAnAbscissa)
{
    using Range = std::pair<double, double>;
    struct
    {
        Line2D line;
        double x;
        Range expected;
    } const rows[] = {
        {{{0, 0}, {10, 5}}, 4, {2, 2}},
        {{{10, 5}, {0, 0}}, 4, {2, 2}},
        {{{3, 7}, {3, -1}}, 3, {-1, 7}},
        {{{3, 7}, {3 + 4e-5, -1}}, 3 - 4e-5, {-1, 7}},
        {{{0, 1}, {10, 5}}, -4e-5, {1, 1}},
        {{{0, 1}, {10, 5}}, -6e-5, {kMissing, kMissing}},
        {{{0, 1}, {10, 5}}, kNaN, {kMissing, kMissing}},
        {{{-1.5e308, -1.5e308}, {1.5e308, 1.5e308}}, 0, {0, 0}},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Geom::LineGetY2D(row.line.first, row.line.second, row.x), row.expected) << row.x;
}

TEST(Line2D, ContainsItsEndsUnlessTheyAreExcluded)
{
    const Point2D a = {0, 0}, b = {10, 0};
    EXPECT_TRUE(Geom::LineContainsPoint2D(a, b, {5, 4e-5}, kPrecision));
    EXPECT_FALSE(Geom::LineContainsPoint2D(a, b, {5, 6e-5}, kPrecision));
    EXPECT_TRUE(Geom::LineContainsPoint2D(a, b, {10 + 4e-5, 4e-5}, false));
    EXPECT_FALSE(Geom::LineContainsPoint2D(a, b, {10 + 4e-5, 4e-5}, true));
    EXPECT_TRUE(Geom::LineContainsPoint2D(a, b, {10 - 6e-5, 4e-5}, true));
    EXPECT_TRUE(Geom::LineContainsPoint2D(a, a, {4e-5, 0}, kPrecision)); // no length: a point
    // The difference would round to the half-epsilon.
    EXPECT_FALSE(Geom::LineContainsPoint2D({-1e-30, 0}, {-1, 0}, {5e-5, 0}, kPrecision));
    EXPECT_TRUE(Geom::LineContainsPoint2D({1e-30, 0}, {-1, 0}, {5e-5, 0}, kPrecision));
    EXPECT_FALSE(Geom::LineContainsPoint2D(a, b, {kNaN, 0}, kPrecision));
    EXPECT_FALSE(Geom::LineContainsPoint2D(a, {kNaN, kNaN}, {5, 5}, kPrecision));
    EXPECT_TRUE(Geom::LineContainsPoint2D({-1e300, -1e300}, {1e300, 1e300}, {7, 7}, kPrecision));
}

TEST(Line2D, HasANearestPointThatIsOnIt)
{
    struct
    {
        Point2D p;
        Line2D line;
        Point2D onSegment, onLine;
    } const rows[] = {
        {{4, 3}, {{0, 0}, {10, 0}}, {4, 0}, {4, 0}},
        {{-4, 3}, {{0, 0}, {10, 0}}, {0, 0}, {-4, 0}},
        {{12, 3}, {{0, 0}, {10, 0}}, {10, 0}, {12, 0}},
        {{3, 1}, {{2, 2}, {2, 2}}, {2, 2}, {2, 2}},
        {{0, 1e15}, {{-1e15, 0}, {1e15, 2e15}}, {0, 1e15}, {0, 1e15}},
        {{0, 1e300}, {{-1e300, 0}, {1e300, 0}}, {0, 0}, {0, 0}},
        {{1, 1}, {{0, 0}, {1e-310, 0}}, {1e-310, 0}, {0, 0}}, // within the tolerance no line
        {{kNaN, 1}, {{0, 0}, {1, 0}}, kNoPoint, kNoPoint},
        {{1, 1}, {{0, 0}, {kInfinity, 0}}, kNoPoint, kNoPoint},
    };
    for (const auto& [p, line, onSegment, onLine] : rows)
    {
        EXPECT_EQ(Geom::LineClosestPoint2D(p, line.first, line.second, false, kPrecision),
                  onSegment);
        EXPECT_EQ(Geom::InfLineClosestPoint2D(p, line.first, line.second, kPrecision), onLine);
    }
    const Point2D a = {0, 0}, b = {10, 0};
    EXPECT_EQ(Geom::LineClosestPoint2D({-1, 1}, a, b, true, kPrecision), kNoPoint);
    EXPECT_EQ(Geom::LineClosestPoint2D({4e-5, 1}, a, b, true, kPrecision), kNoPoint);
    EXPECT_EQ(Geom::LineDistanceToPoint2D(a, b, {-3, 4}, false, kPrecision), 5);
    EXPECT_EQ(Geom::LineDistanceToPoint2D(a, b, {-3, 4}, true, kPrecision), kMissing);
    EXPECT_EQ(Geom::LineDistanceToPoint2D(a, b, {5, 4e-5}, true, kPrecision), 4e-5);
}

TEST(LineIntersection2D, TellsTouchCrossingAndOverlap)
{
    struct
    {
        Line2D u, v;
        int number;
        Point2D first, second;
        IntersectionType type;
    } const rows[] = {
        {{{0, 0}, {4, 4}}, {{0, 4}, {4, 0}}, 1, {2, 2}, kNoPoint, IntersectionType::Crossing},
        {{{0, 0}, {4, 0}}, {{2, 0}, {2, 4}}, 1, {2, 0}, kNoPoint, IntersectionType::Touching},
        {{{0, 0}, {4, 0}}, {{2, 4e-5}, {2, 4}}, 1, {2, 4e-5}, kNoPoint, IntersectionType::Touching},
        {{{0, 0}, {4, 0}}, {{2, 6e-5}, {2, 4}}, 0, kNoPoint, kNoPoint, IntersectionType::Any},
        {{{0, 0}, {4, 0}}, {{6, 0}, {1, 0}}, 2, {1, 0}, {4, 0}, IntersectionType::Overlap},
        {{{0, 9}, {0, 0}},
         {{1e-5, 2}, {-1e-5, 5}},
         2,
         {1e-5, 2},
         {-1e-5, 5},
         IntersectionType::Overlap},
        {{{0, 0}, {4, 0}}, {{4, 0}, {9, 0}}, 1, {4, 0}, kNoPoint, IntersectionType::Touching},
        {{{1, 0}, {1, 0}}, {{0, 0}, {4, 0}}, 1, {1, 0}, kNoPoint, IntersectionType::Touching},
        {{{0, 0}, {1, 1e-3}},
         {{0, 1e-3}, {1, 0}},
         1,
         {0.5, 5e-4},
         kNoPoint,
         IntersectionType::Crossing},
        {{{0, 0}, {1, 4e-5}}, {{0, 4e-5}, {1, 0}}, 2, {0, 4e-5}, {1, 0}, IntersectionType::Overlap},
        {{{-1e300, -1e300}, {1e300, 1e300}},
         {{-1e300, 1e300}, {1e300, -1e300}},
         1,
         {0, 0},
         kNoPoint,
         IntersectionType::Crossing},
        {{{0, kNaN}, {4, 0}}, {{0, 0}, {4, 0}}, 0, kNoPoint, kNoPoint, IntersectionType::Any},
        {{{0, 0}, {kInfinity, 0}}, {{1, -1}, {1, 1}}, 0, kNoPoint, kNoPoint, IntersectionType::Any},
        {{{0, 0}, kNoPoint}, {{1, -1}, {1, 1}}, 0, kNoPoint, kNoPoint, IntersectionType::Any},
    };
    for (const auto& [u, v, number, first, second, type] : rows)
    {
        SCOPED_TRACE(testing::Message() << &number - &rows[0].number);
        Point2D out1, out2;
        EXPECT_EQ(
            Geom::LineIntersection2D(out1, out2, u.first, u.second, v.first, v.second, kPrecision),
            number);
        if (type == IntersectionType::Overlap && second == Point2D{1, 0})
            continue; // four ends on each other: which two are named does not matter
        EXPECT_EQ(out1, first);
        EXPECT_EQ(out2, second);
        for (const IntersectionType asked :
             {IntersectionType::Crossing, IntersectionType::Touching, IntersectionType::Overlap})
            EXPECT_EQ(Geom::LineIntersection2D(u.first, u.second, v.first, v.second, asked),
                      asked == type ? first : kNoPoint);
        EXPECT_EQ(
            Geom::LineIntersection2D(u.first, u.second, v.first, v.second, IntersectionType::Any),
            first);
    }
}

TEST(LineIntersection2D, FirstContactIsTheOneNearerToTheStart)
{
    EXPECT_EQ(Geom::LineCollision2D({9, 0}, {0, 0}, {1, 0}, {4, 0}), (Point2D{4, 0}));
    EXPECT_EQ(Geom::LineCollision2D({0, 0}, {9, 0}, {1, 0}, {4, 0}), (Point2D{1, 0}));
    EXPECT_EQ(Geom::LineCollision2D({0, 0}, {9, 0}, {1, 1}, {4, 1}), kNoPoint);
}

TEST(LineIntersection2D, OfInfiniteLinesNeedsTwoDirections)
{
    EXPECT_EQ(Geom::InfLineIntersection2D({0, 0}, {1, 1}, {10, 0}, {10, 1}), (Point2D{10, 10}));
    EXPECT_EQ(Geom::InfLineIntersection2D({0, 0}, {4, 0}, {0, 1}, {4, 1 + 4e-5}), kNoPoint);
    EXPECT_NE(Geom::InfLineIntersection2D({0, 0}, {4, 0}, {0, 1}, {4, 1 + 6e-5}), kNoPoint);
    EXPECT_EQ(Geom::InfLineIntersection2D({0, 0}, {4e-5, 0}, {0, 1}, {0, 4}), kNoPoint);
    EXPECT_EQ(Geom::InfLineIntersection2D({0, 0}, {kInfinity, 0}, {0, 1}, {0, 4}), kNoPoint);
    EXPECT_EQ(Geom::InfLineIntersection2D({-1e300, 5e299}, {1e300, 5e299}, {0, 0}, {0, 1e300}),
              (Point2D{0, 5e299}));
}
} // namespace
