#include "Geom/Geom_LineLayer2D.h"
#include "Geom/Geom_Polyline.h"

#include <gtest/gtest.h>

namespace
{
using namespace Geom;
using Polyline = std::vector<Point2D>;

TEST(PolylineOverlapIntersect2D, LeavesTheCommonRange)
{
    const Polyline slope = {{0, 0}, {10, 10}}, level = {{5, 0}, {20, 0}};
    const struct
    {
        const char* what;
        Polyline a, b, cutA, cutB;
    } rows[] = {
        {"overlap", slope, level, {{5, 5}, {10, 10}}, {{5, 0}, {10, 0}}},
        {"from right to left",
         {{10, 10}, {0, 0}},
         {{20, 0}, {5, 0}},
         {{5, 5}, {10, 10}},
         {{5, 0}, {10, 0}}},
        {"one within the other",
         {{0, 0}, {4, 4}, {6, 0}, {9, 3}},
         {{2, 7}, {3, 8}, {8, 9}},
         {{2, 2}, {4, 4}, {6, 0}, {8, 2}},
         {{2, 7}, {3, 8}, {8, 9}}},
        {"equal ranges", slope, {{0, 1}, {3, 5}, {10, 2}}, slope, {{0, 1}, {3, 5}, {10, 2}}},
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
    for (const auto& row : rows)
    {
        Polyline a = row.a, b = row.b;
        PolylineOverlapIntersect2D(a, b);
        EXPECT_EQ(a, row.cutA) << row.what;
        EXPECT_EQ(b, row.cutB) << row.what;
        PolylineOverlapIntersect2D(b, a);
        EXPECT_EQ(a, row.cutA) << row.what << ", cut again";
    }
}

TEST(PolylineOverlapIntersect2D, TakesOnePolylineTwice)
{
    Polyline line = {{9, 1}, {4, 2}, {0, 5}, {0, 0}};
    PolylineOverlapIntersect2D(line, line);
    EXPECT_EQ(line, (Polyline{{0, 5}, {4, 2}, {9, 1}})); // the wall at the left end is cut off
    line.resize(1);
    PolylineOverlapIntersect2D(line, line);
    EXPECT_TRUE(line.empty());
}

TEST(PolylinesOverlapIntersect2D, ClipsACopyOfTheReferenceWithEach)
{
    const Polyline reference = {{0, 0}, {10, 10}};
    std::vector<Polyline> others = {{{5, 0}, {20, 0}}, {{-3, 1}, {2, 1}}}, results(7);
    PolylinesOverlapIntersect2D(reference, results, others);
    EXPECT_EQ(results, (std::vector<Polyline>{{{5, 5}, {10, 10}}, {{0, 0}, {2, 2}}}));
    EXPECT_EQ(others, (std::vector<Polyline>{{{5, 0}, {10, 0}}, {{0, 1}, {2, 1}}}));
}

TEST(PolylinesOverlapIntersect2D, TakesOneVectorTwiceAndAReferenceWithinIt)
{
    std::vector<Polyline> both = {{{0, 0}, {10, 10}}, {{5, 0}, {20, 0}}};
    PolylinesOverlapIntersect2D(both[0], both, both);
    EXPECT_EQ(both, (std::vector<Polyline>{{{0, 0}, {10, 10}}, {{5, 5}, {10, 10}}}));
}

TEST(LineLayer2D, GivesTheRangeAndTheOrderOfItsLines)
{
    const LineSet2D lines = {
        {{0, 0}, {10, 10}}, {{8, 1}, {2, 1}}, {{4, -3}, {4, 6}}, {{0, 0}, {0, 0}}};
    LineLayer2D layer(lines, Precision());
    const double missing = MissingValue<double>();
    using Range = std::pair<double, double>;
    EXPECT_EQ(layer.GetY(1), (Range{1, 1}));
    EXPECT_EQ(layer.GetY(4), (Range{-3, 6}));
    EXPECT_EQ(layer.GetY(8 + 4e-5), (Range{1, 8 + 4e-5}));
    EXPECT_EQ(layer.GetY(8 + 6e-5), (Range{8 + 6e-5, 8 + 6e-5}));
    EXPECT_EQ(layer.GetY(11), (Range{missing, missing}));

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
