#include "output/picture/Picture.h"
#include "problem/NumberText.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <unordered_map>
#include <utility>

namespace percova::picture
{
namespace
{

constexpr double kRounding = 1e-9; ///< of a solution, relative

/// A piece of a contour within one triangle, from one of its sides to another.
struct Piece
{
    std::uint64_t sides[2];
    Point ends[2];
};

std::uint64_t Side(int a, int b)
{
    const auto low = static_cast<std::uint64_t>(std::min(a, b));
    return low << 32 | static_cast<std::uint64_t>(std::max(a, b));
}

std::vector<Piece> PiecesOf(const Triangles& triangles, double level)
{
    std::vector<Piece> pieces;
    for (const std::array<int, 3>& corners : triangles.corners)
    {
        double value[3];
        for (std::size_t i = 0; i < 3; ++i)
            value[i] = triangles.head[static_cast<std::size_t>(corners[i])];
        const int above = (value[0] >= level) + (value[1] >= level) + (value[2] >= level);
        if (above == 0 || above == 3 || !std::isfinite(value[0] + value[1] + value[2]))
            continue;
        Piece piece{};
        int found = 0;
        for (std::size_t i = 0; i < 3; ++i)
        {
            const std::size_t j = (i + 1) % 3;
            if ((value[i] >= level) == (value[j] >= level))
                continue;
            const double t = (level - value[i]) / (value[j] - value[i]);
            const Point a = triangles.points[static_cast<std::size_t>(corners[i])];
            const Point b = triangles.points[static_cast<std::size_t>(corners[j])];
            piece.sides[found] = Side(corners[i], corners[j]);
            piece.ends[found++] = {a.x + t * (b.x - a.x), a.y + t * (b.y - a.y)};
        }
        pieces.push_back(piece);
    }
    return pieces;
}

/// The pieces that end on a side: two inside the mesh, one on its rim.
using Meeting = std::unordered_map<std::uint64_t, std::array<int, 2>>;

/// Follows the pieces from piece @p at through its end @p end until there is none left.
void Follow(const std::vector<Piece>& pieces, const Meeting& meeting, int at, int end,
            std::vector<bool>& used, Polyline& line)
{
    for (;;)
    {
        const Piece& piece = pieces[static_cast<std::size_t>(at)];
        line.push_back(piece.ends[end]);
        const std::array<int, 2>& both = meeting.at(piece.sides[end]);
        const int next = both[0] == at ? both[1] : both[0];
        if (next < 0 || used[static_cast<std::size_t>(next)])
            return;
        used[static_cast<std::size_t>(next)] = true;
        end = pieces[static_cast<std::size_t>(next)].sides[0] == piece.sides[end] ? 1 : 0;
        at = next;
    }
}

/// Where the row at height @p y crosses a triangle and the pressure is positive.
bool WetPart(const Triangles& triangles, const std::array<int, 3>& corners, double y,
             std::pair<double, double>& part)
{
    double x[2], value[2];
    int found = 0;
    for (std::size_t i = 0; i < 3 && found < 2; ++i)
    {
        const auto a = static_cast<std::size_t>(corners[i]);
        const auto b = static_cast<std::size_t>(corners[(i + 1) % 3]);
        const double ya = triangles.points[a].y, yb = triangles.points[b].y;
        if ((ya >= y) == (yb >= y))
            continue;
        const double t = (y - ya) / (yb - ya);
        x[found] = triangles.points[a].x + t * (triangles.points[b].x - triangles.points[a].x);
        value[found++] =
            triangles.pressureHead[a] + t * (triangles.pressureHead[b] - triangles.pressureHead[a]);
    }
    if (found < 2 || !(value[0] > 0 || value[1] > 0))
        return false;
    for (int i = 0; i < 2; ++i)
        if (!(value[i] > 0))
            x[i] += (x[1 - i] - x[i]) * (0 - value[i]) / (value[1 - i] - value[i]);
    part = std::minmax(x[0], x[1]);
    return std::isfinite(part.first + part.second);
}

} // namespace

Levels RoundLevels(double least, double greatest, int count)
{
    Levels levels;
    const double span = greatest - least;
    const double size = std::max(std::abs(least), std::abs(greatest));
    if (!(span > kRounding * size) || !std::isfinite(span))
        return levels;
    const double power = std::pow(10.0, std::floor(std::log10(span / count)));
    double step = power;
    for (const double factor : {1.0, 2.0, 5.0, 10.0})
        if (span / (step = factor * power) <= count)
            break;
    const double shift = 1e-9 * span + 1e-15 * size; // a level at an end counts despite rounding
    for (double i = std::ceil((least - shift) / step); i * step <= greatest + shift; ++i)
        levels.values.push_back(i * step);
    levels.decimals = std::max(0, static_cast<int>(-std::floor(std::log10(step) + 1e-9)));
    return levels;
}

std::vector<Polyline> ContourOf(const Triangles& triangles, double level)
{
    const std::vector<Piece> pieces = PiecesOf(triangles, level);
    Meeting meeting;
    for (std::size_t i = 0; i < pieces.size(); ++i)
        for (const std::uint64_t side : pieces[i].sides)
        {
            std::array<int, 2>& both = meeting.try_emplace(side, std::array{-1, -1}).first->second;
            both[both[0] < 0 ? 0 : 1] = static_cast<int>(i);
        }
    std::vector<bool> used(pieces.size());
    std::vector<Polyline> lines;
    for (std::size_t i = 0; i < pieces.size(); ++i)
    {
        if (used[i])
            continue;
        used[i] = true;
        Polyline line, back;
        Follow(pieces, meeting, static_cast<int>(i), 0, used, back);
        Follow(pieces, meeting, static_cast<int>(i), 1, used, line);
        line.insert(line.begin(), back.rbegin(), back.rend());
        lines.push_back(Simplified(line, 0.2));
    }
    return lines;
}

std::string WetZone(const Triangles& triangles, const Frame& frame)
{
    std::vector<std::vector<std::pair<double, double>>> rows(
        static_cast<std::size_t>(frame.height) + 1);
    for (const std::array<int, 3>& corners : triangles.corners)
    {
        double low = HUGE_VAL, high = -HUGE_VAL;
        for (const int corner : corners)
        {
            low = std::min(low, triangles.points[static_cast<std::size_t>(corner)].y);
            high = std::max(high, triangles.points[static_cast<std::size_t>(corner)].y);
        }
        const double first = std::max(0.0, std::ceil(low - frame.top - 0.5));
        std::pair<double, double> part;
        for (auto row = static_cast<std::size_t>(first); row < rows.size(); ++row)
        {
            const double y = frame.top + static_cast<double>(row) + 0.5;
            if (y > high)
                break;
            if (WetPart(triangles, corners, y, part))
                rows[row].push_back(part);
        }
    }
    std::string path;
    for (std::size_t row = 0; row < rows.size(); ++row)
    {
        auto& parts = rows[row];
        std::sort(parts.begin(), parts.end());
        for (std::size_t i = 0; i < parts.size();)
        {
            std::pair<double, double> strip = parts[i];
            for (; i < parts.size() && parts[i].first < strip.second + 0.5; ++i)
                strip.second = std::max(strip.second, parts[i].second);
            const double y = frame.top + static_cast<double>(row);
            path += 'M' + Coordinates({strip.first, y}) + 'H' + Fixed(strip.second, 1) + "v1.05H" +
                    Fixed(strip.first, 1) + 'z';
        }
    }
    return path;
}

} // namespace percova::picture
