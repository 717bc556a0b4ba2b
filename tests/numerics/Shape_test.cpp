#include "numerics/Shape.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <vector>

namespace
{

using Flags = std::array<int, 8>;

struct NodePlace
{
    double r, s;
};
constexpr NodePlace kQuadrilateral[] = {{1, 1}, {-1, 1}, {-1, -1}, {1, -1},
                                        {0, 1}, {-1, 0}, {0, -1},  {1, 0}};
constexpr NodePlace kTriangle[] = {{0, 0}, {1, 0}, {0, 1}, {9, 9}, {0.5, 0}, {0.5, 0.5}, {0, 0.5}};

/// Every combination of mid-side nodes of both shapes.
std::vector<Flags> AllElements()
{
    std::vector<Flags> all;
    for (int middle = 0; middle < 16; ++middle)
        all.push_back({1, 1, 1, 1, middle & 1, middle & 2, middle & 4, middle & 8});
    for (int middle = 0; middle < 8; ++middle)
        all.push_back({1, 1, 1, 0, middle & 1, middle & 2, middle & 4, 0});
    return all;
}

std::array<double, 8> Values(const Flags& nodes, double r, double s)
{
    std::array<double, 8> N;
    N.fill(NAN);
    Shape_Function(N.data(), r, s, nodes.data());
    return N;
}

} // namespace

TEST(ShapeFunction, IsOneAtItsNodeAndZeroAtTheOthers)
{
    for (const Flags& nodes : AllElements())
        for (int at = 0; at < 8; ++at)
        {
            if (nodes[at] <= 0)
                continue;
            const NodePlace place = nodes[3] ? kQuadrilateral[at] : kTriangle[at];
            const auto N = Values(nodes, place.r, place.s);
            for (int i = 0; i < 8; ++i)
                EXPECT_EQ(N[i], i == at ? 1.0 : 0.0)
                    << testing::PrintToString(nodes) << " N" << i << " at " << at;
        }
}

TEST(ShapeFunction, HasTheStatedFormWithinTheElement)
{
    // (0.5, -0.5): worked by hand in fractions of 64.
    EXPECT_EQ(Values({1, 1, 1, 1, 0, 0, 0, 0}, 0.5, -0.5),
              (std::array<double, 8>{12 / 64., 4 / 64., 12 / 64., 36 / 64., 0, 0, 0, 0}));
    EXPECT_EQ(Values({1, 1, 1, 1, 1, 1, 1, 1}, 0.5, -0.5),
              (std::array<double, 8>{-12 / 64., -8 / 64., -12 / 64., 0, 12 / 64., 12 / 64.,
                                     36 / 64., 36 / 64.}));
    EXPECT_EQ(Values({1, 1, 1, 0, 1, 0, 0, 0}, 0.25, 0.5),
              (std::array<double, 8>{0.125, 0.125, 0.5, 0, 0.25, 0, 0, 0}));
    for (const Flags& neither : {Flags{1, 1, 0, 0, 1, 1, 1, 1}, {1, 1, 1, -1, 1, 1, 1, 1}})
        EXPECT_EQ(Values(neither, 0.25, 0.5), (std::array<double, 8>{}));
}

TEST(ShapeDerivative, IsTheDifferenceQuotientOfTheFunctions)
{
    constexpr double h = 1.0 / 1024; // central differences are exact for these polynomials
    for (const Flags& nodes : AllElements())
        for (const NodePlace at : {NodePlace{0.3, 0.2}, {-0.7, 0.9}, {0.11, -0.63}, {1, 1}})
        {
            double dN[2][8];
            Shape_Derivative(dN, at.r, at.s, nodes.data());
            const auto right = Values(nodes, at.r + h, at.s), left = Values(nodes, at.r - h, at.s);
            const auto above = Values(nodes, at.r, at.s + h), below = Values(nodes, at.r, at.s - h);
            double sum = 0, sumByR = 0, sumByS = 0;
            for (int i = 0; i < 8; ++i)
            {
                EXPECT_NEAR(dN[0][i], (right[i] - left[i]) / (2 * h), 1e-12)
                    << testing::PrintToString(nodes) << i;
                EXPECT_NEAR(dN[1][i], (above[i] - below[i]) / (2 * h), 1e-12)
                    << testing::PrintToString(nodes) << i;
                sum += right[i];
                sumByR += dN[0][i];
                sumByS += dN[1][i];
            }
            EXPECT_NEAR(sum, 1, 1e-14) << testing::PrintToString(nodes);
            EXPECT_NEAR(sumByR, 0, 1e-14) << testing::PrintToString(nodes);
            EXPECT_NEAR(sumByS, 0, 1e-14) << testing::PrintToString(nodes);
        }
}
