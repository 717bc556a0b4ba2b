#include "Geom/Geom_LineLayer2D.h"

#include "Geom/exact/Plane.h"

#include <algorithm>

namespace Geom
{

LineLayer2D::LineLayer2D(const LineSet2D& lines, const Precision3D& precision)
    : precision_(precision)
{
    lines_.reserve(lines.size());
    for (auto line = lines.begin(); line != lines.end(); ++line)
        lines_.push_back(line);
}

bool LineLayer2D::Insert(Reference line)
{
    const auto place = std::lower_bound(lines_.begin(), lines_.end(), line);
    if (place != lines_.end() && *place == line)
        return false;
    lines_.insert(place, line);
    return true;
}

bool LineLayer2D::Erase(Reference line)
{
    const auto place = std::lower_bound(lines_.begin(), lines_.end(), line);
    if (place == lines_.end() || *place != line)
        return false;
    lines_.erase(place);
    return true;
}

std::pair<double, double> LineLayer2D::YOf(const Line2D& line, double x) const
{
    const bool isRising = line.first.x <= line.second.x;
    const Point2D& left = isRising ? line.first : line.second;
    const Point2D& right = isRising ? line.second : line.first;
    const double hx = precision_.halfEpsilon[0];
    if (!geom::AreUsable({left, right}) || !geom::IsBetween(left.x, x, right.x, hx))
        return {MissingValue<double>(), MissingValue<double>()};
    if (geom::IsNear(left.x, right.x, hx))
        return std::minmax(left.y, right.y);
    const double t = std::clamp((x / 2 - left.x / 2) / (right.x / 2 - left.x / 2), 0.0, 1.0);
    const double y = geom::Clamped(left.y * (1 - t) + right.y * t, left.y, right.y);
    return {y, y};
}

std::pair<double, double> LineLayer2D::GetY(double x) const
{
    std::pair<double, double> range{MissingValue<double>(), MissingValue<double>()};
    for (const Reference line : lines_)
    {
        const auto [low, high] = YOf(*line, x);
        if (IsMissingValue(low))
            continue;
        range.second = IsMissingValue(range.first) ? high : std::max(range.second, high);
        range.first = std::min(range.first, low);
    }
    return range;
}

std::vector<LineLayer2D::Reference> LineLayer2D::GetOrder(double x) const
{
    std::vector<std::pair<double, Reference>> found;
    for (const Reference line : lines_)
        if (const auto [low, high] = YOf(*line, x); !IsMissingValue(low))
            found.emplace_back(low / 2 + high / 2, line);
    std::sort(found.begin(), found.end());
    std::vector<Reference> order;
    order.reserve(found.size());
    for (const auto& [y, line] : found)
        order.push_back(line);
    return order;
}

} // namespace Geom
