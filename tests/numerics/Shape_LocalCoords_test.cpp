#include "numerics/Shape.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

namespace
{

struct Element
{
    std::string name;
    std::vector<double> coords; // x and y of each row
    int Nodes() const { return int(coords.size() / 2); }
    bool IsTriangle() const { return Nodes() == 3 || Nodes() == 6; }
};

/// Valid elements of awkward shape.
const Element kElements[] = {
    {"T3", {0, 0, 3, 1, 1, 2}},
    {"T3 sliver", {0, 0, 1, 0, 0.5, 1e-7}},
    {"T6 straight", {0, 0, 4, 0, 0, 3, 2, 0, 2, 1.5, 0, 1.5}},
    {"T6 curved", {0, 0, 4, 0, 0, 4, 2, -0.6, 2.5, 2.4, 0.5, 2}},
    {"T6 uneven mid-sides", {0, 0, 1, 0, 0, 1, 0.6, 0.05, 0.42, 0.5, -0.04, 0.42}},
    {"Q4 square", {1, 1, -1, 1, -1, -1, 1, -1}},
    {"Q4 almost a triangle", {1, 1, 0, 1, 0, 0, 0.52, 0.5}},
    {"Q4 trapezium", {2, 1, -0.1, 1, -1, 0, 5, 0}},
    {"Q4 folded to a triangle", {1, 1, 1, 1, 0, 0, 2, 0}},
    {"Q4 sheared thin", {1000.001, 1, 1000, 1, 0, 0, 0.001, 0}},
    {"Q4 clockwise", {1, -1, -1, -1, -1, 1, 1, 1}},
    {"Q8 straight", {2, 2, 0, 2, 0, 0, 2, 0, 1, 2, 0, 1, 1, 0, 2, 1}},
    {"Q8 curved", {2, 2, 0, 2, 0, 0, 2, 0, 1, 2.4, 0.3, 1.1, 0.9, 0.3, 2.4, 0.9}},
    {"Q8 ring sector",
     {0, 2, 0, 1, 1, 0, 2, 0, 0, 1.5, std::sqrt(0.5), std::sqrt(0.5), 1.5, 0, std::sqrt(2.0),
      std::sqrt(2.0)}},
};

/// Directions out of a square.
constexpr double kAround[8][2] = {{1, 0}, {-1, 0}, {0, 1},     {0, -1},
                                  {1, 1}, {-1, 1}, {-0.3, -1}, {1, -0.7}};

/// The global point of (r, s), rounded once.
void Global(const Element& element, double r, double s, double& x, double& y)
{
    int nodes[8] = {};
    const auto place = [&](int row) { return element.IsTriangle() && row > 2 ? row + 1 : row; };
    for (int row = 0; row < element.Nodes(); ++row)
        nodes[place(row)] = 1;
    double N[8];
    Shape_Function(N, r, s, nodes);
    long double sumX = 0, sumY = 0;
    for (int row = 0; row < element.Nodes(); ++row)
    {
        sumX += (long double)N[place(row)] * element.coords[2 * row];
        sumY += (long double)N[place(row)] * element.coords[2 * row + 1];
    }
    x = double(sumX);
    y = double(sumY);
}

int Find(const Element& element, double x, double y, double& r, double& s)
{
    return iGlobal_To_Local_Coords(&r, &s, x, y, element.coords.data(), element.Nodes());
}

/// Every point of a grid over the element, its edge included, must come back.
void ExpectRoundTrips(const Element& element, double tolerance)
{
    SCOPED_TRACE(element.name);
    constexpr int kSteps = 10;
    for (int i = 0; i <= kSteps; ++i)
        for (int j = 0; j <= (element.IsTriangle() ? kSteps - i : kSteps); ++j)
        {
            const double r = element.IsTriangle() ? i / double(kSteps) : 2 * i / double(kSteps) - 1;
            const double s = element.IsTriangle() ? j / double(kSteps) : 2 * j / double(kSteps) - 1;
            double x, y, foundR = NAN, foundS = NAN, backX, backY;
            Global(element, r, s, x, y);
            ASSERT_EQ(Find(element, x, y, foundR, foundS), kLocalCoordsInside) << r << ' ' << s;
            Global(element, foundR, foundS, backX, backY);
            double size = 0;
            for (std::size_t k = 0; k < element.coords.size(); ++k)
                size = std::fmax(size, std::fabs(element.coords[k] - element.coords[k % 2]));
            EXPECT_NEAR(backX, x, tolerance * size);
            EXPECT_NEAR(backY, y, tolerance * size);
        }
}

Element Moved(Element element, double factor, double offset)
{
    for (double& coordinate : element.coords)
        coordinate = coordinate * factor + offset;
    element.name += " * " + std::to_string(factor) + " + " + std::to_string(offset);
    return element;
}

} // namespace

TEST(LocalCoords, EveryPointOfAValidElementIsFound)
{
    for (const Element& element : kElements)
    {
        ExpectRoundTrips(element, 1e-14);
        for (const double factor : {1e-200, 1e-9, 1e9, 1e200})
            ExpectRoundTrips(Moved(element, factor, 0), 1e-14);
    }
}

TEST(LocalCoords, FarFromTheOriginOnlyTheCoordinatesRound)
{
    for (const Element& element : kElements)
        // The sliver rounds to no area at all; across the other one the coordinates' own rounding
        // is wider than the widest edge, 1e-3.
        if (element.name != "T3 sliver" && element.name != "Q4 sheared thin")
            ExpectRoundTrips(Moved(element, 1, 5e7), 1e-7);
}

TEST(LocalCoords, NearlyStraightSidesNeitherLoseAPointNorReachFarOutside)
{
    // Mid-side nodes as files round them: almost, but not quite, in the middle.
    for (const double offset : {1e-16, 1e-13, 1e-10, 1e-8, 1e-6, 1e-4})
    {
        Element element = kElements[11];
        element.name += " bent by " + std::to_string(std::log10(offset));
        for (std::size_t k = 8; k < 16; ++k)
            element.coords[k] += (double(k % 3) - 1) * offset;
        ExpectRoundTrips(element, 1e-14);
        SCOPED_TRACE(element.name);
        for (const double distance : {1.01, 3.0, 1e2, 1e4, 1e8, 1e12})
            for (int i = 0; i < 8; ++i)
            {
                double r, s;
                const double x = 1 + distance * kAround[i][0], y = 1 + distance * kAround[i][1];
                EXPECT_NE(Find(element, x, y, r, s), kLocalCoordsInside) << x << ' ' << y;
            }
    }
}

TEST(LocalCoords, APointOutsideIsReportedWithItsCoordinates)
{
    const std::tuple<int, double, double> rows[] = {{0, 1.5, -0.25}, {0, -1e6, 2e6},  {2, 0.6, 0.6},
                                                    {3, -0.05, 0.4}, {5, 1.00001, 0}, {5, -300, 20},
                                                    {7, 0, 1.2},     {12, 1.05, 0.2}};
    for (const auto& [number, wantedR, wantedS] : rows)
    {
        const Element& element = kElements[number];
        SCOPED_TRACE(element.name);
        double x, y, r = NAN, s = NAN;
        Global(element, wantedR, wantedS, x, y);
        EXPECT_EQ(Find(element, x, y, r, s), kLocalCoordsOutside);
        EXPECT_NEAR(r, wantedR, 1e-9 * std::fabs(wantedR) + 1e-9);
        EXPECT_NEAR(s, wantedS, 1e-9 * std::fabs(wantedS) + 1e-9);
    }
}

TEST(LocalCoords, FailureLeavesTheResultAlone)
{
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    const Element rows[] = {
        {"two nodes", {0, 0, 1, 1}},
        {"five nodes", {1, 1, -1, 1, -1, -1, 1, -1, 0, 1}},
        {"one place", {3, 3, 3, 3, 3, 3, 3, 3}},
        {"a line", {0, 0, 1, 1, 3, 3}},
        {"a line of four", {0.1, 0.3, 0.2, 0.6, 0.3, 0.9, 0.4, 1.2}},
        {"a bow tie of equal wings", {1, 1, -1, -1, -1, 1, 1, -1}},
        {"not a number", {1, 1, -1, 1, -1, NAN, 1, -1}},
        {"endless", {1, 1, -1, kInfinity, -1, -1, 1, -1}},
    };
    for (const Element& element : rows)
    {
        double r = 7, s = 8;
        EXPECT_EQ(Find(element, 0.1, 0.3, r, s), kLocalCoordsFailed) << element.name;
        EXPECT_TRUE(r == 7 && s == 8) << element.name;
    }
    double r = 7, s = 8;
    EXPECT_EQ(Find(kElements[0], NAN, 0, r, s), kLocalCoordsFailed);
    // Beyond the line where a quadrilateral's map folds it has no inverse.
    EXPECT_EQ(Find(kElements[6], 2, -1, r, s), kLocalCoordsFailed);
    EXPECT_EQ(r, 7);
}
