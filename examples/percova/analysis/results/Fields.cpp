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

namespace
{
/// The gradient in element @p e, at its node of place @p place.
Point GradientAtNode(const Solution& s, int e, int place)
{
    ElementState element;
    element.Load(s.model.mesh, std::size_t(e), s.head.data());
    if (element.type == ElementType::T3)
        return GradientInTriangle(element);
    const auto [r, t] = LocalOf(element.type, place - s.model.mesh.start[e]);
    PointState point;
    DerivativesAt(element, r, t, point);
    return {point.gradient[0], point.gradient[1]};
}

/// Fills the rows of nodes from a mean over the elements around each.
class NodeMeans
{
public:
    NodeMeans(const Solution& solution, DataTable& nodal)
        : s_(solution), mesh_(solution.model.mesh), psi_(nodal.Column(dataparam::PressureHead)),
          pressure_(nodal.Column(dataparam::Pressure)),
          theta_(nodal.Column(dataparam::WaterContent)),
          kr_(nodal.Column(dataparam::RelativeConductivity)),
          vx_(nodal.Column(dataparam::VelocityX)), vy_(nodal.Column(dataparam::VelocityY)),
          ix_(nodal.Column(dataparam::GradientX)), iy_(nodal.Column(dataparam::GradientY))
    {
    }

    void Fill(std::size_t n)
    {
        psi_[n] = s_.head[n] - mesh_.y[n];
        pressure_[n] = psi_[n] * s_.model.problem.gammaW;
        int seen = 0, seenCurve = 0, last = -1;
        double kr = 0, theta = 0; // of the soil last seen
        for (std::size_t k = mesh_.placeStart[n]; k < mesh_.placeStart[n + 1]; ++k)
        {
            const int place = mesh_.nodePlaces[k], e = mesh_.placeElement[place];
            const int material = s_.model.material[e];
            const Soil& soil = s_.soils[material];
            if (material != last)
            {
                kr = soil.kr.At(psi_[n]);
                theta = soil.hasCurve ? soil.curve.Content(pressure_[n]) : 0;
                last = material;
            }
            const Point gradient = GradientAtNode(s_, e, place);
            const Point conducted = soil.Conducted(gradient.x, gradient.y);
            Include(kr, seen, kr_[n]);
            Include(gradient.x, seen, ix_[n]);
            Include(gradient.y, seen, iy_[n]);
            Include(-kr * conducted.x, seen, vx_[n]);
            Include(-kr * conducted.y, seen, vy_[n]);
            ++seen;
            if (soil.hasCurve)
                Include(theta, seenCurve++, theta_[n]);
        }
    }

private:
    const Solution& s_;
    const Mesh& mesh_;
    DataTable::Values psi_, pressure_, theta_, kr_, vx_, vy_, ix_, iy_;
};
} // namespace

void EvaluateNodes(const Solution& s, DataTable& nodal)
{
    constexpr std::size_t kGrain = 256; // nodes a thread takes at a time
    nodal = NodalTable(s.model.mesh.Nodes());
    std::copy(s.head.begin(), s.head.end(), nodal.Column(dataparam::Head).begin());
    NodeMeans means(s, nodal);
    sys::thread::task::ParallelForPieces(0, s.head.size(), kGrain,
                                         [&](std::size_t begin, std::size_t end) {
                                             for (std::size_t n = begin; n < end; ++n)
                                                 means.Fill(n);
                                         });
}

} // namespace percova
