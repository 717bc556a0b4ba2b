#include "analysis/model/WaterCurve.h"

#include "problem/NumberText.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <tuple>
#include <vector>

namespace percova
{

namespace
{
constexpr double kWorstFit = 0.1; ///< of water content: a curve that is farther off is none of them

/// Fits a, n and m to the measured points from several starts, and keeps the best.
/// @param[out] error  root mean square of the points' distances in water content, the least found
bool Fit(const WaterContent& water, double& a, double& n, double& m, double& error)
{
    using math::fn::flow::FredXing;
    std::vector<FPOINT> points;
    for (const Point& at : water.measured)
        points.push_back({at.x, at.y, 0});
    double best = std::numeric_limits<double>::infinity();
    for (const double start : {1.0, 10.0, 100.0, 1000.0})
    {
        double fit[3] = {start, 1, 1};
        const int made = FredXing::EstimateParam(water.thetaS, points.data(), int(points.size()),
                                                 math::UnitSet(), fit[0], fit[1], fit[2]);
        if (made == FredXing::NothingToFit)
            return false;
        const FredXing curve(fit[0], fit[1], fit[2], water.thetaS, water.limit);
        double squares = 0;
        for (const FPOINT& point : points)
            squares += std::pow(point.y - curve(point.x), 2);
        if (!(squares < best))
            continue;
        best = squares;
        std::tie(a, n, m) = std::tie(fit[0], fit[1], fit[2]);
    }
    error = std::sqrt(best / double(points.size()));
    return error <= kWorstFit;
}
} // namespace

bool WaterCurve::Set(const WaterContent& water, double gammaW, std::string& reason)
{
    limit_ = water.limit;
    saturated_ = water.thetaS;
    if (water.rule == WaterRule::Exponential)
    {
        rate_ = water.alpha / gammaW;
        residual_ = water.thetaR;
        return true;
    }
    double a = water.a, n = water.n, m = water.m;
    double error = std::numeric_limits<double>::infinity();
    if (!water.measured.empty() && !Fit(water, a, n, m, error))
    {
        reason = "its water-content points cannot be fitted";
        if (std::isfinite(error))
            reason += ": the best curve is " + Short(error, 2) + " off in water content";
        return false;
    }
    function_ = {a, n, m, water.thetaS, limit_};
    if (function_.IsValid() && limit_ > 0)
        return true;
    reason = "its water-content curve has no valid parameters";
    return false;
}

double WaterCurve::Steepness() const
{
    constexpr double kExponential = 40; // it is over at about 40 / rate
    return rate_ > 0 ? kExponential : function_.N();
}

double WaterCurve::Content(double pressure) const
{
    if (rate_ > 0)
        return residual_ + (saturated_ - residual_) * std::exp(rate_ * std::min(pressure, 0.0));
    return std::max(0.0, function_(pressure));
}

double WaterCurve::Slope(double suction) const
{
    const double pressure = -suction;
    double content = 0, slope = 0;
    Evaluate(&pressure, 1, &content, &slope);
    return -slope;
}

void WaterCurve::Evaluate(const double* pressures, std::size_t count, double* contents,
                          double* slopes) const
{
    if (rate_ == 0)
        function_.Evaluate(pressures, contents, slopes, count);
    for (std::size_t i = 0; i < count; ++i)
        if (rate_ > 0)
        {
            const double drained =
                (saturated_ - residual_) * std::exp(rate_ * std::min(pressures[i], 0.0));
            contents[i] = residual_ + drained;
            slopes[i] = pressures[i] < 0 ? rate_ * drained : 0;
        }
        else if (-pressures[i] >= limit_)
        {
            contents[i] = std::max(0.0, contents[i]);
            slopes[i] = 0;
        }
}

} // namespace percova
