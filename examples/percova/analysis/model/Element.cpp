#include "analysis/model/Element.h"

#include "KVI.h"

#include <algorithm>

namespace percova
{
namespace
{
/// Adds a point with its weight in local coordinates.
void AddPoint(ElementRule& rule, ElementType type, double r, double s, double weight)
{
    const int p = rule.points++;
    rule.local[p] = {r, s};
    rule.weight[p] = weight;
    Shape_Function(rule.N[p], r, s, PlaceFlags(type));
    Shape_Derivative(rule.dN[p], r, s, PlaceFlags(type));
}

ElementRule Square(ElementType type, int n)
{
    constexpr double kAt[3][4] = {
        {-0.57735026918962576, 0.57735026918962576},
        {-0.77459666924148338, 0, 0.77459666924148338},
        {-0.86113631159405258, -0.33998104358485626, 0.33998104358485626, 0.86113631159405258}};
    constexpr double kWeight[3][4] = {
        {1, 1},
        {5.0 / 9, 8.0 / 9, 5.0 / 9},
        {0.34785484513745386, 0.65214515486254614, 0.65214515486254614, 0.34785484513745386}};
    ElementRule rule;
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j)
            AddPoint(rule, type, kAt[n - 2][i], kAt[n - 2][j],
                     kWeight[n - 2][i] * kWeight[n - 2][j]);
    return rule;
}

/// Dunavant (1985), Int. J. Numer. Methods Eng. 21, 1129-1148: degrees 1, 2, 4 and 6.
ElementRule Triangle(ElementType type, int points)
{
    // weight (of the whole, 1) and barycentric coordinates of one point of each orbit
    struct Orbit
    {
        int points;
        double weight, a, b;
    };
    constexpr Orbit kOrbits[] = {{1, 1.0, 1.0 / 3, 1.0 / 3},
                                 {3, 1.0 / 3, 1.0 / 6, 1.0 / 6},
                                 {6, 0.223381589678011, 0.445948490915965, 0.445948490915965},
                                 {6, 0.109951743655322, 0.091576213509771, 0.091576213509771},
                                 {12, 0.116786275726379, 0.249286745170910, 0.249286745170910},
                                 {12, 0.050844906370207, 0.063089014491502, 0.063089014491502},
                                 {12, 0.082851075618374, 0.310352451033785, 0.053145049844816}};
    ElementRule rule;
    for (const Orbit& orbit : kOrbits)
    {
        if (orbit.points != points)
            continue;
        const double c = 1 - orbit.a - orbit.b, w = orbit.weight / 2;
        AddPoint(rule, type, orbit.a, orbit.b, w);
        if (points == 1)
            continue;
        AddPoint(rule, type, orbit.b, c, w);
        AddPoint(rule, type, c, orbit.a, w);
        if (orbit.a == orbit.b)
            continue;
        AddPoint(rule, type, orbit.b, orbit.a, w);
        AddPoint(rule, type, c, orbit.b, w);
        AddPoint(rule, type, orbit.a, c, w);
    }
    return rule;
}
} // namespace

const ElementRule& RuleOf(ElementType type, bool varying)
{
    static const ElementRule kRules[4][2] = {
        {Triangle(ElementType::T3, 1), Triangle(ElementType::T3, 6)},
        {Square(ElementType::Q4, 2), Square(ElementType::Q4, 3)},
        {Triangle(ElementType::T6, 3), Triangle(ElementType::T6, 12)},
        {Square(ElementType::Q8, 3), Square(ElementType::Q8, 4)}};
    return kRules[int(type)][varying ? 1 : 0];
}

void ElementState::Load(const Mesh& mesh, std::size_t e, const double* heads)
{
    type = mesh.type[e];
    const int* nodes = mesh.ElementNodes(e);
    x0 = mesh.x[nodes[0]];
    y0 = mesh.y[nodes[0]];
    head0 = heads[nodes[0]];
    for (int k = 0; k < 8; ++k)
        at[k][0] = at[k][1] = head[k] = psi[k] = 0;
    for (int k = 0; k < NodeCount(type); ++k)
    {
        const int place = PlaceOf(type, k), node = nodes[k];
        at[place][0] = mesh.x[node] - x0;
        at[place][1] = mesh.y[node] - y0;
        head[place] = heads[node] - head0;
        psi[place] = heads[node] - mesh.y[node];
    }
}

void At(const ElementState& element, const double N[8], const double dN[2][8], PointState& point)
{
    double jacobian[2][2], inverse[2][2];
    MxM_2_8_2(jacobian, reinterpret_cast<const double(*)[8]>(dN), element.at);
    point.area = fMiM2x2(inverse, jacobian);
    MxM_2_2_8(point.B, inverse, dN);
    MxV(point.gradient, point.B[0], element.head, 2, 8);
    point.psi = fVxV2C(N, element.psi, 8);
}

void At(const ElementState& element, double r, double s, PointState& point)
{
    double N[8], dN[2][8];
    Shape_Function(N, r, s, PlaceFlags(element.type));
    Shape_Derivative(dN, r, s, PlaceFlags(element.type));
    At(element, N, dN, point);
}

double SharpnessOf(const ElementState& element, const Soil& soil)
{
    double low[2] = {}, high[2] = {}; // the first node is at (0, 0), as are unused places
    for (const double(&at)[2] : element.at)
        for (int i = 0; i < 2; ++i)
        {
            low[i] = std::min(low[i], at[i]);
            high[i] = std::max(high[i], at[i]);
        }
    // Pressure varies with the height above all; a quadratic element resolves half of its size.
    const double size = std::max(high[1] - low[1], (high[0] - low[0]) / 2);
    return size / soil.kr.Width() / (IsQuadratic(element.type) ? 2 : 1);
}

namespace
{
/// An element that is saturated, or at the least conductivity, everywhere.
void Scale(const ElementState& element, const double* saturated, double kr, Tangent tangent,
           double damping, ElementResult& result)
{
    const int n = NodeCount(element.type);
    for (int i = 0; i < n; ++i)
    {
        double sum = 0;
        for (int j = 0; j < n; ++j)
            sum += saturated[i * n + j] * element.head[PlaceOf(element.type, j)];
        result.inflow[i] = kr * sum;
    }
    if (tangent == Tangent::None)
        return;
    for (int k = 0; k < n * n; ++k)
        result.matrix[k] = kr * saturated[k];
    for (int i = 0; i < n; ++i)
        result.matrix[i * n + i] *= 1 + damping;
}

/// Sums over the points of an element whose conductivity varies.
void Integrate(const ElementState& element, const ElementRule& rule, const Soil& soil,
               const PointConductivity& values, Tangent tangent, double damping,
               ElementResult& result)
{
    double inflow[8] = {}, matrix[8][8] = {}, product[8][8], flux[8][2];
    for (int p = 0; p < rule.points; ++p)
    {
        PointState at;
        At(element, rule.N[p], rule.dN[p], at);
        const double volume = rule.weight[p] * at.area, kr = values.kr[p];
        const double kx = volume * soil.kx, ky = volume * soil.ky, kxy = volume * soil.kxy;
        const double qx = kx * at.gradient[0] + kxy * at.gradient[1]; // at kr = 1
        const double qy = kxy * at.gradient[0] + ky * at.gradient[1];
        double byKr[8]; // derivative of the inflow by kr
        for (int i = 0; i < 8; ++i)
        {
            byKr[i] = at.B[0][i] * qx + at.B[1][i] * qy;
            inflow[i] += kr * byKr[i];
            flux[i][0] = kr * (kx * at.B[0][i] + kxy * at.B[1][i]);
            flux[i][1] = kr * (kxy * at.B[0][i] + ky * at.B[1][i]);
        }
        if (tangent == Tangent::None)
            continue;
        MxM_8_2_8(product, flux, at.B);
        for (int i = 0; i < 8; ++i)
            product[i][i] *= 1 + damping;
        MpM(matrix[0], product[0], 8, 8);
        if (tangent == Tangent::Picard || values.slope[p] == 0)
            continue;
        for (int i = 0; i < 8; ++i)
            for (int j = 0; j < 8; ++j)
                matrix[i][j] += values.slope[p] * byKr[i] * rule.N[p][j];
    }
    const int n = NodeCount(element.type);
    for (int i = 0; i < n; ++i)
    {
        const int row = PlaceOf(element.type, i);
        result.inflow[i] = inflow[row];
        if (tangent != Tangent::None)
            for (int j = 0; j < n; ++j)
                result.matrix[i * n + j] = matrix[row][PlaceOf(element.type, j)];
    }
}
} // namespace

namespace
{
/// The derivatives of the shape functions of a linear triangle. @returns twice its area
double TriangleDerivatives(const ElementState& element, double (&x)[3], double (&y)[3])
{
    const auto [x1, y1] = element.at[1];
    const auto [x2, y2] = element.at[2];
    const double det = x1 * y2 - x2 * y1;
    const double byX[] = {y1 - y2, y2, -y1}, byY[] = {x2 - x1, -x2, x1};
    for (int k = 0; k < 3; ++k)
    {
        x[k] = byX[k] / det;
        y[k] = byY[k] / det;
    }
    return det;
}
} // namespace

Point GradientInTriangle(const ElementState& element)
{
    double x[3], y[3];
    (void)TriangleDerivatives(element, x, y);
    return {x[1] * element.head[1] + x[2] * element.head[2],
            y[1] * element.head[1] + y[2] * element.head[2]};
}

void SaturatedMatrix(const ElementState& element, const Soil& soil, double* matrix)
{
    if (element.type == ElementType::T3)
    {
        double x[3], y[3];
        const double area = TriangleDerivatives(element, x, y) / 2;
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 3; ++j)
                matrix[3 * i + j] = area * (x[i] * (soil.kx * x[j] + soil.kxy * y[j]) +
                                            y[i] * (soil.kxy * x[j] + soil.ky * y[j]));
        return;
    }
    double ones[ElementRule::kMaxPoints], zeros[ElementRule::kMaxPoints] = {};
    std::fill_n(ones, ElementRule::kMaxPoints, 1.0);
    ElementResult result;
    Integrate(element, RuleOf(element.type, !soil.kr.IsSaturated()), soil, {ones, zeros},
              Tangent::Picard, 0, result);
    std::copy_n(result.matrix, NodeCount(element.type) * NodeCount(element.type), matrix);
}

void Compute(const ElementState& element, const Soil& soil, const double* saturated,
             const PointConductivity& at, Tangent tangent, double damping, ElementResult& result)
{
    const ElementRule& rule = RuleOf(element.type, !soil.kr.IsSaturated());
    bool isUniform = true; // one conductivity at all points, whatever the heads do
    for (int p = 0; at.kr != nullptr && p < rule.points; ++p)
        isUniform = isUniform && at.kr[p] == at.kr[0] && at.slope[p] == 0;
    if (isUniform)
        Scale(element, saturated, at.kr == nullptr ? 1 : at.kr[0], tangent, damping, result);
    else
        Integrate(element, rule, soil, at, tangent, damping, result);
}

void ComputeInflow(const ElementState& element, const Soil& soil, double* inflow)
{
    const ElementRule& rule = RuleOf(element.type, !soil.kr.IsSaturated());
    double psi[ElementRule::kMaxPoints], kr[ElementRule::kMaxPoints],
        slope[ElementRule::kMaxPoints];
    for (int p = 0; p < rule.points; ++p)
        psi[p] = fVxV2C(rule.N[p], element.psi, 8);
    soil.kr.Evaluate(psi, rule.points, kr, slope);
    ElementResult result;
    Integrate(element, rule, soil, {kr, slope}, Tangent::None, 0, result);
    std::copy_n(result.inflow, NodeCount(element.type), inflow);
}

TriangleConductivity MeanOf(const PointConductivity& at)
{
    const ElementRule& rule = RuleOf(ElementType::T3, true);
    TriangleConductivity mean{0};
    double whole = 0;
    for (int p = 0; p < rule.points; ++p)
    {
        whole += rule.weight[p];
        mean.mean += rule.weight[p] * at.kr[p];
        for (int k = 0; k < 3; ++k)
            mean.byHead[k] += rule.weight[p] * at.slope[p] * rule.N[p][k];
    }
    mean.mean /= whole;
    for (double& byHead : mean.byHead)
        byHead /= whole;
    return mean;
}

void ComputeTriangle(const double* saturated, const TriangleConductivity& kr, const double* head,
                     Tangent tangent, double damping, double* inflow, double* matrix)
{
    const double first = head[1] - head[0], second = head[2] - head[0];
    double unit[3]; // the flows at kr = 1
    for (int i = 0; i < 3; ++i)
    {
        unit[i] = saturated[3 * i + 1] * first + saturated[3 * i + 2] * second;
        inflow[i] = kr.mean * unit[i];
    }
    if (tangent == Tangent::None)
        return;
    for (int i = 0; i < 3; ++i)
    {
        for (int j = 0; j < 3; ++j)
            matrix[3 * i + j] = kr.mean * saturated[3 * i + j];
        matrix[4 * i] *= 1 + damping;
        for (int j = 0; j < 3 && tangent == Tangent::Newton; ++j)
            matrix[3 * i + j] += unit[i] * kr.byHead[j];
    }
}

} // namespace percova
