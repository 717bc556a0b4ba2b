#include "output/picture/PicturePage.h"
#include "problem/NumberText.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <vector>

namespace percova::picture
{
namespace
{

constexpr double kSpacing = 30; ///< of the raster [pixels], which the first arrow is half of inside
constexpr double kLongest = 1.4 * kSpacing, kShortest = 2; ///< arrows [pixels]

/// The share of the corners of a triangle at a point; all are from 0 to 1 inside.
std::array<double, 3> SharesAt(const Point (&corner)[3], Point at)
{
    const auto area = [](Point a, Point b, Point c) {
        return (b.x - a.x) * (c.y - a.y) - (c.x - a.x) * (b.y - a.y);
    };
    const double whole = area(corner[0], corner[1], corner[2]);
    return {area(at, corner[1], corner[2]) / whole, area(corner[0], at, corner[2]) / whole,
            area(corner[0], corner[1], at) / whole};
}

/// A raster over the drawing.
struct Raster
{
    double spacing, first; ///< of its points, and of the first one from the corner [pixels]
    int columns, rows;
    Point At(int i, int j, const Frame& frame) const
    {
        return {frame.left + first + i * spacing, frame.top + first + j * spacing};
    }
};

Raster RasterOf(const Frame& frame, double spacing)
{
    return {spacing, spacing / 2, static_cast<int>(frame.width / spacing) + 1,
            static_cast<int>(frame.height / spacing) + 1};
}

/// Calls @p visit(i, j, shares, corners) for every point of a raster that lies in a triangle.
template <class Visit>
void ForEachInside(const Triangles& triangles, const Frame& frame, const Raster& raster,
                   Visit visit)
{
    const auto index = [&](double at, double corner, int count) {
        return std::clamp(
            static_cast<int>(std::floor((at - corner - raster.first) / raster.spacing)), -1,
            count - 1);
    };
    for (const std::array<int, 3>& nodes : triangles.corners)
    {
        Point corner[3];
        for (std::size_t k = 0; k < 3; ++k)
            corner[k] = triangles.points[static_cast<std::size_t>(nodes[k])];
        const auto [left, right] = std::minmax({corner[0].x, corner[1].x, corner[2].x});
        const auto [top, bottom] = std::minmax({corner[0].y, corner[1].y, corner[2].y});
        const int lastI = index(right, frame.left, raster.columns),
                  lastJ = index(bottom, frame.top, raster.rows);
        for (int j = std::max(index(top, frame.top, raster.rows), 0); j <= lastJ; ++j)
            for (int i = std::max(index(left, frame.left, raster.columns), 0); i <= lastI; ++i)
            {
                const std::array<double, 3> shares = SharesAt(corner, raster.At(i, j, frame));
                if (std::all_of(shares.begin(), shares.end(),
                                [](double share) { return share >= -1e-9; }))
                    visit(static_cast<std::size_t>(i), static_cast<std::size_t>(j), shares, nodes);
            }
    }
}

/// The pixels of the drawing that are soil.
class SoilMask
{
public:
    SoilMask(const Triangles& triangles, const Frame& frame)
        : frame_(frame), raster_(RasterOf(frame, 1)),
          columns_(static_cast<std::size_t>(raster_.columns)),
          isSoil_(columns_ * static_cast<std::size_t>(raster_.rows))
    {
        ForEachInside(triangles, frame, raster_,
                      [&](std::size_t i, std::size_t j, const auto&, const auto&) {
                          isSoil_[j * columns_ + i] = true;
                      });
    }
    /// Whether a straight line is in the soil from end to end.
    bool Has(Point from, Point to) const
    {
        const int steps = 1 + static_cast<int>(std::hypot(to.x - from.x, to.y - from.y));
        for (int k = 0; k <= steps; ++k)
        {
            const double i = from.x + (to.x - from.x) * k / steps - frame_.left,
                         j = from.y + (to.y - from.y) * k / steps - frame_.top;
            if (i < 0 || j < 0 || i >= raster_.columns || j >= raster_.rows ||
                !isSoil_[static_cast<std::size_t>(j) * columns_ + static_cast<std::size_t>(i)])
                return false;
        }
        return true;
    }

private:
    const Frame& frame_;
    Raster raster_;
    std::size_t columns_;
    std::vector<bool> isSoil_;
};

/// A vector at a point of the raster, none where its length is 0.
struct Flux
{
    Point at, value{0, 0};
    double Size() const { return std::hypot(value.x, value.y); }
};

/// The flux at the points of the raster that are soil.
std::vector<Flux> FluxesOf(const Mesh& mesh, const DataTable& nodal, const Frame& frame)
{
    DataTable values = NodalTable(mesh.Nodes()); // triangles carry two values: here the flux
    const DataTable::ConstValues x = nodal.Column(dataparam::VelocityX),
                                 y = nodal.Column(dataparam::VelocityY);
    std::copy(x.begin(), x.end(), values.Column(dataparam::Head).begin());
    std::copy(y.begin(), y.end(), values.Column(dataparam::PressureHead).begin());
    const Triangles triangles = TrianglesOf(mesh, values, frame);
    const Raster raster = RasterOf(frame, kSpacing);
    std::vector<Flux> all(static_cast<std::size_t>(raster.columns) *
                          static_cast<std::size_t>(raster.rows));
    ForEachInside(triangles, frame, raster,
                  [&](std::size_t i, std::size_t j, const std::array<double, 3>& shares,
                      const std::array<int, 3>& nodes) {
                      Flux flux{raster.At(static_cast<int>(i), static_cast<int>(j), frame)};
                      for (std::size_t k = 0; k < 3; ++k)
                      {
                          const auto n = static_cast<std::size_t>(nodes[k]);
                          flux.value.x += shares[k] * triangles.head[n];
                          flux.value.y += shares[k] * triangles.pressureHead[n];
                      }
                      all[j * static_cast<std::size_t>(raster.columns) + i] = flux;
                  });
    std::erase_if(all,
                  [](const Flux& flux) { return !std::isfinite(flux.Size()) || flux.Size() == 0; });
    return all;
}

/// The greatest of 1, 2 and 5 times a power of ten that is no more than @p most.
double RoundBelow(double most)
{
    const double power = std::pow(10, std::floor(std::log10(most)));
    for (const double factor : {5.0, 2.0})
        if (factor * power <= most)
            return factor * power;
    return power;
}

/// Path data of an arrow.
std::string Arrow(Point from, Point to)
{
    const double x = to.x - from.x, y = to.y - from.y, length = std::hypot(x, y);
    const double share = std::min(5.0, 0.45 * length) / length;
    const auto barb = [&](double side) {
        return Point{to.x - share * (x + 0.45 * side * y), to.y - share * (y - 0.45 * side * x)};
    };
    return PathData({from, to}) + PathData({barb(1), to, barb(-1)});
}

} // namespace

void DrawVectors(Page& page, const Frame& frame, const Model& model, const StepResult& step)
{
    const std::vector<Flux> fluxes = FluxesOf(model.mesh, step.nodal, frame);
    if (fluxes.empty())
        return;
    const SoilMask soil(TrianglesOf(model.mesh, step.nodal, frame), frame);
    const double most =
        std::max_element(fluxes.begin(), fluxes.end(), [](const Flux& one, const Flux& two) {
            return one.Size() < two.Size();
        })->Size();
    const double stretch = frame.Stretch();
    std::string data;
    for (const Flux& flux : fluxes)
    {
        const double length = flux.Size() / most * kLongest;
        if (length < kShortest)
            continue;
        // Along the flow as it is drawn, heights stretched or not.
        const Point along{flux.value.x, -flux.value.y * stretch};
        const double scale = length / std::hypot(along.x, along.y);
        for (const double behind : {0.5, 0.0, 1.0}) // in the middle, or else out of or into it
        {
            const Point from{flux.at.x - behind * scale * along.x,
                             flux.at.y - behind * scale * along.y},
                to{from.x + scale * along.x, from.y + scale * along.y};
            if (!soil.Has(from, to))
                continue;
            data += Arrow(from, to);
            break;
        }
    }
    const std::string style =
        "class=\"flux\" fill=\"none\" stroke=\"#a3341f\" stroke-width=\"1.1\"";
    page.Path(data, style);
    constexpr double kSign = 22; // width of the legend's signs
    const double shown = RoundBelow(most * kSign / kLongest);
    const Units& units = model.problem.units;
    page.LegendLine(
        "<path d=\"" + Arrow({0, 7}, {shown / most * kLongest, 7}) + "\" " + style + "/>",
        "Darcy flux, arrow of " + Short(shown, 1) + ' ' + units.length + '/' + units.time);
}

} // namespace percova::picture
