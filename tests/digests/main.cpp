/// @file
/// Prints one digest for each group of results that have the same bits on every target and on
/// every processor. scripts/test-windows compares the lines of two targets.
#include <KVI.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace
{

using math::fn::QuadraticEqn, math::fn::flow::FredXing;

/// FNV-1a over the bits of its input, printed with its name at the end. All NaNs count as one.
class Digest
{
public:
    explicit Digest(const char* name) : name_(name) {}
    ~Digest() { std::printf("%-24s %016llx\n", name_, static_cast<unsigned long long>(hash_)); }
    Digest(const Digest&) = delete;
    Digest& operator=(const Digest&) = delete;

    /// Numbers, texts, points, and arrays of them.
    template <class... Values>
    void Add(const Values&... values)
    {
        (AddOne(values), ...);
    }

private:
    void AddOne(double value)
    {
        const std::uint64_t bits = value == value ? std::bit_cast<std::uint64_t>(value) : 0;
        for (int shift = 0; shift < 64; shift += 8)
            AddByte(static_cast<unsigned char>(bits >> shift));
    }
    void AddOne(const std::string& text)
    {
        for (const char c : text)
            AddByte(static_cast<unsigned char>(c));
        AddByte(0);
    }
    void AddOne(const Geom::Point2D& point) { Add(point.x, point.y); }
    template <class T, std::size_t n>
    void AddOne(const T (&values)[n])
    {
        for (const T& value : values)
            AddOne(value);
    }
    void AddByte(unsigned char byte) { hash_ = (hash_ ^ byte) * 0x100000001b3; }

    const char* name_;
    std::uint64_t hash_ = 0xcbf29ce484222325;
};

/// The same numbers everywhere: a shift register, scaled by exact steps.
class Numbers
{
public:
    std::uint64_t Bits()
    {
        state_ ^= state_ << 13;
        state_ ^= state_ >> 7;
        return state_ ^= state_ << 17;
    }
    double In(double low, double high)
    {
        return low + (high - low) * (static_cast<double>(Bits() >> 11) * 0x1p-53);
    }
    template <class Values>
    void Fill(Values& values, double low, double high)
    {
        for (double& value : values)
            value = In(low, high);
    }
    /// Any finite number: all exponents alike.
    double Any()
    {
        double value = 0;
        do
            value = std::bit_cast<double>(Bits());
        while (!std::isfinite(value));
        return value;
    }

private:
    std::uint64_t state_ = 0x9e3779b97f4a7c15;
};

Numbers numbers;

void Products()
{
    Digest digest("dense products");
    for (int round = 0; round < 200; ++round)
    {
        const int m = 1 + round % 17, n = 1 + round % 9, p = 1 + round % 16;
        std::vector<double> a(17 * 9), b(9 * 16), c(17 * 16);
        numbers.Fill(a, -1, 1);
        numbers.Fill(b, -1e3, 1e3);
        MxM(c.data(), a.data(), b.data(), m, n, p);
        for (int i = 0; i < m * p; ++i)
            digest.Add(c[i]);
        double A[8][8], B[8][8], C[8][8];
        for (int i = 0; i < 64; ++i)
        {
            A[i / 8][i % 8] = numbers.In(-1, 1);
            B[i / 8][i % 8] = numbers.In(-1, 1);
        }
        MxM_8_8_8(C, A, B);
        digest.Add(C);
    }
}

void Elements()
{
    Digest digest("elements");
    const int all[8] = {1, 1, 1, 1, 1, 1, 1, 1};
    const double square[16] = {1.1, 1, -1, 1.2, -0.9, -1, 1, -1.05, 0, 1.15, -1, 0, 0, -1, 1.05, 0};
    for (int round = 0; round < 300; ++round)
    {
        const double r = numbers.In(-1, 1), s = numbers.In(-1, 1);
        double N[8], dN[2][8];
        Shape_Function(N, r, s, all);
        Shape_Derivative(dN, r, s, all);
        digest.Add(N, dN);
        double x = 0, y = 0, foundR = 0, foundS = 0;
        for (int i = 0; i < 8; ++i)
        {
            x += N[i] * square[2 * i];
            y += N[i] * square[2 * i + 1];
        }
        digest.Add(iGlobal_To_Local_Coords(&foundR, &foundS, x, y, square, 8));
        digest.Add(foundR, foundS);
        double A[3][3], inverse[3][3], determinant = 0;
        for (auto& row : A)
            numbers.Fill(row, -1, 1);
        digest.Add(iInv3x3Matrix(A, inverse, &determinant));
        digest.Add(inverse, determinant);
    }
}

void Curves()
{
    Digest digest("functions");
    const double limit = 1e6; // [kPa]
    for (int round = 0; round < 300; ++round)
    {
        const FredXing curve(numbers.In(0.1, 500), numbers.In(0.3, 12), numbers.In(0.2, 4),
                             numbers.In(0.1, 0.6), limit);
        for (double suction = 1e-3; suction < 2e6; suction *= 7.3)
            digest.Add(curve(-suction));
        digest.Add(curve.PressureLimits().first * curve.Extents().maxY);
        double roots[2] = {0, 0};
        const QuadraticEqn equation(numbers.In(-2, 2), numbers.In(-9, 9), numbers.In(-5, 5));
        digest.Add(equation.Solve(roots, 1e30, math::algorithm::Tolerance<double>(1e-12)));
        digest.Add(roots);
    }
}

/// Curves fitted to points of a curve, exact and disturbed, in each unit.
void Fits()
{
    Digest digest("fitted curves");
    for (int round = 0; round < 60; ++round)
    {
        const math::UnitSet units(static_cast<math::PressureUnit>(1 + round % 6));
        const double limit = FredXing::CalcLimit(units), unit = limit / 1e6;
        const double saturated = numbers.In(0.2, 0.6), noise = round % 2 ? 0.02 : 0;
        const FredXing curve(numbers.In(1, 500) * unit, numbers.In(0.5, 8), numbers.In(0.3, 3),
                             saturated, limit);
        FPOINT points[16] = {};
        for (int i = 0; i < 16; ++i)
        {
            points[i].x = -unit * math::algorithm::FloatCommon<double>::Pow10(i / 3) * (1 + i % 3);
            points[i].y = curve(points[i].x) + numbers.In(-noise, noise);
        }
        double fitted[3] = {10 * unit, 1, 1}, error = 0;
        digest.Add(FredXing::EstimateParam(saturated, points, 16, units, fitted[0], fitted[1],
                                           fitted[2], error));
        digest.Add(fitted, error, limit);
    }
}

/// Functions returning one double: powers, tolerances, dot products, determinants, statistics,
/// optima.
void Scalars()
{
    Digest digest("scalars");
    using Common = math::algorithm::FloatCommon<double>;
    for (int n = -330; n <= 310; ++n)
    {
        digest.Add(Common::Pow10(n), Common::Exp10(Common::Pow10(n)));
        digest.Add(math::algorithm::Tolerance<double>(8, 0).At(numbers.Any()));
    }
    DataTable table(dataparam::Material, {dataparam::CurveA}, 50);
    double values[50];
    numbers.Fill(values, -1, 1);
    for (unsigned row = 1; row <= 50; ++row)
        table.SetValue({row}, dataparam::CurveA, values[row - 1]);
    digest.Add(datatable::SumColumn(table, dataparam::CurveA),
               datatable::MaxMagnitude(table, dataparam::CurveA));
    const auto square =
        DataParamCalculator::FromFormula({dataparam::CurveA}, [](double a) { return a * a / 3; });
    for (const double& value : values)
        digest.Add(square.Calculate({&value, 1}));
    for (int round = 0; round < 40; ++round)
    {
        const double A[2][2] = {{values[round], values[round + 1]},
                                {values[round + 2], values[round + 3]}};
        double inverse[2][2];
        digest.Add(fMiM2x2(inverse, A));
        digest.Add(inverse, fVxV2C(values, values + 5, round));
        math::matrix::Matrix<double> M(1 + round % 6, 1 + round % 6);
        for (int i = 0; i < M.Rows() * M.Columns(); ++i)
            M(i / M.Rows(), i % M.Rows()) = numbers.In(-1, 1);
        digest.Add(math::matrix::Determinant(M));
        if (const auto inverted = math::matrix::Inverse(M))
            digest.Add((*inverted * M)(0, 0) + (*inverted)(0, M.Rows() - 1));
    }
    for (const auto shape : {math::ElementShape::Line, math::ElementShape::Triangle,
                             math::ElementShape::Quadrilateral})
        for (int degree = 0; degree < 10; ++degree)
            for (const math::GaussPoint& point : math::GaussRule(shape, degree))
                digest.Add(point.r, point.s, point.weight);
    const auto problem = CLPProblem::create(2);
    problem->objFunc({true, {{3, 0}, {2, 1}}});
    problem->add({{{1, 0}, {1, 1}}, 0, 4});
    problem->add({{{1, 0}, {3, 1}}, 0, 6});
    problem->solve();
    digest.Add(problem->var(0), problem->var(1));
}

void NumberText()
{
    Digest digest("number text");
    for (int round = 0; round < 4000; ++round)
    {
        const double value = round % 2 ? numbers.Any() : numbers.In(-1e6, 1e6);
        digest.Add(str::fmt_float_cstring(value, round % 12, round % 3),
                   str::sprintf("%." + std::to_string(1 + round % 17) + "g %e", value, value));
        double back = 0;
        if (str::locale::from_string(back, str::as_wstring(str::sprintf("%.17g", value)),
                                     str::locale::invariant())
                .ok())
            digest.Add(back);
    }
}

void Geometry()
{
    using namespace Geom;
    Digest digest("geometry");
    const Precision3D& precision = Precision();
    for (int round = 0; round < 4000; ++round)
    {
        Point2D p[4], first, second;
        for (Point2D& point : p)
        {
            // Half of them on a small lattice, where segments touch and overlap.
            const double scale = round % 2 ? 1 : 4;
            const double x = numbers.In(0, scale), y = numbers.In(0, scale);
            point = round % 2 ? Point2D{x, y} : Point2D{std::floor(x), std::floor(y)};
        }
        digest.Add(LineIntersection2D(first, second, p[0], p[1], p[2], p[3], precision));
        digest.Add(first, second, TriArea2x2D(p[0], p[1], p[2]),
                   LineClosestPoint2D(p[0], p[1], p[2], false, precision));
        const Point2D flat[3] = {p[0], p[1], p[0]};
        digest.Add(PolygonCentreOfMass2D(flat, 3), PolygonCentreOfMass2D(p, 4),
                   VectorRotate2D(p[0], p[1].x * 1e3), CalcPtFromAngle2D(p[0], p[1].y, 2),
                   InfLineClosestPoint2D(p[0], p[1], p[2], precision),
                   InfLineIntersection2D(p[0], p[1], p[2], p[3]),
                   LineIntersection2D(p[0], p[1], p[2], p[3], IntersectionType::Any),
                   LineCollision2D(p[0], p[1], p[2], p[3]),
                   CircleEdgePoint2D({p[0], p[1].x}, p[1].y), round_Point2D(precision)(p[0]),
                   CircleEdgeClosestPoint2D({p[0], 2}, p[1]));
        CircleLinePoints met;
        CircleInfLineIntersection2D(met, CircleGet2D(p[0], p[1]), {p[2], p[3]});
        for (const Point2D& point : met)
            digest.Add(point.x - point.y);
        Extents2D box;
        for (const Point2D& point : p)
            ExtentsGrow2D(box, point);
        const LineSet2D lines = {{p[0], p[1]}, {p[1], p[2]}, {p[2], p[3]}};
        const auto [low, high] = LineLayer2D(lines, precision).GetY(p[0].x);
        std::vector<LineEvent2D> events;
        LineCrossingEvents2D(events, lines);
        std::vector<LineMeeting2D> meetings;
        LineMeetings2D(meetings, lines, {{p[3], p[0]}}, precision);
        QuadTree2D tree;
        tree.Initialize(box, 10, precision, 1);
        tree.Insert(0, {p[0], p[1], p[2], p[0]});
        double distance = 0;
        digest.Add(tree.FindNearest(p[3], &distance));
        digest.Add(distance, events.empty() ? 0 : events.front().point.x,
                   meetings.empty() ? 0 : meetings.front().parameter, CircleArea2D({p[0], p[1].x}),
                   CircleCircumference2D({p[0], p[1].y}), WidthOf(box), HeightOf(box),
                   AspectOf(box, precision), TriArea2D(p[0], p[1], p[3]),
                   RegionArea2D({{p, p + 3}, {{p + 1, p + 4}}}), VectorAngle2D(p[0], p[1]),
                   VectorAbsAngle2D(p[1], p[2]),
                   VectorAngle3D({p[0].x, p[0].y, p[1].x}, {p[2].x, p[1].y, p[2].y}),
                   CalcAngleInDegreesFromLineEndPts2D(p[0], p[3]),
                   LineDistanceToPoint2D(p[0], p[1], p[2], false, precision), PolygonArea2D(p, 4),
                   low, high);
    }
}

} // namespace

int main()
{
    Products();
    Elements();
    Curves();
    Fits();
    Scalars();
    NumberText();
    Geometry();
}
