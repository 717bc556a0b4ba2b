#include "numerics/GaussRule.h"

#include <gtest/gtest.h>

#include <cmath>
#include <utility>
#include <vector>

using math::ElementShape, math::GaussPoint, math::GaussRule;

namespace
{

/// The integral of r^i s^j over the reference element.
double Exact(ElementShape shape, int i, int j)
{
    if (shape == ElementShape::Triangle)
        return std::tgamma(i + 1) * std::tgamma(j + 1) / std::tgamma(i + j + 3);
    const auto along = [](int k) { return k % 2 == 0 ? 2.0 / (k + 1) : 0.0; };
    return along(i) * (shape == ElementShape::Line ? j == 0 : along(j));
}

} // namespace

TEST(GaussRule, IntegratesPolynomialsOfItsDegreeAndNoFurther)
{
    // Points of the rule for each degree.
    const std::pair<ElementShape, std::vector<std::size_t>> shapes[] = {
        {ElementShape::Line, {1, 1, 2, 2, 3, 3, 4, 4, 5, 5}},
        {ElementShape::Triangle, {1, 1, 3, 6, 6, 7, 12, 16, 16}},
        {ElementShape::Quadrilateral, {1, 1, 4, 4, 9, 9, 16, 16, 25, 25}},
    };
    for (const auto& [shape, counts] : shapes)
    {
        const int most = int(counts.size()) - 1;
        EXPECT_TRUE(GaussRule(shape, -1).empty() && GaussRule(shape, most + 1).empty());
        for (int degree = 0; degree <= most; ++degree)
        {
            const auto rule = GaussRule(shape, degree);
            SCOPED_TRACE(testing::Message() << int(shape) << ' ' << degree);
            EXPECT_EQ(rule.size(), counts[degree]);
            const auto error = [&, shape = shape](int i, int j) {
                double sum = -Exact(shape, i, j);
                for (const GaussPoint& p : rule)
                    sum += p.weight * std::pow(p.r, i) * std::pow(p.s, j);
                return std::fabs(sum);
            };
            for (int i = 0; i <= degree; ++i)
                for (int j = 0; j <= (shape == ElementShape::Triangle ? degree - i : degree); ++j)
                    EXPECT_LE(error(i, j), 2e-15) << i << ' ' << j;
            if (degree == most)
                EXPECT_GT(error(most + 1, 0), 1e-8);
            for (const auto& [r, s, weight] : rule)
            {
                EXPECT_GT(weight, 0);
                EXPECT_TRUE(shape == ElementShape::Triangle ? r > 0 && s > 0 && r + s < 1
                                                            : std::fabs(r) < 1 && std::fabs(s) < 1);
            }
        }
    }
}
