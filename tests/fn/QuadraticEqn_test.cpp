#include "fn/math_fn_QuadraticEqn.h"
#include "foundation/MissingValue.h"
#include "reference_cases.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace
{

using math::algorithm::Tolerance;
using math::fn::QuadraticEqn;

constexpr double kMissing = MissingValue<double>();

/// Reads "0x1.8p+1" and "missing".
double FromHex(const std::string& text)
{
    return text == "missing" ? kMissing : std::strtod(text.c_str(), nullptr);
}

void ExpectWithinTwoUlp(double found, double expected)
{
    if (found == expected)
        return;
    const double ulp = std::nextafter(std::fabs(expected), kMissing) - std::fabs(expected);
    EXPECT_LE(std::fabs(found - expected), 2 * ulp) << found << " for " << expected;
}

TEST(QuadraticEqn, GivesTheReferenceRoots)
{
    const nlohmann::json reference = ReferenceCase("Q1-quadratic.reference.json");
    for (const auto& row : reference.at("cases"))
    {
        SCOPED_TRACE(row["name"].dump());
        double roots[2];
        const QuadraticEqn equation(FromHex(row["A_hex"]), FromHex(row["B_hex"]),
                                    FromHex(row["C_hex"]));
        const int count = equation.Solve(roots, row["limit"].get<double>(),
                                         Tolerance<double>(row["tol_abs"].get<double>()));
        EXPECT_EQ(count, row["count"].get<int>());
        for (int i = 0; i < row["compare_roots"].get<int>(); ++i)
            ExpectWithinTwoUlp(roots[i], FromHex(row["roots_hex"][i]));
        for (int i = count; i < 2; ++i)
            EXPECT_EQ(roots[i], kMissing);
    }
}

TEST(QuadraticEqn, HasNoRootsForCoefficientsThatAreNoNumbers)
{
    const double nan = std::nan(""), inf = std::numeric_limits<double>::infinity();
    for (const double bad : {nan, inf, -inf, kMissing})
        for (int place = 0; place < 3; ++place)
        {
            double f[] = {1, -3, 2}, roots[2];
            f[place] = bad;
            EXPECT_EQ(QuadraticEqn(f[0], f[1], f[2]).Solve(roots, 1e10, Tolerance<double>(1e-12)),
                      0)
                << bad << " at " << place;
            EXPECT_EQ(roots[0], kMissing);
        }
}

} // namespace
