#include "mesh/Neighbours.h"
#include "output/picture/Picture.h"
#include "problem/NumberText.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>

namespace percova::picture
{
namespace
{

constexpr double kWidest = 820, kTallest = 560, kThinnest = 130;

/// A value in the middle of an element out of those at its nodes.
template <class Values>
double InMiddle(const Mesh& mesh, std::size_t element, Values values)
{
    const int* nodes = mesh.ElementNodes(element);
    const int corners = Corners(mesh.type[element]);
    double sum = 0;
    if (!IsQuadratic(mesh.type[element]))
    {
        for (int i = 0; i < corners; ++i)
            sum += values(nodes[i]) / corners;
        return sum;
    }
    for (int i = 0; i < 4; ++i) // the shape functions of Q8 at r = s = 0
        sum += values(nodes[4 + i]) / 2 - values(nodes[i]) / 4;
    return sum;
}

/// Largest distance from the chord first-last of the points between, and which point has it.
std::pair<double, std::size_t> Farthest(const Polyline& line, std::size_t first, std::size_t last)
{
    const Point a = line[first], b = line[last];
    const double length = std::hypot(b.x - a.x, b.y - a.y);
    std::pair<double, std::size_t> farthest{0, first};
    for (std::size_t i = first + 1; i < last; ++i)
    {
        const double dx = line[i].x - a.x, dy = line[i].y - a.y;
        const double distance = length > 0 ? std::abs(dx * (b.y - a.y) - dy * (b.x - a.x)) / length
                                           : std::hypot(dx, dy);
        if (distance > farthest.first)
            farthest = {distance, i};
    }
    return farthest;
}

} // namespace

Frame FrameOf(const Mesh& mesh, double leftOnPage, double topOnPage)
{
    Frame frame;
    frame.left = leftOnPage;
    frame.top = topOnPage;
    const auto [left, right] = std::minmax_element(mesh.x.begin(), mesh.x.end());
    const auto [low, high] = std::minmax_element(mesh.y.begin(), mesh.y.end());
    frame.minX = *left;
    frame.maxX = *right;
    frame.minY = *low;
    frame.maxY = *high;
    const double spanX = frame.maxX - frame.minX, spanY = frame.maxY - frame.minY;
    const double scale = std::min(kWidest / spanX, kTallest / spanY);
    frame.width = std::max(scale * spanX, kThinnest);
    frame.height = std::max(scale * spanY, kThinnest);
    return frame;
}

Triangles TrianglesOf(const Mesh& mesh, const DataTable& nodal, const Frame& frame)
{
    Triangles all;
    for (std::size_t i = 0; i < mesh.Nodes(); ++i)
        all.points.push_back(frame.At({mesh.x[i], mesh.y[i]}));
    const auto column = [&](DataParamType param) {
        const DataTable::ConstValues values = nodal.Column(param);
        return std::vector<double>(values.begin(), values.end());
    };
    all.head = column(dataparam::Head);
    all.pressureHead = column(dataparam::PressureHead);
    all.head.resize(mesh.Nodes());
    all.pressureHead.resize(mesh.Nodes());
    const auto value = [](const std::vector<double>& values) {
        return [&values](int node) { return values[static_cast<std::size_t>(node)]; };
    };
    for (std::size_t e = 0; e < mesh.Elements(); ++e)
    {
        const int* n = mesh.ElementNodes(e);
        if (mesh.type[e] == ElementType::T3)
            all.corners.push_back({n[0], n[1], n[2]});
        else if (mesh.type[e] == ElementType::T6)
            for (const std::array<int, 3> t : {std::array{0, 3, 5}, std::array{3, 1, 4},
                                               std::array{5, 4, 2}, std::array{3, 4, 5}})
                all.corners.push_back({n[t[0]], n[t[1]], n[t[2]]});
        else
        {
            const int middle = static_cast<int>(all.points.size());
            all.points.push_back(
                frame.At({InMiddle(mesh, e, value(mesh.x)), InMiddle(mesh, e, value(mesh.y))}));
            all.head.push_back(InMiddle(mesh, e, value(all.head)));
            all.pressureHead.push_back(InMiddle(mesh, e, value(all.pressureHead)));
            for (int side = 0; side < 4; ++side)
            {
                const int a = n[side], b = n[(side + 1) % 4];
                if (!IsQuadratic(mesh.type[e]))
                    all.corners.push_back({a, b, middle});
                else
                {
                    all.corners.push_back({a, n[4 + side], middle});
                    all.corners.push_back({n[4 + side], b, middle});
                }
            }
        }
    }
    return all;
}

std::string OutlineOf(const Model& model, int material, const Frame& frame)
{
    const Mesh& mesh = model.mesh;
    // Sides with the material on their left only, by their first node.
    std::multimap<int, Edge> sides;
    const auto has = [&](int element) {
        return element >= 0 && model.material[static_cast<std::size_t>(element)] == material;
    };
    for (std::size_t e = 0; e < mesh.Elements(); ++e)
        for (int side = 0; side < Corners(mesh.type[e]) && has(static_cast<int>(e)); ++side)
            if (!has(mesh.Across(e, side)))
            {
                const Edge edge = SideOf(mesh, e, side);
                sides.emplace(edge.nodes[0], edge);
            }
    const auto at = [&](int node) {
        const auto n = static_cast<std::size_t>(node);
        return frame.At({mesh.x[n], mesh.y[n]});
    };
    std::string path;
    while (!sides.empty())
    {
        auto next = sides.begin();
        const int begin = next->first;
        path += 'M' + Coordinates(at(begin));
        Polyline straight{at(begin)}; // since the last curve
        const auto flush = [&] {
            const Polyline thin = Simplified(straight, 0.05);
            for (std::size_t i = 1; i < thin.size(); ++i)
                path += 'L' + Coordinates(thin[i]);
        };
        for (; next != sides.end();)
        {
            const Edge edge = next->second;
            sides.erase(next);
            const Point a = at(edge.nodes[0]), b = at(edge.nodes[1]);
            const Point m =
                edge.nodes[2] >= 0 ? at(edge.nodes[2]) : Point{(a.x + b.x) / 2, (a.y + b.y) / 2};
            const Point bend{2 * m.x - (a.x + b.x) / 2, 2 * m.y - (a.y + b.y) / 2};
            if (std::hypot(bend.x - (a.x + b.x) / 2, bend.y - (a.y + b.y) / 2) < 0.1)
                straight.push_back(b);
            else
            {
                flush();
                path += 'Q' + Coordinates(bend) + ' ' + Coordinates(b);
                straight = {b};
            }
            next = edge.nodes[1] == begin ? sides.end() : sides.find(edge.nodes[1]);
        }
        flush();
        path += 'z';
    }
    return path;
}

Polyline Simplified(const Polyline& line, double tolerance)
{
    if (line.size() < 3)
        return line;
    std::vector<bool> keep(line.size(), false);
    keep.front() = keep.back() = true;
    std::vector<std::pair<std::size_t, std::size_t>> open{{0, line.size() - 1}};
    while (!open.empty())
    {
        const auto [first, last] = open.back();
        open.pop_back();
        const auto [distance, index] = Farthest(line, first, last);
        if (distance <= tolerance)
            continue;
        keep[index] = true;
        open.emplace_back(first, index);
        open.emplace_back(index, last);
    }
    Polyline thin;
    for (std::size_t i = 0; i < line.size(); ++i)
        if (keep[i])
            thin.push_back(line[i]);
    return thin;
}

std::string Coordinates(Point point) { return Fixed(point.x, 1) + ' ' + Fixed(point.y, 1); }

std::string PathData(const Polyline& line)
{
    std::string path;
    for (std::size_t i = 0; i < line.size(); ++i)
        path += (i == 0 ? 'M' : 'L') + Coordinates(line[i]);
    return path;
}

} // namespace percova::picture
