// Least-squares fit of the water-content curve: BFGS on the inverse Hessian with a line search by
// halving; where that ends above the tolerance, Levenberg-Marquardt steps from its result and from
// starts that follow from the points.

#include "fn/curve/Log2Exp2.h"
#include "fn/math_fn_flow_FredXing.h"

#include <array>
#include <cmath>
#include <limits>
#include <numbers>
#include <utility>
#include <vector>

namespace math::fn::flow
{
namespace
{

using curve::Exp2, curve::Log2;
using Vector3 = std::array<double, 3>; // a, n, m
using Matrix3 = std::array<Vector3, 3>;

constexpr double kTolerance = 1e-4; // for the error and for the gradient's sum
constexpr int kMostIterations = 1500;
constexpr int kMostSteps = 200; // of one refinement
constexpr int kMostHalvings = 20;
constexpr double kSmallestStep = 1e-10;

struct Point
{
    double suction;
    double correction; // C, which the fit does not change
    double measured;   // water content over the saturated one
};

double Ln(double x) { return std::numbers::ln2 * Log2(x); }

double Dot(const Vector3& u, const Vector3& v) { return u[0] * v[0] + u[1] * v[1] + u[2] * v[2]; }

bool IsUsable(const Vector3& p)
{
    for (const double value : p)
        if (!(value > 0) || !std::isfinite(value))
            return false;
    return true;
}

/// Sum of squared residuals, measured minus F C, with its gradient by a, n and m.
class Error
{
public:
    explicit Error(std::vector<Point> points) : points_(std::move(points)) {}

    double operator()(const Vector3& p, Vector3* gradient = nullptr) const
    {
        double sum = 0;
        Vector3 slope{};
        for (const Point& point : points_)
        {
            Vector3 partial{};
            const double residual = point.measured - Model(point, p, partial);
            sum += residual * residual;
            for (int i = 0; i < 3; ++i)
                slope[i] -= 2 * partial[i] * residual;
        }
        if (gradient != nullptr)
            *gradient = slope;
        return sum;
    }

    /// J'J and J'r, where J holds the derivatives of the model by ln a, ln n and ln m.
    void NormalEquations(const Vector3& p, Matrix3& normal, Vector3& right) const
    {
        normal = {};
        right = {};
        for (const Point& point : points_)
        {
            Vector3 partial{};
            const double residual = point.measured - Model(point, p, partial);
            for (int i = 0; i < 3; ++i)
                partial[i] *= p[i];
            for (int i = 0; i < 3; ++i)
            {
                right[i] += partial[i] * residual;
                for (int j = 0; j < 3; ++j)
                    normal[i][j] += partial[i] * partial[j];
            }
        }
    }

    const std::vector<Point>& Points() const { return points_; }

private:
    static double Model(const Point& point, const Vector3& p, Vector3& partial)
    {
        const auto [a, n, m] = p;
        partial = {};
        if (!(point.suction > 0))
            return 1; // saturated, whatever the parameters
        const double reduced = Log2(point.suction / a), u = Exp2(n * reduced);
        const double logarithm = Ln(std::numbers::e + u);
        const double shape = Exp2(-m * Log2(logarithm));
        if (!(shape > 0))
            return 0; // the power overflowed: a flat stretch
        const double content = shape * point.correction;
        // u / (e + u), which stays 1 where u is infinite
        const double weight = u > 0 ? 1 / (1 + std::numbers::e / u) : 0;
        const double byPower = -m * content / logarithm * weight; // times du/u
        partial[0] = byPower * -n / a;
        partial[1] = u > 0 ? byPower * std::numbers::ln2 * reduced : 0;
        partial[2] = -content * Ln(logarithm);
        return content;
    }

    std::vector<Point> points_;
};

Matrix3 StartScaling(const Vector3& p, const Vector3& gradient)
{
    Matrix3 scaling{};
    for (int i = 0; i < 3; ++i)
        scaling[i][i] = gradient[i] != 0 ? std::fabs(p[i] / (2 * gradient[i])) : 1;
    return scaling;
}

Vector3 DescentDirection(const Matrix3& scaling, const Vector3& gradient)
{
    Vector3 direction{};
    for (int i = 0; i < 3; ++i)
        direction[i] = -Dot(scaling[i], gradient);
    if (Dot(direction, gradient) > 0)
        for (double& component : direction)
            component = -component;
    return direction;
}

/// The first of the halved steps that makes the error smaller. @returns whether there was one
bool Search(const Error& error, const Vector3& direction, Vector3& p, double& smallest)
{
    double step = 2;
    for (int halving = 0; halving < kMostHalvings; ++halving)
    {
        Vector3 trial{};
        do
        {
            step *= 0.5;
            for (int i = 0; i < 3; ++i)
                trial[i] = p[i] + step * direction[i];
        } while (!(trial[0] > 0) && step >= kSmallestStep);
        if (!IsUsable(trial))
            continue;
        const double found = error(trial);
        if (found < smallest)
        {
            p = trial;
            smallest = found;
            return true;
        }
    }
    return false;
}

/// Broyden-Fletcher-Goldfarb-Shanno update of the inverse Hessian, left out where the curvature
/// along the step is not positive (Nocedal and Wright, Numerical Optimization, eq. 6.17).
void Update(Matrix3& scaling, const Vector3& step, const Vector3& change)
{
    const double curvature = Dot(step, change);
    if (!(curvature > 0))
        return;
    Vector3 scaled{};
    for (int i = 0; i < 3; ++i)
        scaled[i] = Dot(scaling[i], change);
    const double factor = (1 + Dot(change, scaled) / curvature) / curvature;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            scaling[i][j] += factor * step[i] * step[j] -
                             (scaled[i] * step[j] + step[i] * scaled[j]) / curvature;
}

/// Ends when the error or the gradient's sum is good enough. The gradient is that by the logarithms
/// of a, n and m, so that units do not matter.
int Minimise(const Error& error, Vector3& p)
{
    Vector3 gradient;
    double smallest = error(p, &gradient);
    Matrix3 scaling = StartScaling(p, gradient);
    bool fresh = true;
    for (int iteration = 0; iteration < kMostIterations; ++iteration)
    {
        const double sum = std::fabs(p[0] * gradient[0]) + std::fabs(p[1] * gradient[1]) +
                           std::fabs(p[2] * gradient[2]);
        if (!(sum > kTolerance && smallest > kTolerance))
            return std::isfinite(sum) ? iteration : FredXing::NoImprovement;
        const Vector3 before = p, slope = gradient;
        if (!Search(error, DescentDirection(scaling, gradient), p, smallest))
        {
            if (fresh)
                return FredXing::NoImprovement;
            scaling = StartScaling(p, gradient); // restart with the direction of steepest descent
            fresh = true;
            continue;
        }
        error(p, &gradient);
        Vector3 step{}, change{};
        for (int i = 0; i < 3; ++i)
        {
            step[i] = p[i] - before[i];
            change[i] = gradient[i] - slope[i];
        }
        Update(scaling, step, change);
        fresh = false;
    }
    return FredXing::TooManySteps;
}

/// x of A x = b for a positive definite A, by elimination.
Vector3 Solve(Matrix3 A, Vector3 b)
{
    for (int k = 0; k < 3; ++k)
        for (int i = k + 1; i < 3; ++i)
        {
            const double factor = A[i][k] / A[k][k];
            for (int j = k; j < 3; ++j)
                A[i][j] -= factor * A[k][j];
            b[i] -= factor * b[k];
        }
    for (int k = 2; k >= 0; --k)
    {
        for (int j = k + 1; j < 3; ++j)
            b[k] -= A[k][j] * b[j];
        b[k] /= A[k][k];
    }
    return b;
}

/// One damped Gauss-Newton step in ln a, ln n and ln m, of at most 2 in each (Levenberg-Marquardt;
/// Nocedal and Wright, Numerical Optimization, section 10.3). @returns whether the error fell
bool StepInLogarithms(const Error& error, Vector3& p, double& smallest, double& damping)
{
    Matrix3 normal;
    Vector3 right;
    error.NormalEquations(p, normal, right);
    const double trace = normal[0][0] + normal[1][1] + normal[2][2];
    while (damping < 1e12)
    {
        Matrix3 damped = normal;
        for (int i = 0; i < 3; ++i)
            damped[i][i] += damping * (normal[i][i] + 1e-12 * trace) + 1e-300;
        const Vector3 step = Solve(damped, right);
        double longest = 2;
        for (const double component : step)
            longest = std::fmax(longest, std::fabs(component));
        Vector3 trial{};
        for (int i = 0; i < 3; ++i)
            trial[i] = p[i] * Exp2(std::numbers::log2e * 2 / longest * step[i]);
        if (const double found = IsUsable(trial) ? error(trial) : smallest; found < smallest)
        {
            p = trial;
            smallest = found;
            damping = std::fmax(damping / 10, 1e-12);
            return true;
        }
        damping *= 4;
    }
    return false;
}

/// Steps until the error is good enough or falls by less than a millionth. @returns their number
int Refine(const Error& error, Vector3& p)
{
    double smallest = error(p), damping = 1e-3;
    for (int iteration = 0; iteration < kMostSteps; ++iteration)
    {
        const double before = smallest;
        if (!(smallest > kTolerance) || !StepInLogarithms(error, p, smallest, damping) ||
            smallest > before * (1 - 1e-6))
            return iteration;
    }
    return kMostSteps;
}

/// The best of the given start and of starts whose a is the suction where the content nears 0.7 of
/// saturation; near that suction the curve falls.
int Fit(const Error& error, Vector3& p)
{
    const int result = Minimise(error, p);
    double smallest = error(p);
    if (!(smallest > kTolerance) || !std::isfinite(smallest))
        return result;
    const Vector3 atStart = p;
    int steps = Refine(error, p);
    smallest = error(p);
    double nearest = std::numeric_limits<double>::infinity(), a = p[0];
    for (const Point& point : error.Points())
    {
        const double distance = std::fabs(point.measured - 0.7);
        if (point.suction > 0 && distance < nearest)
        {
            nearest = distance;
            a = point.suction;
        }
    }
    for (Vector3 start : {Vector3{a, 1, 1}, {a, 3, 1}, {a, 8, 1}, {2 * a, 2, 3}})
    {
        if (!(smallest > kTolerance) || !IsUsable(start))
            break;
        steps += Refine(error, start);
        if (const double found = error(start); found < smallest)
        {
            smallest = found;
            p = start;
        }
    }
    return result >= 0 ? result + steps : p != atStart ? steps : result;
}

std::vector<Point> UsablePoints(double satWC, const FPOINT* points, int count, double limit)
{
    const double residual = 0.003 * limit, logLimit = Ln(1 + limit / residual);
    std::vector<Point> usable;
    for (int i = 0; i < count; ++i)
    {
        const auto [pressure, content, unused] = points[i];
        if (!std::isfinite(pressure) || !std::isfinite(content) || IsMissingValue(pressure) ||
            IsMissingValue(content))
            continue;
        const double correction = 1 - Ln(1 - pressure / residual) / logLimit;
        usable.push_back({-pressure, correction, content / satWC});
    }
    return usable;
}

} // namespace

int FredXing::EstimateParam(const double& satWC, FPOINT* points, int count, const UnitSet& units,
                            double& a, double& n, double& m, double& rmsError)
{
    const double saturated = satWC, limit = CalcLimit(units); // satWC may alias one of the results
    const Vector3 standIn{units.FromKilopascal(10), 1, 1};
    Vector3 p{a, n, m};
    for (int i = 0; i < 3; ++i)
        if (!(p[i] > 0) || !std::isfinite(p[i]) || IsMissingValue(p[i]))
            p[i] = IsMissingValue(standIn[i]) ? 10 : standIn[i];
    int result = IsMissingValue(limit) ? UnknownUnit : NothingToFit;
    double error = MissingValue<double>();
    if (!IsMissingValue(limit) && saturated > 0 && std::isfinite(saturated) &&
        !IsMissingValue(saturated) && points != nullptr)
    {
        std::vector<Point> usable = UsablePoints(saturated, points, count, limit);
        if (!usable.empty())
        {
            const auto size = double(usable.size());
            const Error squares(std::move(usable));
            result = Fit(squares, p);
            error = saturated * std::sqrt(squares(p) / size);
        }
    }
    a = p[0];
    n = p[1];
    m = p[2];
    rmsError = error;
    return result;
}

int FredXing::EstimateParam(const double& satWC, FPOINT* points, int count, const UnitSet& units,
                            double& a, double& n, double& m)
{
    double unused = 0;
    return EstimateParam(satWC, points, count, units, a, n, m, unused);
}

} // namespace math::fn::flow
