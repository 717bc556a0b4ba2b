// Sets of lines that are hard on a finder of meetings, each drawn from a generator of its own.
#pragma once

#include "Geom/Geom_LineEvents2D.h"

#include <cmath>
#include <cstddef>
#include <random>

namespace linesets
{
using Geom::Line2D;
using Geom::LineSet2D;
using Random = std::mt19937;

inline double Uniform(Random& random, double from, double to)
{
    return from + (to - from) * double(random() >> 5) / double(1u << 27);
}
inline int Whole(Random& random, int from, int to)
{
    return from + int(random() % unsigned(to - from + 1));
}
inline Line2D Line(double x1, double y1, double x2, double y2) { return {{x1, y1}, {x2, y2}}; }

inline LineSet2D Short(Random& random, std::size_t n)
{
    LineSet2D lines;
    const double length = 200 / std::sqrt(double(n));
    for (std::size_t i = 0; i < n; ++i)
    {
        const double x = Uniform(random, 0, 100), y = Uniform(random, 0, 100);
        lines.push_back(
            Line(x, y, x + Uniform(random, -length, length), y + Uniform(random, -length, length)));
    }
    return lines;
}

inline LineSet2D Long(Random& random, std::size_t n)
{
    LineSet2D lines;
    for (std::size_t i = 0; i < n; ++i)
        lines.push_back(Line(Uniform(random, 0, 100), Uniform(random, 0, 100),
                             Uniform(random, 0, 100), Uniform(random, 0, 100)));
    return lines;
}

/// Short ones, a few long ones among them, and a crowd in one corner.
inline LineSet2D Mixed(Random& random, std::size_t n)
{
    LineSet2D lines = Short(random, n / 2);
    for (const Line2D& line : Long(random, n / 20))
        lines.push_back(line);
    for (const Line2D& line : Short(random, n / 2))
        lines.push_back(Line(line.first.x / 1000, line.first.y / 1000, line.second.x / 1000,
                             line.second.y / 1000));
    return lines;
}

/// Ends on whole numbers: shared ends, overlaps, points, verticals, lines against the order.
inline LineSet2D Lattice(Random& random, std::size_t n)
{
    LineSet2D lines;
    for (std::size_t i = 0; i < n; ++i)
        lines.push_back(Line(Whole(random, 0, 4), Whole(random, 0, 4), Whole(random, 0, 4),
                             Whole(random, 0, 4)));
    return lines;
}

/// Ends a fraction of the half-epsilon apart from each other.
inline LineSet2D NearTolerance(Random& random, std::size_t n)
{
    LineSet2D lines;
    const auto at = [&] { return Whole(random, 0, 3) + Whole(random, -6, 6) * 1.25e-5; };
    for (std::size_t i = 0; i < n; ++i)
        lines.push_back(Line(at(), at(), at(), at()));
    return lines;
}

inline LineSet2D Grid(Random& random, std::size_t n)
{
    LineSet2D lines;
    const double end = double(n) / 2, reach = Whole(random, -1, 1) * 4e-5;
    for (std::size_t i = 0; i < n / 2; ++i)
    {
        lines.push_back(Line(0, double(i), end, double(i) + reach));
        lines.push_back(Line(double(i), 0, double(i) + reach, end));
    }
    return lines;
}

inline LineSet2D Star(Random& random, std::size_t n)
{
    LineSet2D lines;
    for (std::size_t i = 0; i < n; ++i)
    {
        const double x = Uniform(random, -9, 9), y = Uniform(random, -9, 9);
        lines.push_back(Line(-x, -y, x, y * Whole(random, 1, 2)));
    }
    return lines;
}

/// Verticals and near-verticals that lean both ways by about a half-epsilon.
inline LineSet2D Fan(Random& random, std::size_t n)
{
    LineSet2D lines;
    for (std::size_t i = 0; i < n; ++i)
    {
        const double x = Whole(random, 0, 3) * 3e-5, y = Uniform(random, 0, 1);
        lines.push_back(Line(x, y, x + Uniform(random, -6e-5, 6e-5), y + Uniform(random, -2, 2)));
    }
    return lines;
}

inline LineSet2D Comb(Random& random, std::size_t n)
{
    LineSet2D lines;
    const double pitch = Uniform(random, 0.05, 1.5) * 5e-5, slope = Whole(random, -1, 1);
    for (std::size_t i = 0; i < n; ++i)
        lines.push_back(
            Line(Uniform(random, 0, 1), double(i) * pitch, 10, double(i) * pitch + 10 * slope));
    return lines;
}

/// Stretches of a few lines, and copies of them.
inline LineSet2D Overlapping(Random& random, std::size_t n)
{
    LineSet2D lines;
    for (std::size_t i = 0; i < n; ++i)
    {
        const double a = Whole(random, 0, 8), b = Whole(random, 0, 8), k = Whole(random, -1, 1);
        lines.push_back(Line(a, a * k, b, b * k));
    }
    return lines;
}

inline LineSet2D Copies(Random& random, std::size_t n)
{
    return LineSet2D(n, Long(random, 1).front());
}

inline LineSet2D FarOut(Random& random, std::size_t n)
{
    LineSet2D lines;
    constexpr double kFar[] = {5e6, 1e9, 1e15, 1e200};
    const double far = kFar[random() % 4];
    for (const Line2D& line : Lattice(random, n))
    {
        lines.push_back(
            Line(line.first.x + far, line.first.y - far, line.second.x + far, line.second.y - far));
    }
    return lines;
}

using Generator = LineSet2D (*)(Random&, std::size_t);
constexpr struct
{
    const char* name;
    Generator make;
} kGenerators[] = {
    {"short", Short},
    {"long", Long},
    {"mixed", Mixed},
    {"lattice", Lattice},
    {"near the tolerance", NearTolerance},
    {"grid", Grid},
    {"star", Star},
    {"fan", Fan},
    {"comb", Comb},
    {"overlapping", Overlapping},
    {"copies", Copies},
    {"far out", FarOut},
};

} // namespace linesets
