#include "Fields.h"

#include "Element.h"
#include "KVI.h"
#include "Loops.h"

#include <algorithm>
#include <array>

namespace percova
{
namespace
{
/// Finds the local coordinates of @p at in element @p e.
bool Contains(const Mesh& mesh, std::size_t e, Point at, double& r, double& s)
{
    const int* nodes = mesh.ElementNodes(e);
    const int count = NodeCount(mesh.type[e]);
    double coords[16], low[2] = {1e300, 1e300}, high[2] = {-1e300, -1e300};
    for (int k = 0; k < count; ++k)
    {
        const double xy[2] = {mesh.x[nodes[k]], mesh.y[nodes[k]]};
        for (int i = 0; i < 2; ++i)
        {
            coords[2 * k + i] = xy[i];
            low[i] = std::min(low[i], xy[i]);
            high[i] = std::max(high[i], xy[i]);
        }
    }
    // A curved side reaches past its nodes by less than the size of the element.
    const double spare =
        (IsQuadratic(mesh.type[e]) ? 0.5 : 1e-6) * std::max(high[0] - low[0], high[1] - low[1]);
    if (at.x < low[0] - spare || at.x > high[0] + spare || at.y < low[1] - spare ||
        at.y > high[1] + spare)
        return false;
    return iGlobal_To_Local_Coords(&r, &s, at.x, at.y, coords, count) == kLocalCoordsInside;
}

/// Head at local coordinates, with the derivatives there.
double HeadAt(const ElementState& element, double r, double s, PointState& point)
{
    double N[8];
    Shape_Function(N, r, s, PlaceFlags(element.type));
    At(element, r, s, point);
    return element.head0 + fVxV2C(N, element.head, 8);
}

ProbeValue ProbeAt(const Solution& solution, const Probe& probe)
{
    const Mesh& mesh = solution.model.mesh;
    ProbeValue value;
    value.name = probe.name;
    value.at = probe.at;
    int material = -1, found = 0;
    for (std::size_t e = 0; e < mesh.Elements(); ++e)
    {
        double r = 0, s = 0;
        if ((found > 0 && solution.model.material[e] != material) ||
            !Contains(mesh, e, probe.at, r, s))
            continue;
        ElementState element;
        PointState point;
        element.Load(mesh, e, solution.head.data());
        const double head = HeadAt(element, r, s, point);
        if (++found == 1)
        {
            material = solution.model.material[e];
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
    value.flux = {-value.kr * soil.kx * value.gradient.x, -value.kr * soil.ky * value.gradient.y};
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
    ForPieces(0, probes.size(), 1, [&](std::size_t begin, std::size_t end) {
        for (std::size_t i = begin; i < end; ++i)
            result.probes[i] = ProbeAt(solution, probes[i]);
    });
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
            At(element, r, t, point);
            const double here = soil.kr.At(psi[n]);
            Include(here, seen[n], kr[n]);
            Include(point.gradient[0], seen[n], ix[n]);
            Include(point.gradient[1], seen[n], iy[n]);
            Include(-here * soil.kx * point.gradient[0], seen[n], vx[n]);
            Include(-here * soil.ky * point.gradient[1], seen[n], vy[n]);
            ++seen[n];
            if (soil.hasCurve)
                Include(soil.curve.Content(pressure[n]), seenCurve[n]++, theta[n]);
        }
    }
}

} // namespace percova
