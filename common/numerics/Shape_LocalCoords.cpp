#include "numerics/Shape.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>

namespace
{

constexpr double kEpsilon = std::numeric_limits<double>::epsilon();
constexpr double kEdge = 1e-9;       // width of the edge in local units
constexpr double kConverged = 1e-13; // a last Newton step, relative to the coordinate
constexpr int kMaxIterations = 50;

struct Vec
{
    double x, y;
};

Vec operator+(Vec a, Vec b) { return {a.x + b.x, a.y + b.y}; }
Vec operator-(Vec a, Vec b) { return {a.x - b.x, a.y - b.y}; }
Vec operator*(double k, Vec a) { return {k * a.x, k * a.y}; }
double Cross(Vec a, Vec b) { return a.x * b.y - a.y * b.x; }
double Dot(Vec a, Vec b) { return a.x * b.x + a.y * b.y; }
double Size(Vec a) { return std::fmax(std::fabs(a.x), std::fabs(a.y)); }

/// The residual F = sum of N_i c_i - p, with the columns of its Jacobian.
struct Residual
{
    Vec value, byR, byS;
    Vec rounding; ///< how much of the value may be rounding, of the given coordinates included
};

/// The element and the point, relative to the first node and scaled by a power of two.
class Element
{
public:
    Element(Vec point, const double* coords, int nodeCount);

    /// False without area, or when a coordinate is not finite.
    bool IsValid() const;
    bool IsTriangle() const { return nodes_[3] == 0; }
    bool HasStraightSides() const { return nodes_[4] == 0; }
    Vec Corner(int i) const { return at_[i]; }
    Vec Point() const { return point_; }
    Residual At(Vec local) const;

private:
    int nodes_[8] = {};
    Vec at_[8] = {};
    Vec point_ = {};
    Vec inputRounding_ = {};
};

Element::Element(Vec point, const double* coords, int nodeCount)
{
    const bool triangle = nodeCount == 3 || nodeCount == 6;
    const Vec origin = {coords[0], coords[1]};
    Vec largest = {std::fabs(point.x), std::fabs(point.y)};
    double extent = 0;
    for (int row = 0; row < nodeCount; ++row)
    {
        const Vec c = {coords[2 * row], coords[2 * row + 1]};
        const int place = triangle && row >= 3 ? row + 1 : row;
        nodes_[place] = 1;
        at_[place] = c - origin;
        largest = {std::fmax(largest.x, std::fabs(c.x)), std::fmax(largest.y, std::fabs(c.y))};
        extent = std::fmax(extent, Size(at_[place]));
    }
    int exponent = 0;
    std::frexp(extent, &exponent);
    const auto scaled = [exponent](Vec v) {
        return Vec{std::ldexp(v.x, -exponent), std::ldexp(v.y, -exponent)};
    };
    std::transform(at_, at_ + 8, at_, scaled);
    point_ = scaled(point - origin);
    inputRounding_ = kEpsilon * scaled(largest);
}

bool Element::IsValid() const
{
    double sum = point_.x + point_.y;
    for (const Vec& at : at_)
        sum += at.x + at.y;
    if (!std::isfinite(sum))
        return false;
    const Vec a = at_[1], b = at_[2], c = IsTriangle() ? b : at_[3];
    const double twiceArea = Cross(a, b) + Cross(b, c);
    const double magnitude =
        std::fabs(a.x * b.y) + std::fabs(a.y * b.x) + std::fabs(b.x * c.y) + std::fabs(b.y * c.x);
    return std::fabs(twiceArea) > 4 * kEpsilon * magnitude;
}

Residual Element::At(Vec local) const
{
    double N[8], dN[2][8];
    Shape_Function(N, local.x, local.y, nodes_);
    Shape_Derivative(dN, local.x, local.y, nodes_);
    Residual f = {-1 * point_, {0, 0}, {0, 0}, inputRounding_};
    for (int i = 0; i < 8; ++i)
    {
        f.value = f.value + N[i] * at_[i];
        f.byR = f.byR + dN[0][i] * at_[i];
        f.byS = f.byS + dN[1][i] * at_[i];
        f.rounding =
            f.rounding + kEpsilon * Vec{std::fabs(N[i] * at_[i].x), std::fabs(N[i] * at_[i].y)};
    }
    return f;
}

/// A solution, with the rounding of its coordinates.
struct Found
{
    bool converged = false;
    Vec local = {};
    Vec rounding = {};
};

/// Newton's method, damped by the natural test of Deuflhard (Newton Methods for Nonlinear Problems,
/// 2004, section 3.3), invariant to shear and scale of the element: a step is accepted when the
/// simplified step that would follow it is shorter.
Found Newton(const Element& element, Vec local)
{
    Residual f = element.At(local);
    for (int iteration = 0; iteration < kMaxIterations; ++iteration)
    {
        const double det = Cross(f.byR, f.byS);
        // A corner may be degenerate (two coincident nodes): there the value alone decides.
        if (std::fabs(det) <= 4 * kEpsilon * Size(f.byR) * Size(f.byS))
            return {std::fabs(f.value.x) <= f.rounding.x && std::fabs(f.value.y) <= f.rounding.y,
                    local,
                    {0, 0}};

        const auto solve = [&](Vec v) { return Vec{Cross(v, f.byS) / det, Cross(f.byR, v) / det}; };
        const Vec step = solve(f.value);
        const Vec rounding = {
            (std::fabs(f.byS.y) * f.rounding.x + std::fabs(f.byS.x) * f.rounding.y) /
                std::fabs(det),
            (std::fabs(f.byR.y) * f.rounding.x + std::fabs(f.byR.x) * f.rounding.y) /
                std::fabs(det)};
        const double enough = kConverged * std::fmax(1, Size(local));
        if (std::fabs(step.x) <= enough + rounding.x && std::fabs(step.y) <= enough + rounding.y)
            return {true, local - step, rounding};

        double part = 1;
        Residual next = element.At(local - step);
        while (!(Size(solve(next.value)) <= (1 - part / 4) * Size(step)))
        {
            part /= 2;
            if (part < 1.0 / 256)
                return {};
            next = element.At(local - part * step);
        }
        local = local - part * step;
        f = next;
    }
    return {};
}

/// Real roots of a t^2 + b t + c. @returns their number
int Roots(double a, double b, double c, double roots[2])
{
    const double d = b * b - 4 * a * c;
    // A double root may come out slightly negative.
    if (d < -16 * kEpsilon * (b * b + std::fabs(4 * a * c)))
        return 0;
    const double q = -(b + std::copysign(std::sqrt(std::fmax(d, 0)), b)) / 2;
    int count = 0;
    if (q != 0)
        roots[count++] = c / q;
    if (std::fabs(a) > kEpsilon * std::fabs(q))
        roots[count++] = q / a;
    return count;
}

/// Starts spread over a curved element, the centre first.
constexpr Vec kTriangleStarts[] = {{0.33, 0.33}, {0.1, 0.1},   {0.8, 0.1}, {0.1, 0.8},
                                   {0.45, 0.1},  {0.45, 0.45}, {0.1, 0.45}};
constexpr Vec kQuadrilateralStarts[] = {{0, 0},       {0.7, 0.7},  {-0.7, 0.7},
                                        {-0.7, -0.7}, {0.7, -0.7}, {0, 0.7},
                                        {-0.7, 0},    {0, -0.7},   {0.7, 0}};

/// The starting points, the most likely first.
class Starts
{
public:
    explicit Starts(const Element& element)
    {
        if (element.IsTriangle())
            AddTriangle(element);
        else
            AddBilinear(element);
        if (element.HasStraightSides())
            return;
        if (element.IsTriangle())
            count_ = int(std::copy(std::begin(kTriangleStarts), std::end(kTriangleStarts),
                                   starts_ + count_) -
                         starts_);
        else
            count_ = int(std::copy(std::begin(kQuadrilateralStarts), std::end(kQuadrilateralStarts),
                                   starts_ + count_) -
                         starts_);
    }
    const Vec* begin() const { return starts_; }
    const Vec* end() const { return starts_ + count_; }

private:
    void AddTriangle(const Element& element)
    {
        const Vec a = element.Corner(1), b = element.Corner(2), p = element.Point();
        const double det = Cross(a, b); // not zero: the element has area
        starts_[count_++] = {Cross(p, b) / det, Cross(a, p) / det};
    }

    /// The exact solutions for straight sides: with F = a + b r + c s + d r s, r is a root of
    /// (a + b r) x (c + d r) and s one of (a + c s) x (b + d s).
    void AddBilinear(const Element& element)
    {
        const Vec c0 = element.Corner(0), c1 = element.Corner(1);
        const Vec c2 = element.Corner(2), c3 = element.Corner(3);
        const Vec a = 0.25 * (c0 + c1 + c2 + c3) - element.Point();
        const Vec b = 0.25 * (c0 - c1 - c2 + c3);
        const Vec c = 0.25 * (c0 + c1 - c2 - c3);
        const Vec d = 0.25 * (c0 - c1 + c2 - c3);
        // t with p + t q = 0; any t when q is zero.
        const auto along = [](Vec p, Vec q) { return Dot(q, q) > 0 ? -Dot(p, q) / Dot(q, q) : 0; };

        double roots[2];
        const int rCount = Roots(Cross(b, d), Cross(a, d) + Cross(b, c), Cross(a, c), roots);
        for (int i = 0; i < rCount; ++i)
            starts_[count_++] = {roots[i], along(a + roots[i] * b, c + roots[i] * d)};
        const int sCount = Roots(Cross(c, d), Cross(a, d) + Cross(c, b), Cross(a, b), roots);
        for (int i = 0; i < sCount; ++i)
            starts_[count_++] = {along(a + roots[i] * c, b + roots[i] * d), roots[i]};
        std::sort(starts_, starts_ + count_, [](Vec p, Vec q) { return Size(p) < Size(q); });
    }

    static constexpr int kMost = 4 + std::size(kQuadrilateralStarts);
    Vec starts_[kMost];
    int count_ = 0;
};

/// How far outside the reference element, less the width of the edge; 0 or less is inside.
double Excess(const Element& element, const Found& found)
{
    // far outside a nearly straight quadratic element rounding alone would reach into it
    const Vec edge = {kEdge + std::min(found.rounding.x, 1e-3),
                      kEdge + std::min(found.rounding.y, 1e-3)};
    const Vec at = found.local;
    if (element.IsTriangle())
        return std::max({-at.x - edge.x, -at.y - edge.y, at.x + at.y - 1 - edge.x - edge.y});
    return std::max(std::fabs(at.x) - 1 - edge.x, std::fabs(at.y) - 1 - edge.y);
}

} // namespace

int iGlobal_To_Local_Coords(double* r, double* s, double x, double y, const double* coords,
                            int nodeCount)
{
    if (nodeCount != 3 && nodeCount != 4 && nodeCount != 6 && nodeCount != 8)
        return kLocalCoordsFailed;
    const Element element({x, y}, coords, nodeCount);
    if (!element.IsValid())
        return kLocalCoordsFailed;

    LocalCoords result = kLocalCoordsFailed;
    double nearest = std::numeric_limits<double>::infinity();
    for (const Vec& start : Starts(element))
    {
        const Found found = Newton(element, start);
        const double excess = found.converged ? Excess(element, found) : nearest;
        if (!(excess < nearest))
            continue;
        nearest = excess;
        *r = found.local.x;
        *s = found.local.y;
        if (excess <= 0)
            return kLocalCoordsInside;
        result = kLocalCoordsOutside;
    }
    return result;
}
