#include "Geom/GeomTest.h"
#include "Geom/Geom_LineLayer2D.h"
#include "Geom/Geom_Polyline.h"

namespace
{
using namespace geomtest;
using Polyline = std::vector<Point2D>;

TEST(PolylineOverlapIntersect2D, LeavesTheCommonRange)
{
    const Polyline slope = {{0, 0}, {10, 10}}, back = {{10, 10}, {0, 0}};
    const Polyline level = {{5, 0}, {20, 0}}, levelBack = {{20, 0}, {5, 0}};
    const Polyline upper = {{5, 5}, {10, 10}}, half = {{5, 0}, {10, 0}};
    const Polyline roof = {{0, 1}, {3, 5}, {10, 2}}, inner = {{2, 7}, {3, 8}, {8, 9}};
    const std::tuple<const char*, Polyline, Polyline, Polyline, Polyline> rows[] = {
        {"overlap", slope, level, upper, half},
        {"from right to left", back, levelBack, upper, half},
        {"one within the other",
         {{0, 0}, {4, 4}, {6, 0}, {9, 3}},
         inner,
         {{2, 2}, {4, 4}, {6, 0}, {8, 2}},
         inner},
        {"equal ranges", slope, roof, slope, roof},
        {"touching", slope, {{10, 0}, {20, 0}}, {}, {}},
        {"apart", slope, {{11, 0}, {20, 0}}, {}, {}},
        {"a point", slope, {{5, 5}}, {}, {}},
        {"empty", {}, slope, {}, {}},
        {"no width", {{1, 0}, {1, 5}}, slope, {}, {}},
        {"a wall at the cut",
         {{0, 0}, {5, 0}, {5, 3}, {9, 3}},
         level,
         {{5, 3}, {9, 3}},
         {{5, 0}, {9, 0}}},
    };
    for (auto [what, a, b, cutA, cutB] : rows)
    {
        PolylineOverlapIntersect2D(a, b);
        EXPECT_EQ(a, cutA) << what;
        EXPECT_EQ(b, cutB) << what;
        PolylineOverlapIntersect2D(b, a);
        EXPECT_EQ(a, cutA) << what << ", cut again";
    }
    Polyline twice = {{9, 1}, {4, 2}, {0, 5}, {0, 0}};
    PolylineOverlapIntersect2D(twice, twice);
    EXPECT_EQ(twice, (Polyline{{0, 5}, {4, 2}, {9, 1}})); // the wall at the left end is cut off
    twice.resize(1);
    PolylineOverlapIntersect2D(twice, twice);
    EXPECT_TRUE(twice.empty());
}

TEST(PolylinesOverlapIntersect2D, ClipsACopyOfTheReferenceWithEach)
{
    const Polyline reference = {{0, 0}, {10, 10}};
    std::vector<Polyline> others = {{{5, 0}, {20, 0}}, {{-3, 1}, {2, 1}}}, results(7);
    PolylinesOverlapIntersect2D(reference, results, others);
    EXPECT_EQ(results, (std::vector<Polyline>{{{5, 5}, {10, 10}}, {{0, 0}, {2, 2}}}));
    EXPECT_EQ(others, (std::vector<Polyline>{{{5, 0}, {10, 0}}, {{0, 1}, {2, 1}}}));
    // One vector twice, and the reference within it.
    std::vector<Polyline> both = {reference, {{5, 0}, {20, 0}}};
    PolylinesOverlapIntersect2D(both[0], both, both);
    EXPECT_EQ(both, (std::vector<Polyline>{reference, {{5, 5}, {10, 10}}}));
}

TEST(LineLayer2D, GivesTheRangeAndTheOrderOfItsLines)
{
    const LineSet2D lines = {
        {{0, 0}, {10, 10}}, {{8, 1}, {2, 1}}, {{4, -3}, {4, 6}}, {{0, 0}, {0, 0}}};
    LineLayer2D layer(lines, Precision());
    using Range = std::pair<double, double>;
    const std::pair<double, Range> ranges[] = {{1, {1, 1}},
                                               {4, {-3, 6}},
                                               {8 + 4e-5, {1, 8 + 4e-5}},
                                               {8 + 6e-5, {8 + 6e-5, 8 + 6e-5}},
                                               {11, {kMissing, kMissing}}};
    for (const auto& [x, range] : ranges)
        EXPECT_EQ(layer.GetY(x), range) << x;

    const auto line = [&](int i) { return lines.begin() + i; };
    using Order = std::vector<LineLayer2D::Reference>;
    EXPECT_EQ(layer.GetOrder(4), (Order{line(1), line(2), line(0)}));
    EXPECT_EQ(layer.GetOrder(0), (Order{line(0), line(3)}));
    EXPECT_TRUE(layer.Erase(line(1)));
    EXPECT_FALSE(layer.Erase(line(1)));
    EXPECT_EQ(layer.GetOrder(4), (Order{line(2), line(0)}));
    EXPECT_TRUE(layer.Insert(line(1)));
    EXPECT_FALSE(layer.Insert(line(1)));
    EXPECT_EQ(layer.size(), 4u);
}

} // namespace
