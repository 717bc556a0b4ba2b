#include "analysis/results/Fields.h"

#include "KVI.h"
#include "analysis/model/Element.h"
#include "mesh/ElementFinder.h"

#include <algorithm>
#include <array>

namespace percova
{
namespace
{
/// The state at local coordinates. At a straight corner of a quadrilateral, where there are no
/// derivatives, they are those halfway to the middle.
void DerivativesAt(const ElementState& element, double r, double s, PointState& point)
{
    constexpr double kStraight = 1e-6;
    At(element, r, s, point);
    if (Corners(element.type) == 3)
        return;
    PointState inside;
    At(element, r / 2, s / 2, inside);
    if (point.area > kStraight * inside.area)
        return;
    inside.psi = point.psi;
    point = inside;
}

/// Head at local coordinates, with the derivatives there.
double HeadAt(const ElementState& element, double r, double s, PointState& point)
{
    double N[8];
    Shape_Function(N, r, s, PlaceFlags(element.type));
    DerivativesAt(element, r, s, point);
    return element.head0 + fVxV2C(N, element.head, 8);
}

ProbeValue ProbeAt(const Solution& solution, const Probe& probe)
{
    const Mesh& mesh = solution.model.mesh;
    ProbeValue value;
    value.name = probe.name;
    value.at = probe.at;
    int material = -1, found = 0;
    for (const ElementPlace& place : solution.model.finder->At(mesh, probe.at))
    {
        if (found > 0 && solution.model.material[place.element] != material)
            continue;
        ElementState element;
        PointState point;
        element.Load(mesh, place.element, solution.head.data());
        const double head = HeadAt(element, place.r, place.s, point);
        if (++found == 1)
        {
            material = solution.model.material[place.element];
            value.head = head;
            value.gradient = {0, 0};
        }
        value.gradient.x += (point.gradient[0] - value.gradient.x) / found;
        value.gradient.y += (point.gradient[1] - value.gradient.y) / found;
    }
    if (found == 0)
        return value;
    const Soil& soil = solution.soils[material];
    value.pressureHead = value.head - probe.at.y;
    value.pressure = value.pressureHead * solution.model.problem.gammaW;
    value.kr = soil.kr.At(value.pressureHead);
    if (soil.hasCurve)
        value.waterContent = soil.curve.Content(value.pressure);
    const Point conducted = soil.Conducted(value.gradient.x, value.gradient.y);
    value.flux = {-value.kr * conducted.x, -value.kr * conducted.y};
    return value;
}

/// Adds @p value to the mean of @p count values before it.
void Include(double value, int count, double& mean)
{
    mean = count == 0 ? value : mean + (value - mean) / (count + 1);
}

/// Local coordinates of the nodes of an element.
std::array<double, 2> LocalOf(ElementType type, int k)
{
    constexpr double kTriangle[6][2] = {{0, 0}, {1, 0}, {0, 1}, {0.5, 0}, {0.5, 0.5}, {0, 0.5}};
    constexpr double kSquare[8][2] = {{1, 1}, {-1, 1}, {-1, -1}, {1, -1},
                                      {0, 1}, {-1, 0}, {0, -1},  {1, 0}};
    const double* at = Corners(type) == 3 ? kTriangle[k] : kSquare[k];
    return {at[0], at[1]};
}
} // namespace

void EvaluateProbes(const Solution& solution, StepResult& result)
{
    const std::vector<Probe>& probes = solution.model.problem.probes;
    result.probes.resize(probes.size());
    for (std::size_t i = 0; i < probes.size(); ++i)
        result.probes[i] = ProbeAt(solution, probes[i]);
}

DataTable NodalTable(std::size_t nodes)
{
    return DataTable(dataparam::Node,
                     {dataparam::Head, dataparam::PressureHead, dataparam::Pressure,
                      dataparam::WaterContent, dataparam::RelativeConductivity,
                      dataparam::VelocityX, dataparam::VelocityY, dataparam::GradientX,
                      dataparam::GradientY},
                     unsigned(nodes));
}

void EvaluateNodes(const Solution& s, DataTable& nodal)
{
    const Mesh& mesh = s.model.mesh;
    nodal = NodalTable(mesh.Nodes());
    const DataTable::Values psi = nodal.Column(dataparam::PressureHead),
                            pressure = nodal.Column(dataparam::Pressure),
                            theta = nodal.Column(dataparam::WaterContent),
                            kr = nodal.Column(dataparam::RelativeConductivity),
                            vx = nodal.Column(dataparam::VelocityX),
                            vy = nodal.Column(dataparam::VelocityY),
                            ix = nodal.Column(dataparam::GradientX),
                            iy = nodal.Column(dataparam::GradientY);
    std::copy(s.head.begin(), s.head.end(), nodal.Column(dataparam::Head).begin());
    for (std::size_t n = 0; n < mesh.Nodes(); ++n)
    {
        psi[n] = s.head[n] - mesh.y[n];
        pressure[n] = psi[n] * s.model.problem.gammaW;
    }
    std::vector<int> seen(mesh.Nodes()), seenCurve(mesh.Nodes());
    for (std::size_t e = 0; e < mesh.Elements(); ++e)
    {
        const Soil& soil = s.soils[s.model.material[e]];
        ElementState element;
        element.Load(mesh, e, s.head.data());
        for (int k = 0; k < NodeCount(element.type); ++k)
        {
            const std::size_t n = std::size_t(mesh.ElementNodes(e)[k]);
            const auto [r, t] = LocalOf(element.type, k);
            PointState point;
            DerivativesAt(element, r, t, point);
            const double here = soil.kr.At(psi[n]);
            Include(here, seen[n], kr[n]);
            Include(point.gradient[0], seen[n], ix[n]);
            Include(point.gradient[1], seen[n], iy[n]);
            const Point conducted = soil.Conducted(point.gradient[0], point.gradient[1]);
            Include(-here * conducted.x, seen[n], vx[n]);
            Include(-here * conducted.y, seen[n], vy[n]);
            ++seen[n];
            if (soil.hasCurve)
                Include(soil.curve.Content(pressure[n]), seenCurve[n]++, theta[n]);
        }
    }
}

} // namespace percova
