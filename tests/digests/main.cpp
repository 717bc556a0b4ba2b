/// @file
/// Prints one digest for each group of results that have the same bits on every target and on
/// every processor. scripts/test-windows compares the lines of two targets.
#include <KVI.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace
{

/// FNV-1a over the bits of its input. All NaNs count as one.
class Digest
{
public:
    void Add(double value)
    {
        std::uint64_t bits = 0;
        if (value == value)
            std::memcpy(&bits, &value, sizeof bits);
        for (int shift = 0; shift < 64; shift += 8)
            AddByte(static_cast<unsigned char>(bits >> shift));
    }
    void Add(const double* values, int count)
    {
        for (int i = 0; i < count; ++i)
            Add(values[i]);
    }
    void Add(const std::string& text)
    {
        for (const char c : text)
            AddByte(static_cast<unsigned char>(c));
        AddByte(0);
    }
    void Print(const char* name) const
    {
        std::printf("%-24s %016llx\n", name, static_cast<unsigned long long>(hash_));
    }

private:
    void AddByte(unsigned char byte) { hash_ = (hash_ ^ byte) * 0x100000001b3; }

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
    /// Any finite number: all exponents alike.
    double Any()
    {
        for (;;)
        {
            const std::uint64_t bits = Bits();
            double value;
            std::memcpy(&value, &bits, sizeof value);
            if (std::isfinite(value))
                return value;
        }
    }

private:
    std::uint64_t state_ = 0x9e3779b97f4a7c15;
};

Numbers numbers;

void Products()
{
    Digest digest;
    for (int round = 0; round < 200; ++round)
    {
        const int m = 1 + round % 17, n = 1 + round % 9, p = 1 + round % 16;
        std::vector<double> a(17 * 9), b(9 * 16), c(17 * 16);
        for (double& x : a)
            x = numbers.In(-1, 1);
        for (double& x : b)
            x = numbers.In(-1e3, 1e3);
        MxM(c.data(), a.data(), b.data(), m, n, p);
        digest.Add(c.data(), m * p);
        double A[8][8], B[8][8], C[8][8];
        for (int i = 0; i < 64; ++i)
        {
            A[i / 8][i % 8] = numbers.In(-1, 1);
            B[i / 8][i % 8] = numbers.In(-1, 1);
        }
        MxM_8_8_8(C, A, B);
        digest.Add(&C[0][0], 64);
    }
    digest.Print("dense products");
}

void Elements()
{
    Digest digest;
    const int all[8] = {1, 1, 1, 1, 1, 1, 1, 1};
    const double square[16] = {1.1, 1, -1, 1.2, -0.9, -1, 1, -1.05, 0, 1.15, -1, 0, 0, -1, 1.05, 0};
    for (int round = 0; round < 300; ++round)
    {
        const double r = numbers.In(-1, 1), s = numbers.In(-1, 1);
        double N[8], dN[2][8];
        Shape_Function(N, r, s, all);
        Shape_Derivative(dN, r, s, all);
        digest.Add(N, 8);
        digest.Add(&dN[0][0], 16);
        double x = 0, y = 0, foundR = 0, foundS = 0;
        for (int i = 0; i < 8; ++i)
        {
            x += N[i] * square[2 * i];
            y += N[i] * square[2 * i + 1];
        }
        digest.Add(iGlobal_To_Local_Coords(&foundR, &foundS, x, y, square, 8));
        digest.Add(foundR);
        digest.Add(foundS);
        double A[3][3], inverse[3][3], determinant = 0;
        for (int i = 0; i < 9; ++i)
            A[i / 3][i % 3] = numbers.In(-1, 1);
        digest.Add(iInv3x3Matrix(A, inverse, &determinant));
        digest.Add(&inverse[0][0], 9);
        digest.Add(determinant);
    }
    digest.Print("elements");
}

void Curves()
{
    Digest digest;
    const double limit = 1e6; // [kPa]
    for (int round = 0; round < 300; ++round)
    {
        const math::fn::flow::FredXing curve(numbers.In(0.1, 500), numbers.In(0.3, 12),
                                             numbers.In(0.2, 4), numbers.In(0.1, 0.6), limit);
        for (double suction = 1e-3; suction < 2e6; suction *= 7.3)
            digest.Add(curve(-suction));
        const Geom::Extents2D box = curve.Extents();
        digest.Add(curve.PressureLimits().first * box.maxY);
        double roots[2] = {0, 0};
        const math::fn::QuadraticEqn equation(numbers.In(-2, 2), numbers.In(-9, 9),
                                              numbers.In(-5, 5));
        digest.Add(equation.Solve(roots, 1e30, math::algorithm::Tolerance<double>(1e-12)));
        digest.Add(roots, 2);
    }
    digest.Print("functions");
}

/// Curves fitted to points of a curve, exact and disturbed, in each unit.
void Fits()
{
    Digest digest;
    for (int round = 0; round < 60; ++round)
    {
        const math::UnitSet units(static_cast<math::PressureUnit>(1 + round % 6));
        const double limit = math::fn::flow::FredXing::CalcLimit(units), unit = limit / 1e6;
        const double saturated = numbers.In(0.2, 0.6), noise = round % 2 ? 0.02 : 0;
        const math::fn::flow::FredXing curve(numbers.In(1, 500) * unit, numbers.In(0.5, 8),
                                             numbers.In(0.3, 3), saturated, limit);
        FPOINT points[16] = {};
        for (int i = 0; i < 16; ++i)
        {
            points[i].x = -unit * math::algorithm::FloatCommon<double>::Pow10(i / 3) * (1 + i % 3);
            points[i].y = curve(points[i].x) + numbers.In(-noise, noise);
        }
        double fitted[3] = {10 * unit, 1, 1}, error = 0;
        digest.Add(math::fn::flow::FredXing::EstimateParam(saturated, points, 16, units, fitted[0],
                                                           fitted[1], fitted[2], error));
        digest.Add(fitted, 3);
        digest.Add(error);
        digest.Add(limit);
    }
    digest.Print("fitted curves");
}

/// Functions returning one double: powers, tolerances, dot products, determinants, statistics,
/// optima.
void Scalars()
{
    Digest digest;
    using Common = math::algorithm::FloatCommon<double>;
    for (int n = -330; n <= 310; ++n)
    {
        digest.Add(Common::Pow10(n));
        digest.Add(Common::Exp10(Common::Pow10(n)));
        digest.Add(math::algorithm::Tolerance<double>(8, 0).At(numbers.Any()));
    }
    DataTable table(dataparam::Material, {dataparam::CurveA}, 50);
    double values[50];
    for (unsigned row = 1; row <= 50; ++row)
    {
        values[row - 1] = numbers.In(-1, 1);
        table.SetValue({row}, dataparam::CurveA, values[row - 1]);
    }
    digest.Add(datatable::SumColumn(table, dataparam::CurveA));
    digest.Add(datatable::MaxMagnitude(table, dataparam::CurveA));
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
        digest.Add(&inverse[0][0], 4);
        digest.Add(fVxV2C(values, values + 5, round));
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
                digest.Add(&point.r, 3);
    const auto problem = CLPProblem::create(2);
    problem->objFunc({true, {{3, 0}, {2, 1}}});
    problem->add({{{1, 0}, {1, 1}}, 0, 4});
    problem->add({{{1, 0}, {3, 1}}, 0, 6});
    problem->solve();
    digest.Add(problem->var(0));
    digest.Add(problem->var(1));
    digest.Print("scalars");
}

void NumberText()
{
    Digest digest;
    for (int round = 0; round < 4000; ++round)
    {
        const double value = round % 2 ? numbers.Any() : numbers.In(-1e6, 1e6);
        digest.Add(str::fmt_float_cstring(value, round % 12, round % 3));
        digest.Add(str::sprintf("%." + std::to_string(1 + round % 17) + "g %e", value, value));
        double back = 0;
        if (str::locale::from_string(back, str::as_wstring(str::sprintf("%.17g", value)),
                                     str::locale::invariant())
                .ok())
            digest.Add(back);
    }
    digest.Print("number text");
}

void Geometry()
{
    Digest digest;
    for (int round = 0; round < 4000; ++round)
    {
        Geom::Point2D p[4], first, second;
        for (Geom::Point2D& point : p)
        {
            // Half of them on a small lattice, where segments touch and overlap.
            const double scale = round % 2 ? 1 : 4;
            const double x = numbers.In(0, scale), y = numbers.In(0, scale);
            point = round % 2 ? Geom::Point2D{x, y} : Geom::Point2D{std::floor(x), std::floor(y)};
        }
        digest.Add(
            Geom::LineIntersection2D(first, second, p[0], p[1], p[2], p[3], Geom::Precision()));
        for (const Geom::Point2D& point : {first, second})
        {
            digest.Add(point.x);
            digest.Add(point.y);
        }
        digest.Add(Geom::TriArea2x2D(p[0], p[1], p[2]));
        const Geom::Point2D closest =
            Geom::LineClosestPoint2D(p[0], p[1], p[2], false, Geom::Precision());
        digest.Add(closest.x);
        digest.Add(closest.y);
        const Geom::Point2D flat[3] = {p[0], p[1], p[0]};
        for (const Geom::Point2D& point :
             {Geom::PolygonCentreOfMass2D(flat, 3), Geom::PolygonCentreOfMass2D(p, 4),
              Geom::VectorRotate2D(p[0], p[1].x * 1e3), Geom::CalcPtFromAngle2D(p[0], p[1].y, 2),
              Geom::InfLineClosestPoint2D(p[0], p[1], p[2], Geom::Precision()),
              Geom::InfLineIntersection2D(p[0], p[1], p[2], p[3]),
              Geom::LineIntersection2D(p[0], p[1], p[2], p[3], Geom::IntersectionType::Any),
              Geom::LineCollision2D(p[0], p[1], p[2], p[3]),
              Geom::CircleEdgePoint2D({p[0], p[1].x}, p[1].y),
              Geom::round_Point2D(Geom::Precision())(p[0]),
              Geom::CircleEdgeClosestPoint2D({p[0], 2}, p[1])})
        {
            digest.Add(point.x);
            digest.Add(point.y);
        }
        Geom::CircleLinePoints met;
        Geom::CircleInfLineIntersection2D(met, Geom::CircleGet2D(p[0], p[1]), {p[2], p[3]});
        for (const Geom::Point2D& point : met)
            digest.Add(point.x - point.y);
        Geom::Extents2D box;
        for (const Geom::Point2D& point : p)
            Geom::ExtentsGrow2D(box, point);
        const Geom::LineSet2D lines = {{p[0], p[1]}, {p[1], p[2]}, {p[2], p[3]}};
        const auto [low, high] = Geom::LineLayer2D(lines, Geom::Precision()).GetY(p[0].x);
        std::vector<Geom::LineEvent2D> events;
        Geom::LineCrossingEvents2D(events, lines);
        std::vector<Geom::LineMeeting2D> meetings;
        Geom::LineMeetings2D(meetings, lines, {{p[3], p[0]}}, Geom::Precision());
        Geom::QuadTree2D tree;
        tree.Initialize(box, 10, Geom::Precision(), 1);
        tree.Insert(0, {p[0], p[1], p[2], p[0]});
        double distance = 0;
        digest.Add(tree.FindNearest(p[3], &distance));
        for (const double value :
             {distance, events.empty() ? 0 : events.front().point.x,
              meetings.empty() ? 0 : meetings.front().parameter, Geom::CircleArea2D({p[0], p[1].x}),
              Geom::CircleCircumference2D({p[0], p[1].y}), Geom::WidthOf(box), Geom::HeightOf(box),
              Geom::AspectOf(box, Geom::Precision()), Geom::TriArea2D(p[0], p[1], p[3]),
              Geom::RegionArea2D({{p, p + 3}, {{p + 1, p + 4}}}), Geom::VectorAngle2D(p[0], p[1]),
              Geom::VectorAbsAngle2D(p[1], p[2]),
              Geom::VectorAngle3D({p[0].x, p[0].y, p[1].x}, {p[2].x, p[1].y, p[2].y}),
              Geom::CalcAngleInDegreesFromLineEndPts2D(p[0], p[3]),
              Geom::LineDistanceToPoint2D(p[0], p[1], p[2], false, Geom::Precision()),
              Geom::PolygonArea2D(p, 4), low, high})
            digest.Add(value);
    }
    digest.Print("geometry");
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
