#include "Geom/GeomTest.h"
#include "Geom/Geom_Polygon.h"
#include "Geom/RingOracle.h"

namespace
{
using namespace geomtest;
using oracle::Ring;

bool IsValid(const Ring& ring) { return PolygonIsValid2D(ring.data(), ring.size(), false); }
bool AreValid(const Ring& rings) { return PolygonIsValid2D(rings.data(), rings.size(), true); }

Ring Reversed(const Ring& ring) { return Ring(ring.rbegin(), ring.rend()); }

/// The same ring from its @p start'th vertex.
Ring From(std::size_t start, Ring ring)
{
    std::rotate(ring.begin(), ring.begin() + start, ring.end() - 1);
    ring.back() = ring.front();
    return ring;
}

Ring Star(std::size_t n, double radius)
{
    std::mt19937 random(5);
    Ring ring;
    for (std::size_t i = 0; i < n; ++i)
    {
        const double angle = 6.283185307179586 * double(i) / double(n);
        const double r = radius * (0.5 + double(random()) / 8589934592.0);
        ring.push_back({r * std::cos(angle), r * std::sin(angle)});
    }
    ring.push_back(ring.front());
    return ring;
}

const Ring kTriangle = {{0, 0}, {1, 0}, {0, 1}, {0, 0}};
const Ring kNotch = {{0, 0}, {4, 0}, {4, 4}, {2, 1}, {0, 4}, {0, 0}};

TEST(Polygon, IsJudgedByTurnsAndClosureWhereverItStarts)
{
    constexpr double kOut = 4e6;
    const std::tuple<const char*, Ring, bool, bool, bool> rows[] = {
        {"triangle", kTriangle, true, true, true},
        {"clockwise", Reversed(kTriangle), false, false, false},
        {"notch", kNotch, true, true, false},
        {"straight vertex", {{1, 0}, {2, 0}, {2, 2}, {0, 2}, {0, 0}, {1, 0}}, true, true, true},
        {"three points", {{0, 0}, {1, 0}, {0, 0}}, false, false, true},
        // The rightmost of the lowest vertices decides; at the other one it turns right.
        {"two lowest", {{0, 0}, {1, 1}, {4, 0}, {3, 2}, {0, 0}}, true, true, false},
        {"open", {{0, 0}, {1, 0}, {0, 1}, {0, 6e-5}}, false, true, true},
        {"closed within the tolerance", {{0, 0}, {1, 0}, {0, 1}, {0, 4e-5}}, true, true, true},
        {"on one line", {{0, 0}, {1, 1}, {2, 2}, {0, 0}}, false, false, true},
        {"tiny", {{0, 0}, {2e-4, 0}, {0, 2e-4}, {0, 0}}, false, true, true},
        {"far", {{kOut, kOut}, {kOut + 1, kOut}, {kOut, kOut + 1}, {kOut, kOut}}, true, true, true},
        {"not a number", {{0, 0}, {1, 0}, {kNaN, 1}, {0, 1}, {0, 0}}, false, true, true},
        // By the rule, though its area is positive: the dent is no deeper than the tolerance.
        {"dent",
         {{0, 0}, {10, -1e-9}, {10.1, 4e-5}, {110, 0}, {110, 50}, {0, 50}, {0, 0}},
         false,
         false,
         false},
        {"nothing", {}, false, false, true},
    };
    for (const auto& [what, ring, isValid, isCCW, isConvex] : rows)
    {
        SCOPED_TRACE(what);
        EXPECT_EQ(IsValid(ring), isValid);
        EXPECT_EQ(AreValid(ring), isValid);
        EXPECT_EQ(PolygonIsCCW2D(ring.data(), ring.size()), isCCW);
        EXPECT_EQ(PolygonIsConvex2D(ring.data(), ring.size()), isConvex);
    }
    for (std::size_t start = 0; start + 1 < kNotch.size(); ++start)
    {
        const Ring ring = From(start, kNotch), back = Reversed(ring);
        EXPECT_TRUE(IsValid(ring) && !PolygonIsCCW2D(back.data(), back.size()));
        EXPECT_FALSE(PolygonIsConvex2D(ring.data(), ring.size()));
        EXPECT_TRUE(PolygonIsEqual2D(kNotch, ring) && PolygonIsEqual2D(ring, kNotch));
        EXPECT_FALSE(PolygonIsEqual2D(ring, Reversed(kNotch)));
    }
}

TEST(PolygonIsValid2D, FindsARepeatedVertexWhereverItStands)
{
    for (const std::size_t n : {4, 5, 7, 8, 15, 16, 17, 18, 33, 100, 1000})
    {
        const Ring clean = Star(n, 1000);
        EXPECT_TRUE(IsValid(clean));
        const std::size_t step = n / 34 + 1; // every pair of a small ring
        for (std::size_t i = 0; i < n; i += step)
            for (std::size_t k = 0; k < n; k += step)
            {
                Ring ring = clean;
                ring[i] = {clean[k].x + 4.9e-5, clean[k].y - 4.9e-5};
                ring.back() = ring.front();
                ASSERT_EQ(IsValid(ring), oracle::IsValidRing(ring)) << n << ' ' << i << ' ' << k;
                ASSERT_EQ(oracle::HasRepeatedVertex(ring), i != k);
            }
    }
}

/// Vertices crowded on a grid of about the tolerance, walked through in rows: a comb that touches
/// itself nowhere when the pitch is wide enough.
Ring Crowded(std::size_t teeth, double pitch, double origin)
{
    Ring ring;
    for (std::size_t i = 0; i < teeth; ++i)
        for (std::size_t k = 0; k < teeth; ++k)
            ring.push_back({origin + pitch * double(i % 2 ? teeth - k : k + 1), pitch * double(i)});
    ring.push_back({origin - 1, pitch * double(teeth)});
    ring.push_back({origin - 1, -1});
    ring.push_back(ring.front());
    return ring;
}

TEST(PolygonIsValid2D, AgreesWithAllPairsNearTheTolerance)
{
    std::mt19937 random(11);
    int valid = 0, repeated = 0;
    const int rounds = 400 * Rounds();
    for (int round = 0; round < rounds; ++round)
    {
        Ring ring;
        for (int n = 3 + int(random() % 60), i = 0; i < n; ++i)
            ring.push_back({int(random() % 90) * 2.5e-5 + int(random() % 3) * 1e3,
                            int(random() % 90) * 2.5e-5 - int(random() % 3) * 1e3});
        ring.push_back(ring.front());
        ASSERT_EQ(IsValid(ring), oracle::IsValidRing(ring)) << round;
        valid += IsValid(ring);
        repeated += oracle::HasRepeatedVertex(ring);
    }
    EXPECT_GT(valid, rounds / 10);
    EXPECT_GT(repeated, rounds / 10);
    for (const double origin : {0.0, 4e6})
        for (const double pitch : {4.9e-5, 5.1e-5})
            EXPECT_EQ(IsValid(Crowded(40, pitch, origin)),
                      oracle::IsValidRing(Crowded(40, pitch, origin)));
    EXPECT_TRUE(IsValid(Crowded(1000, 5.2e-5, 0))); // and a million, in time
    EXPECT_TRUE(IsValid(Star(1000000, 1e6)));
}

TEST(PolygonIsValid2D, TakesSeveralRingsOneAfterAnother)
{
    Ring rings = kTriangle;
    rings.insert(rings.end(), kNotch.begin(), kNotch.end());
    EXPECT_TRUE(AreValid(rings));
    EXPECT_FALSE(IsValid(rings));
    rings.insert(rings.end(), kTriangle.rbegin(), kTriangle.rend());
    EXPECT_FALSE(AreValid(rings)); // a clockwise one among them
    rings.resize(kTriangle.size() + 2);
    EXPECT_FALSE(AreValid(rings)); // an open rest
}

TEST(PolygonIsValid3D, WantsAPlaneAndAValidPlan)
{
    const auto raised = [](double lift) {
        std::vector<Point3D> ring;
        for (const Point2D& p : kNotch)
            ring.push_back({p.x, p.y, 3 + 2 * p.x - p.y});
        ring[2].z += lift;
        return ring;
    };
    EXPECT_TRUE(PolygonIsValid3D(raised(0), kPrecision));
    EXPECT_TRUE(PolygonIsValid3D(raised(4e-5), kPrecision));
    EXPECT_FALSE(PolygonIsValid3D(raised(1e-3), kPrecision));
    const std::vector<Point3D> upright = {{0, 0, 0}, {1, 0, 0}, {1, 0, 1}, {0, 0, 1}, {0, 0, 0}};
    EXPECT_FALSE(PolygonIsValid3D(upright, kPrecision) || PolygonIsValid3D({}, kPrecision));
}

TEST(PolygonIsEqual2D, ComparesTinyOnes)
{
    const Point2D p = {1, 2}, close = {1 + 4e-5, 2}, other = {2, 2};
    EXPECT_TRUE(PolygonIsEqual2D({}, {}) && PolygonIsEqual2D({p}, {close}));
    EXPECT_FALSE(PolygonIsEqual2D({p}, {other}) || PolygonIsEqual2D({p}, {p, p}));
    EXPECT_TRUE(PolygonIsEqual2D({p, p}, {close, p}));
    EXPECT_FALSE(PolygonIsEqual2D({p, other}, {p, p}));
}

TEST(PolygonGetLines2D, AppendsLinesInTheTolerantOrder)
{
    std::vector<Line2D> lines(1);
    PolygonGetLines2D(lines, kTriangle);
    EXPECT_EQ(lines,
              (std::vector<Line2D>{{}, {{0, 0}, {1, 0}}, {{0, 1}, {1, 0}}, {{0, 0}, {0, 1}}}));
    PolygonGetLines2D(lines, {});
    PolygonGetLines2D(lines, {{1, 1}});
    EXPECT_EQ(lines.size(), 4u);
    // Element by element: the room grows in proportion.
    int moves = 0;
    for (int i = 0; i < 40000; ++i)
    {
        const Line2D* const before = lines.data();
        PolygonGetLines2D(lines, kTriangle);
        moves += lines.data() != before;
    }
    EXPECT_LT(moves, 20);
}

TEST(Polygon, HasAnAreaAndACentreOfMass)
{
    // By hand: 12, about (5/3, 5/3).
    const Ring shape = {{0, 0}, {4, 0}, {4, 2}, {2, 2}, {2, 4}, {0, 4}, {0, 0}};
    for (const double far : {0.0, 4e6})
        for (const bool isReversed : {false, true})
        {
            Ring ring = isReversed ? Reversed(shape) : shape;
            for (Point2D& p : ring)
                p = {p.x + far, p.y - far};
            EXPECT_DOUBLE_EQ(PolygonArea2D(ring.data(), ring.size()), isReversed ? -12 : 12);
            const Point2D centre = PolygonCentreOfMass2D(ring.data(), ring.size());
            EXPECT_NEAR(centre.x - far, 5.0 / 3, 1e-9);
            EXPECT_NEAR(centre.y + far, 5.0 / 3, 1e-9);
        }
    for (const double size : {1e103, 1e150}) // the third power of the last is no number
    {
        Ring ring = shape;
        for (Point2D& p : ring)
            p = {p.x * size, p.y * size};
        EXPECT_NEAR(PolygonCentreOfMass2D(ring.data(), ring.size()).x / size, 5.0 / 3, 1e-9);
    }
    const Ring flat = {{0, 0}, {2, 0}, {0, 0}};
    EXPECT_EQ(PolygonArea2D(flat.data(), 3), 0);
    EXPECT_EQ(PolygonCentreOfMass2D(flat.data(), 3), (Point2D{1, 0}));
    EXPECT_EQ(PolygonCentreOfMass2D(flat.data(), 1), (Point2D{0, 0}));
    EXPECT_TRUE(IsMissing2D(PolygonCentreOfMass2D(nullptr, 0)));
}

TEST(PolygonContainsPoint2D, DecidesAtVerticesAndEdges)
{
    const std::tuple<Point2D, bool, bool> rows[] = {
        {{1, 1}, true, false},         {{2, 2}, false, false},       {{-1, 0}, false, false},
        {{-1, 1}, false, false},       {{-1, 4}, false, false},      {{3, 1}, true, false},
        {{4, 4}, false, true},         {{2, 0}, false, true},        {{2, 1 + 4e-5}, false, true},
        {{2, 1 + 2e-4}, false, false}, {{2, 1 - 2e-4}, true, false}, {{1, 4}, false, false},
    };
    for (const Ring& ring : {kNotch, Reversed(kNotch)})
        for (const auto& [p, inside, onEdge] : rows)
            for (const bool withEdges : {false, true})
                EXPECT_EQ(
                    PolygonContainsPoint2D(ring.data(), ring.size(), p, withEdges, Precision()),
                    inside || (withEdges && onEdge))
                    << p.x << ' ' << p.y;
    for (const double v : {kNaN, kInfinity, -kInfinity, kMissing})
        for (const Point2D& p : {Point2D{v, 0.2}, {0.2, v}, {v, v}})
        {
            Ring ring = kTriangle;
            EXPECT_FALSE(PolygonContainsPoint2D(ring.data(), 4, p, true, Precision()));
            ring[2] = p;
            EXPECT_FALSE(PolygonContainsPoint2D(ring.data(), 4, {0.1, 0.1}, true, Precision()));
            EXPECT_FALSE(PolygonContainsPoint2D(ring.data(), 4, p, true, Precision()));
        }
    // Where the products of coordinates are too large to resolve the distance.
    const Ring far = {{0, 0}, {3e15, 1e15}, {0, 1e15}, {0, 0}};
    const auto isInFar = [&](Point2D p) {
        return PolygonContainsPoint2D(far.data(), far.size(), p, false, Precision());
    };
    EXPECT_TRUE(isInFar({2.1e15, 7e14 + 1}));
    EXPECT_FALSE(isInFar({2.1e15, 7e14 - 1}));
}

} // namespace
