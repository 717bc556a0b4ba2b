#include "Geom/GeomTest.h"
#include "Geom/Geom_Region.h"

namespace
{
using namespace geomtest;

const Region2D kSound = {Square(0, 0, 10), {Square(1, 1, 2), Square(5, 5, 3)}};

TEST(Region2D, IsCheckedWithTheReasonAndThePlace)
{
    using enum RegionFlaw;
    const Ring ten = Square(0, 0, 10);
    const Ring bowTie = {{0, 0}, {10, 10}, {10, 0}, {0, 10}, {0, 0}};
    const Ring repeated = {{0, 0}, {1, 0}, {1, 4e-5}, {1, 1}, {0, 0}};
    const Ring spike = {{0, 0}, {10, 0}, {10, 10}, {10, 12}, {10, 10}, {0, 10}, {0, 0}};
    const Ring dent = {{0, 0}, {10, -1e-9}, {10.1, 4e-5}, {110, 0}, {110, 50}, {0, 50}, {0, 0}};
    const std::tuple<const char*, Region2D, RegionFault2D> rows[] = {
        {"sound", kSound, {}},
        {"clockwise", {Ring(kSound.outline.rbegin(), kSound.outline.rend()), kSound.holes}, {}},
        {"dent", {dent, {}}, {}},
        {"empty", {}, {TooFewPoints, 0, 0, 0, kNoPoint}},
        {"NaN", {ten, {Square(1, kNaN, 2)}}, {NotFinite, 1, 1, 0, kNoPoint}},
        {"line", {{{0, 0}, {1, 0}, {0, 0}}, {}}, {TooFewPoints, 0, 0, 0, {0, 0}}},
        {"open", {{{0, 0}, {1, 0}, {1, 1}, {0, 1}}, {}}, {NotClosed, 0, 0, 3, {0, 1}}},
        {"repeated", {repeated, {}}, {RepeatedPoint, 0, 0, 1, {1, 0}}},
        {"bow tie", {bowTie, {}}, {SelfContact, 0, 0, 0, {5, 5}}},
        {"spike", {spike, {}}, {SelfContact, 0, 0, 1, {10, 10}}},
        {"no area", {{{0, 0}, {5, 0}, {9, 0}, {0, 0}}, {}}, {SelfContact, 0, 0, 0, {0, 0}}},
        {"crossing hole", {ten, {Square(8, 4, 5)}}, {RingContact, 0, 1, 1, {10, 4}}},
        {"touching hole",
         {ten, {{{10 - 4e-5, 5}, {8, 6}, {8, 4}, {10 - 4e-5, 5}}}},
         {RingContact, 0, 1, 1, {10 - 4e-5, 5}}},
        {"hole outside",
         {ten, {Square(1, 1, 1), Square(20, 0, 5)}},
         {HoleOutside, 2, 0, 0, {20, 0}}},
        {"hole about it", {ten, {Square(-5, -5, 30)}}, {HoleOutside, 1, 0, 0, {-5, -5}}},
        {"hole in hole", {ten, {Square(2, 2, 2), Square(1, 1, 6)}}, {HoleInHole, 1, 2, 0, {2, 2}}},
    };
    for (const auto& [what, region, expected] : rows)
    {
        SCOPED_TRACE(what);
        const RegionFault2D fault = RegionCheck2D(region, kPrecision);
        EXPECT_EQ(fault.flaw, expected.flaw);
        EXPECT_EQ(fault.IsSound(), expected.flaw == None);
        EXPECT_EQ(fault.ring * 1000 + fault.otherRing * 100 + fault.edge,
                  expected.ring * 1000 + expected.otherRing * 100 + expected.edge);
        EXPECT_TRUE(IsMissing2D(expected.place)
                        ? IsMissing2D(fault.place)
                        : IsEqual2D(fault.place, expected.place, kPrecision))
            << fault.place.x << ' ' << fault.place.y;
    }
}

TEST(Region2D, LocatesPointsAndHasAnArea)
{
    using enum PointLocation;
    const std::pair<Point2D, PointLocation> rows[] = {
        {{0.5, 5}, Inside},         {{2, 2}, Outside},  {{1, 2}, OnBorder},
        {{1 + 4e-5, 2}, OnBorder},  {{5, 5}, OnBorder}, {{1 + 6e-5, 2}, Outside},
        {{10 + 4e-5, 3}, OnBorder}, {{11, 3}, Outside}, {{kNaN, 5}, Outside}};
    for (const auto& [p, expected] : rows)
        EXPECT_EQ(RegionLocatePoint2D(kSound, p, kPrecision), expected) << p.x << ' ' << p.y;
    const Region2D broken = {kSound.outline, {{{1, 1}, {kNaN, 1}, {1, 2}, {1, 1}}}};
    EXPECT_EQ(RegionLocatePoint2D(broken, {5, 5}, kPrecision), Outside);
    EXPECT_EQ(RegionArea2D(kSound), 87);
    EXPECT_EQ(RegionArea2D({}), 0);
}

} // namespace
