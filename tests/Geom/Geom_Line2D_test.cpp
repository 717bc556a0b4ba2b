#include "Geom/GeomTest.h"
#include "Geom/Geom_LineIntersection2D.h"

namespace
{
using namespace geomtest;

constexpr double kFar = 1e300;

TEST(Extents2D, MeetWithinTheToleranceAndOverlapStrictly)
{
    const Extents2D a = {0, 10, 0, 10}, inner = {1, 9, 1, 9}, none;
    const Extents2D seam = {10 + 4e-5, 20, 2, 3}, apart = {10 + 6e-5, 20, 2, 3};
    const std::tuple<Extents2D, Extents2D, bool, bool> rows[] = {
        {a, seam, true, false},     {a, apart, false, false},
        {a, inner, true, true},     {inner, a, true, false},
        {a, a, true, true},         {a, none, false, true},
        {none, none, false, false}, {a, {0, 10 + 5e-5, 0, 10}, true, false}};
    for (const auto& [first, second, doMeet, isInside] : rows) // the second in the first
    {
        SCOPED_TRACE(testing::Message() << first.minX << ' ' << second.minX << second.maxX);
        EXPECT_EQ(IsExtentsIntersected2D(first, second, kPrecision), doMeet);
        EXPECT_EQ(ExtentsOverlap2D(first, second, kPrecision), isInside);
    }
    EXPECT_EQ(ExtentsIntersection2D(a, apart), none);
    EXPECT_EQ(ExtentsIntersection2D(a, seam), (Extents2D{10 + 4e-5, 10, 2, 3}));
    EXPECT_LT(WidthOf(ExtentsIntersection2D(a, seam)), 0);
}

TEST(Extents2D, GrowFromEmptyAndHaveAnAspect)
{
    Extents2D box;
    ExtentsGrow2D(box, {3, -1});
    EXPECT_EQ(box, (Extents2D{3, 3, -1, -1}));
    ExtentsGrow2D(box, {kNaN, 1});
    EXPECT_EQ(box, (Extents2D{3, 3, -1, 1}));
    EXPECT_EQ(HeightOf(box), 2);
    EXPECT_EQ(AspectOf({0, 8, 0, 2}, kPrecision), 4);
    EXPECT_EQ(AspectOf({0, 4e-5, 0, 2}, kPrecision), 0);
    EXPECT_EQ(AspectOf({0, 8, 0, 4e-5}, kPrecision), kMissing);
    EXPECT_EQ(AspectOf({}, kPrecision), kMissing);
}

TEST(Line2D, PutsTheLowerLeftPointFirst)
{
    const Point2D origin = {0, 0}, close = {4e-5, -4e-5};
    const std::pair<Line2D, Line2D> rows[] = {
        {{{1, 0}, {0, 0}}, {{0, 0}, {1, 0}}},
        {{{0, 0}, {0, 1}}, {{0, 0}, {0, 1}}},
        {{{0, 1}, {0, 0}}, {{0, 0}, {0, 1}}},
        {{{4e-5, 0}, {0, 1}}, {{4e-5, 0}, {0, 1}}}, // one column within the tolerance
        {{origin, close}, {close, origin}},         // equal within it: swapped
        {{close, origin}, {origin, close}},
    };
    for (const auto& [given, expected] : rows)
        EXPECT_EQ(LineGet2D(given.first, given.second), expected);
}

TEST(PointPrecedes2D, RunsInACircle)
{
    const Point2D a = {0, 0}, b = {4e-5, -1}, c = {8e-5, -2};
    EXPECT_TRUE(PointPrecedes2D(c, b, kPrecision) && PointPrecedes2D(b, a, kPrecision));
    EXPECT_TRUE(PointPrecedes2D(a, c, kPrecision));
    EXPECT_FALSE(PointPrecedes2D(a, {5e-5, 5e-5}, kPrecision)); // equal within the tolerance
}

TEST(Line2D, HasARangeOfOrdinatesAtAnAbscissa)
{
    const std::tuple<Line2D, double, std::pair<double, double>> rows[] = {
        {{{0, 0}, {10, 5}}, 4, {2, 2}},
        {{{10, 5}, {0, 0}}, 4, {2, 2}},
        {{{3, 7}, {3, -1}}, 3, {-1, 7}},
        {{{3, 7}, {3 + 4e-5, -1}}, 3 - 4e-5, {-1, 7}},
        {{{0, 1}, {10, 5}}, -4e-5, {1, 1}},
        {{{0, 1}, {10, 5}}, -6e-5, {kMissing, kMissing}},
        {{{0, 1}, {10, 5}}, kNaN, {kMissing, kMissing}},
        {{{-1.5e308, -1.5e308}, {1.5e308, 1.5e308}}, 0, {0, 0}},
    };
    for (const auto& [line, x, expected] : rows)
        EXPECT_EQ(LineGetY2D(line.first, line.second, x), expected) << x;
}

TEST(Line2D, ContainsItsEndsUnlessTheyAreExcluded)
{
    const Point2D a = {0, 0}, b = {10, 0};
    EXPECT_TRUE(LineContainsPoint2D(a, b, {10 + 4e-5, 4e-5}, false));
    EXPECT_FALSE(LineContainsPoint2D(a, b, {10 + 4e-5, 4e-5}, true));
    EXPECT_TRUE(LineContainsPoint2D(a, b, {10 - 6e-5, 4e-5}, true));
    // The difference would round to the half-epsilon.
    EXPECT_FALSE(LineContainsPoint2D({-1e-30, 0}, {-1, 0}, {5e-5, 0}, kPrecision));
    EXPECT_TRUE(LineContainsPoint2D({1e-30, 0}, {-1, 0}, {5e-5, 0}, kPrecision));
    EXPECT_FALSE(LineContainsPoint2D(a, b, {kNaN, 0}, kPrecision));
    EXPECT_FALSE(LineContainsPoint2D(a, {kNaN, kNaN}, {5, 5}, kPrecision));
    for (const double v : {kInfinity, kMissing})
        EXPECT_FALSE(LineContainsPoint2D(a, {v, v}, {v, v}, kPrecision));
    EXPECT_TRUE(LineContainsPoint2D({-kFar, -kFar}, {kFar, kFar}, {7, 7}, kPrecision));
}

TEST(Line2D, HasANearestPointThatIsOnIt)
{
    const std::tuple<Point2D, Line2D, Point2D, Point2D> rows[] = {
        {{4, 3}, {{0, 0}, {10, 0}}, {4, 0}, {4, 0}},
        {{-4, 3}, {{0, 0}, {10, 0}}, {0, 0}, {-4, 0}},
        {{12, 3}, {{0, 0}, {10, 0}}, {10, 0}, {12, 0}},
        {{3, 1}, {{2, 2}, {2, 2}}, {2, 2}, {2, 2}},
        {{0, 1e15}, {{-1e15, 0}, {1e15, 2e15}}, {0, 1e15}, {0, 1e15}},
        {{0, kFar}, {{-kFar, 0}, {kFar, 0}}, {0, 0}, {0, 0}},
        {{1, 1}, {{0, 0}, {1e-310, 0}}, {1e-310, 0}, {0, 0}}, // within the tolerance no line
        {{kNaN, 1}, {{0, 0}, {1, 0}}, kNoPoint, kNoPoint},
        {{1, 1}, {{0, 0}, {kInfinity, 0}}, kNoPoint, kNoPoint},
    };
    for (const auto& [p, line, onSegment, onLine] : rows)
    {
        EXPECT_EQ(LineClosestPoint2D(p, line.first, line.second, false, kPrecision), onSegment);
        EXPECT_EQ(InfLineClosestPoint2D(p, line.first, line.second, kPrecision), onLine);
    }
    const Point2D a = {0, 0}, b = {10, 0};
    EXPECT_EQ(LineClosestPoint2D({-1, 1}, a, b, true, kPrecision), kNoPoint);
    EXPECT_EQ(LineClosestPoint2D({4e-5, 1}, a, b, true, kPrecision), kNoPoint);
    EXPECT_EQ(LineDistanceToPoint2D(a, b, {-3, 4}, false, kPrecision), 5);
    EXPECT_EQ(LineDistanceToPoint2D(a, b, {-3, 4}, true, kPrecision), kMissing);
    EXPECT_EQ(LineDistanceToPoint2D(a, b, {5, 4e-5}, true, kPrecision), 4e-5);
}

TEST(LineIntersection2D, DistinguishesTouchCrossingAndOverlap)
{
    using enum IntersectionType;
    const Line2D base = {{0, 0}, {4, 0}}, upright = {{1, -1}, {1, 1}};
    const struct
    {
        Line2D u, v;
        IntersectionType type;
        Point2D first = kNoPoint, second = kNoPoint;
    } rows[] = {
        {{{0, 0}, {4, 4}}, {{0, 4}, {4, 0}}, Crossing, {2, 2}},
        {base, {{2, 4e-5}, {2, 4}}, Touching, {2, 4e-5}},
        {base, {{6, 0}, {1, 0}}, Overlap, {1, 0}, {4, 0}},
        {{{0, 9}, {0, 0}}, {{1e-5, 2}, {-1e-5, 5}}, Overlap, {1e-5, 2}, {-1e-5, 5}},
        // across, the extremes are both at the foot
        {{{0, 0}, {1e-5, 9}}, {{2e-5, 0}, {1e-5, 9}}, Overlap, {0, 0}, {1e-5, 9}},
        {base, {{4, 0}, {9, 0}}, Touching, {4, 0}},
        {{{1, 0}, {1, 0}}, base, Touching, {1, 0}},
        {{{0, 0}, {1, 1e-3}}, {{0, 1e-3}, {1, 0}}, Crossing, {0.5, 5e-4}},
        {{{-kFar, -kFar}, {kFar, kFar}}, {{-kFar, kFar}, {kFar, -kFar}}, Crossing, {0, 0}},
        // Parallel but for the last digits.
        {{{1e17, 2e17}, {3e17, 1}}, {{1, 3e17}, {2e17, 1e17}}, Crossing, {1.5e17, 1.5e17}},
        {{{0, kNaN}, {4, 0}}, base, Any},
        {{{0, 0}, {kInfinity, 0}}, upright, Any},
        {{{0, 0}, kNoPoint}, upright, Any},
    };
    for (const auto& [u, v, type, first, second] : rows)
    {
        SCOPED_TRACE(testing::Message() << u.second.x << ' ' << v.first.y);
        const auto& [a, b] = u;
        const auto& [c, d] = v;
        Point2D out1, out2;
        EXPECT_EQ(LineIntersection2D(out1, out2, a, b, c, d, kPrecision),
                  !IsMissing2D(first) + !IsMissing2D(second));
        EXPECT_EQ(out1, first);
        EXPECT_EQ(out2, second);
        for (const IntersectionType asked : {Any, Crossing, Touching, Overlap})
            EXPECT_EQ(LineIntersection2D(a, b, c, d, asked),
                      asked == type || asked == Any ? first : kNoPoint);
    }
}

TEST(LineIntersection2D, FirstContactIsTheOneNearerToTheStart)
{
    EXPECT_EQ(LineCollision2D({9, 0}, {0, 0}, {1, 0}, {4, 0}), (Point2D{4, 0}));
    EXPECT_EQ(LineCollision2D({0, 0}, {9, 0}, {1, 0}, {4, 0}), (Point2D{1, 0}));
    EXPECT_EQ(LineCollision2D({0, 0}, {9, 0}, {1, 1}, {4, 1}), kNoPoint);
}

TEST(LineIntersection2D, OfInfiniteLinesNeedsTwoDirections)
{
    EXPECT_EQ(InfLineIntersection2D({0, 0}, {1, 1}, {10, 0}, {10, 1}), (Point2D{10, 10}));
    EXPECT_EQ(InfLineIntersection2D({0, 0}, {4, 0}, {0, 1}, {4, 1 + 4e-5}), kNoPoint);
    EXPECT_NE(InfLineIntersection2D({0, 0}, {4, 0}, {0, 1}, {4, 1 + 6e-5}), kNoPoint);
    EXPECT_EQ(InfLineIntersection2D({0, 0}, {4e-5, 0}, {0, 1}, {0, 4}), kNoPoint);
    EXPECT_EQ(InfLineIntersection2D({0, 0}, {kInfinity, 0}, {0, 1}, {0, 4}), kNoPoint);
    EXPECT_EQ(InfLineIntersection2D({-kFar, 5e299}, {kFar, 5e299}, {0, 0}, {0, kFar}),
              (Point2D{0, 5e299}));
}
} // namespace
