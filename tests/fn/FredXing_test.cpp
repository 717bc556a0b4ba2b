#include "fn/curve/FredXingLoop.h"
#include "fn/curve/Log2Exp2.h"
#include "fn/math_fn_flow_FredXing.h"
#include "platform/platform_cpu.h"
#include "reference_cases.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace
{

using math::PressureUnit;
using math::UnitSet;
using math::fn::flow::FredXing;

constexpr double kMissing = MissingValue<double>();

TEST(FredXing, GivesTheReferenceValuesAndTheSameOverAnArray)
{
    const nlohmann::json reference = ReferenceCase("W1-curve.reference.json");
    for (const auto& set : reference.at("sets"))
    {
        const FredXing curve(set["a"], set["n"], set["m"], set["theta_s"], set["limit"]);
        for (const auto& row : set["rows"])
        {
            const double p = -row["suction"].get<double>();
            SCOPED_TRACE(row.dump());
            const double found = curve(p);
            double array = p;
            curve.Evaluate(&array, &array, 1);
            for (const double theta : {found, array})
            {
                const bool exact = row["exact_zero"].get<bool>() || row.contains("demand_instead");
                EXPECT_NEAR(theta, exact ? 0 : std::stod(row["theta"].get<std::string>()),
                            exact ? 0 : row["tol_abs"].get<double>());
                if (row["sign"].is_number())
                    EXPECT_EQ((theta > 0) - (theta < 0), row["sign"].get<int>());
            }
        }
    }
}

TEST(FredXing, ArraysOfEveryProcessorLevelAgreeWithThePoints)
{
    curve::CurveLoop* const loops[] = {curve::sse2::Loop, curve::avx2::Loop, curve::avx512::Loop};
    std::mt19937_64 random(7);
    std::uniform_real_distribution<double> exponent(-320, 20), shape(0.05, 8);
    const double inf = std::numeric_limits<double>::infinity();
    for (int set = 0; set < 60; ++set)
    {
        // In every third set, numbers whose quotients leave the range of normal doubles.
        const bool isExtreme = set % 3 == 0;
        const double a = std::pow(10, isExtreme ? -2 - set * 5 : shape(random) - 4);
        const double n = isExtreme ? 0.01 : shape(random), m = shape(random);
        const double limit = !isExtreme ? 1e6 : set % 2 == 0 ? 1e-5 : -1e6;
        const FredXing curve(a, n, m, 0.4, limit);
        std::vector<double> p{1, -0.0, 0, kMissing, -kMissing, inf, -inf, std::nan(""), -limit};
        for (const double ofA : {0x1p1023, 0x1.8p1023, 0x1p-1022, 0x1p-1060})
            p.push_back(-a * ofA);
        while (p.size() < 101)
            p.push_back(-std::pow(10, exponent(random) / (set % 2 == 0 ? 1 : 30)));
        std::vector<double> many(p.size()), slopes(p.size());
        const double overResidual = 1 / (0.003 * limit), whole = 1 + limit * overResidual;
        const double wholeLog2 = curve::Log2(whole);
        const curve::CurveTerms terms{1 / a,        n,     m,         0.4,
                                      overResidual, whole, wholeLog2, 1 / wholeLog2};
        for (int level = 0; level <= platform::SimdLevel(); ++level)
        {
            loops[level](terms, p.data(), many.data(), slopes.data(), p.size());
            for (std::size_t i = 0; i < p.size(); ++i)
            {
                const double one = curve(p[i]);
                const double allowed = (8 + 4 * m) * 1e-15 * std::fabs(one) + 1e-17;
                EXPECT_TRUE(one == many[i] || std::fabs(one - many[i]) <= allowed ||
                            (std::isnan(one) && std::isnan(many[i])))
                    << "level " << level << " at " << p[i] << ": " << one << ' ' << many[i];
                double slope = 0;
                if (!(p[i] >= 0))
                    (void)curve::ContentAt(terms, p[i], &slope);
                const double steepness = n * std::fabs(std::log2(std::fabs(p[i]) / a));
                EXPECT_TRUE(slope == slopes[i] || isExtreme || p[i] <= -limit ||
                            std::fabs(slope - slopes[i]) <=
                                (16 + 8 * m + 2 * steepness) * 1e-15 * std::fabs(slope) ||
                            (std::isnan(slope) && std::isnan(slopes[i])))
                    << "level " << level << " at " << p[i] << ": " << slope << ' ' << slopes[i];
                if (limit > 0)
                    EXPECT_FALSE(one > 0.4 || many[i] > 0.4) << one << ' ' << many[i];
            }
            if (!isExtreme)
                EXPECT_EQ(many[8], 0) << "at the limit";
        }
    }
}

TEST(FredXing, KeepsItsErrorBoundForEverySlope)
{
    std::mt19937_64 random(17);
    std::uniform_real_distribution<double> exponent(-4, 5.7), slope(0.3, 12), tail(0.3, 30);
    const long double e = std::exp(1.0L), r = 0.003 * 1e6, whole = std::log(1 + 1e6 / r);
    for (int round = 0; round < 20000; ++round)
    {
        const double n = slope(random), m = tail(random), s = std::pow(10, exponent(random));
        const long double shape = std::pow(1 / std::log(e + std::pow(s / 10.0L, n)), m);
        const auto exact = double(0.4L * shape * (1 - std::log(1 + s / r) / whole));
        const FredXing curve(10, n, m, 0.4, 1e6);
        EXPECT_NEAR(curve(-s), exact, (4 + 2 * m) * 1e-15 * exact) << n << ' ' << m << ' ' << s;
        const long double power = std::pow(s / 10.0L, n), inner = e + power;
        const auto steep = double(
            0.4L * shape *
            (m * n * power / inner / s / std::log(inner) * (1 - std::log(1 + s / r) / whole) +
             1 / ((r + s) * whole)));
        const double p = -s, steepness = n * std::fabs(std::log2(s / 10));
        double content = 0, found = 0;
        curve.Evaluate(&p, &content, &found, 1);
        EXPECT_NEAR(found, steep, (8 + 4 * m + steepness) * 1e-15 * steep)
            << n << ' ' << m << ' ' << s;
    }
}

TEST(FredXing, ElementaryFunctionsKeepTheirBounds)
{
    using curve::Exp2, curve::Log2;
    std::mt19937_64 random(3);
    std::uniform_real_distribution<double> near(0.5, 2), wide(-1022, 1024);
    const auto ulp = [](long double value) {
        const double at = std::fabs(double(value));
        return std::nextafter(at, kMissing) - at;
    };
    double worstLog = 0, worstExp = 0;
    for (int i = 0; i < 200000; ++i)
    {
        const double x = i % 2 == 0 ? near(random) : std::exp2(wide(random)), y = wide(random);
        const long double log = std::log2((long double)x), exp = std::exp2((long double)y);
        worstLog = std::max(worstLog, double(std::fabs(Log2(x) - log)) / std::max(ulp(log), 3e-16));
        worstExp = std::max(worstExp, double(std::fabs(Exp2(y) - exp)) / ulp(exp));
    }
    EXPECT_LE(worstLog, 1.1);
    EXPECT_LE(worstExp, 1.1);
    EXPECT_EQ(Log2(0x1p-1074), -1074);
    EXPECT_EQ(Log2(0), -std::numeric_limits<double>::infinity());
    EXPECT_TRUE(std::isnan(Log2(-1)) && std::isnan(Log2(std::nan(""))));
    EXPECT_EQ(Exp2(-5000), 0);
    EXPECT_EQ(Exp2(1024), std::numeric_limits<double>::infinity());
    EXPECT_TRUE(std::isnan(Exp2(std::nan(""))));
}

TEST(FredXing, AMissingParameterGivesTheMissingValueEverywhere)
{
    for (int field = 0; field < 5; ++field)
    {
        double f[] = {10, 2, 1, 0.4, 1e6};
        f[field] = kMissing;
        const FredXing curve(f[0], f[1], f[2], f[3], f[4]);
        EXPECT_EQ(curve(-5), kMissing);
        EXPECT_EQ(curve(5), kMissing);
        // A missing saturated content is greater than zero and passes.
        EXPECT_EQ(curve.IsValid(), field == 3);
    }
}

TEST(FredXing, IsSaturatedFromZeroPressureUpwards)
{
    const FredXing curve(10, 2, 1, 0.4, 1e6);
    EXPECT_EQ(curve(0), 0.4);
    EXPECT_EQ(curve(5), 0.4);
    EXPECT_LT(curve(-1e-9), 0.4);
    EXPECT_EQ(FredXing(0, 2, 1, 0.4, 1e6)(-5), 0.4);
    EXPECT_TRUE(std::isnan(curve(std::numeric_limits<double>::quiet_NaN())));
    EXPECT_FALSE(FredXing(0, 2, 1, 0.4, 1e6).IsValid());
    EXPECT_TRUE(FredXing(1e-12, 2, 1, 0.4, 1e6).IsValid());
    EXPECT_EQ(curve.PressureLimits(), (std::pair<double, double>(-1e6, 0)));
    const Geom::Extents2D box = FredXing(10, 2, 1, 0.4, 500).Extents();
    EXPECT_EQ(box.minX, -1e6);
    EXPECT_LT(box.maxY, 0); // beyond this curve's own limit the content is negative
}

TEST(FredXing, LimitIsAMillionKilopascalInAnyUnit)
{
    const nlohmann::json reference =
        ReferenceCase("W1-curve.reference.json").at("limit_1e6_kPa_in_units");
    using enum PressureUnit;
    const std::pair<const char*, PressureUnit> rows[] = {
        {"Pa", Pascal}, {"kPa", Kilopascal},         {"MPa", Megapascal},
        {"bar", Bar},   {"psf", PoundPerSquareFoot}, {"psi", PoundPerSquareInch}};
    for (const auto& [name, unit] : rows)
    {
        const double expected = std::stod(reference.at(name).get<std::string>());
        EXPECT_NEAR(FredXing::CalcLimit(UnitSet(unit)), expected, 1e-15 * expected) << name;
    }
    for (const int unknown : {0, 7, -1})
        EXPECT_EQ(FredXing::CalcLimit(UnitSet(PressureUnit(unknown))), kMissing);
}

double SquaredError(const std::vector<FPOINT>& points, double satWC, double a, double n, double m)
{
    const FredXing curve(a, n, m, 1, 1e6);
    double sum = 0;
    for (const FPOINT& point : points)
        sum += std::pow(point.y / satWC - curve(point.x), 2);
    return sum;
}

TEST(FredXingFit, MeetsTheReferenceFits)
{
    const nlohmann::json problems = ReferenceCase("F1-fits.problem.json").at("fits");
    const nlohmann::json references = ReferenceCase("F1-fits.reference.json").at("fits");
    for (std::size_t i = 0; i < problems.size(); ++i)
    {
        const double satWC = problems[i]["theta_s"];
        std::vector<FPOINT> points;
        for (const auto& point : problems[i]["points_pressure_theta"])
            points.push_back({point[0], point[1], 0});
        for (const auto& start : references[i]["starts"])
        {
            SCOPED_TRACE(problems[i]["name"].dump() + start["start"].dump());
            double a = start["start"][0], n = start["start"][1], m = start["start"][2];
            const double before = SquaredError(points, satWC, a, n, m);
            FredXing::EstimateParam(satWC, points.data(), int(points.size()), UnitSet(), a, n, m);
            const double after = SquaredError(points, satWC, a, n, m);
            EXPECT_LE(after, before);
            const double demand = references[i]["demand"]["E_not_above"];
            EXPECT_LE(after, start["firm"].get<bool>() ? demand : before);
        }
    }
}

TEST(FredXingFit, ReachesThePerfectFitInAnyUnit)
{
    std::mt19937_64 random(5);
    std::uniform_real_distribution<double> u(0, 1);
    for (int set = 0; set < 200; ++set)
    {
        const UnitSet units(set % 2 == 0 ? PressureUnit::Kilopascal : PressureUnit::Pascal);
        const double kPa = units.FromKilopascal(1), scale = std::pow(10, 3 * u(random));
        const FredXing exact(scale * kPa, 0.5 + 7.5 * u(random), 0.3 + 2.7 * u(random), 0.45,
                             FredXing::CalcLimit(units));
        const double first = u(random) - 1, step = (4 + 1.5 * u(random) - first) / 9;
        std::vector<FPOINT> points;
        for (int i = 0; i < 10; ++i)
        {
            const double p = -std::pow(10, first + i * step) * kPa;
            points.push_back({p, exact(p), 0});
        }
        double a = 10 * kPa, n = 1, m = 1, rms = 0;
        EXPECT_GE(FredXing::EstimateParam(0.45, points.data(), 10, units, a, n, m, rms), 0);
        EXPECT_LE(10 * std::pow(rms / 0.45, 2), 1.0001e-4) << set;
        const FredXing fitted(a, n, m, 0.45, FredXing::CalcLimit(units));
        double sum = 0;
        for (const FPOINT& point : points)
            sum += std::pow(point.y - fitted(point.x), 2);
        EXPECT_NEAR(rms, std::sqrt(sum / 10), 1e-12);
    }
}

TEST(FredXingFit, EndsWithUsableValuesWhateverItIsGiven)
{
    const double inf = std::numeric_limits<double>::infinity(), nan = std::nan("");
    std::vector<FPOINT> none, one{{-10, 0.3, 0}}, equal{{-10, 0.3, 0}, {-10, 0.3, 0}},
        broken{{nan, 0.3, 0}, {-10, inf, 0}, {kMissing, kMissing, 0}},
        wet{{0, 0.4, 0}, {5, 0.3, 0}}, huge{{-1e300, 0.3, 0}, {-1e-300, 0.1, 0}};
    // Points, saturated content, a, n, m, whether there is anything to fit.
    const std::tuple<std::vector<FPOINT>&, double, double, double, double, bool> rows[] = {
        {none, 0.4, 10, 1, 1, false},       {one, 0.4, 10, 1, 1, true},
        {equal, 0.4, 10, 1, 1, true},       {broken, 0.4, 10, 1, 1, false},
        {one, 0, 10, 1, 1, false},          {one, nan, 10, 1, 1, false},
        {one, -1, 10, 1, 1, false},         {wet, 0.4, 10, 1, 1, true},
        {huge, 0.4, 10, 1, 1, true},        {one, 0.4, nan, inf, -1, true},
        {one, 0.4, 1e-300, 500, 1e3, true},
    };
    for (auto [points, satWC, a, n, m, fits] : rows)
    {
        SCOPED_TRACE(testing::Message() << points.size() << ' ' << satWC << ' ' << a);
        const int result =
            FredXing::EstimateParam(satWC, points.data(), int(points.size()), UnitSet(), a, n, m);
        EXPECT_EQ(result != FredXing::NothingToFit, fits);
        EXPECT_TRUE(FredXing(a, n, m, 0.4, 1e6).IsValid());
        EXPECT_TRUE(std::isfinite(a + n + m));
    }
    double shared = 2, a = 1, n = 2, m = 3;
    FredXing::EstimateParam(0.4, one.data(), 1, UnitSet(), shared, shared, shared);
    EXPECT_TRUE(std::isfinite(shared) && shared > 0);
    EXPECT_EQ(
        FredXing::EstimateParam(0.4, one.data(), 1, UnitSet(PressureUnit(9)), a, n, m, shared),
        FredXing::UnknownUnit);
    EXPECT_EQ(std::vector({a, n, m, shared}), std::vector({1.0, 2.0, 3.0, kMissing}));
}

} // namespace
