// Sets of lines that are difficult for intersection finders, each from its own generator.
#pragma once

#include "Geom/Geom_LineEvents2D.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <random>

namespace linesets
{
using Geom::Line2D;
using Geom::LineSet2D;
using Geom::Point2D;
using Random = std::mt19937;

inline double Uniform(Random& random, double from, double to)
{
    return from + (to - from) * double(random() >> 5) / double(1u << 27);
}
inline int Whole(Random& random, int from, int to)
{
    return from + int(random() % unsigned(to - from + 1));
}

/// Calls make() for each of @p n lines.
template <class Make>
LineSet2D Lines(std::size_t n, const Make& make)
{
    LineSet2D lines(n);
    std::generate(lines.begin(), lines.end(), make);
    return lines;
}

/// With ends at() by at().
template <class At>
LineSet2D Between(std::size_t n, const At& at)
{
    return Lines(n, [&] { return Line2D{{at(), at()}, {at(), at()}}; });
}

inline LineSet2D Short(Random& random, std::size_t n)
{
    const double length = 200 / std::sqrt(double(n));
    return Lines(n, [&] {
        const double x = Uniform(random, 0, 100), y = Uniform(random, 0, 100);
        const double dx = Uniform(random, -length, length), dy = Uniform(random, -length, length);
        return Line2D{{x, y}, {x + dx, y + dy}};
    });
}

inline LineSet2D Long(Random& random, std::size_t n)
{
    return Between(n, [&] { return Uniform(random, 0, 100); });
}

/// Short ones, a few long ones among them, and a crowd in one corner.
inline LineSet2D Mixed(Random& random, std::size_t n)
{
    LineSet2D lines = Short(random, n / 2);
    for (const Line2D& line : Long(random, n / 20))
        lines.push_back(line);
    for (const auto& [a, b] : Short(random, n / 2))
        lines.push_back({{a.x / 1000, a.y / 1000}, {b.x / 1000, b.y / 1000}});
    return lines;
}

/// Ends on whole numbers: shared ends, overlaps, points, verticals, lines against the order.
inline LineSet2D Lattice(Random& random, std::size_t n)
{
    return Between(n, [&] { return double(Whole(random, 0, 4)); });
}

/// Ends a fraction of the half-epsilon apart from each other.
inline LineSet2D NearTolerance(Random& random, std::size_t n)
{
    return Between(n, [&] { return Whole(random, 0, 3) + Whole(random, -6, 6) * 1.25e-5; });
}

inline LineSet2D Grid(Random& random, std::size_t n)
{
    LineSet2D lines;
    const double end = double(n) / 2, reach = Whole(random, -1, 1) * 4e-5;
    for (double at = 0; at < end; ++at)
        lines.insert(lines.end(), {{{0, at}, {end, at + reach}}, {{at, 0}, {at + reach, end}}});
    return lines;
}

inline LineSet2D Star(Random& random, std::size_t n)
{
    return Lines(n, [&] {
        const double x = Uniform(random, -9, 9), y = Uniform(random, -9, 9);
        return Line2D{{-x, -y}, {x, y * Whole(random, 1, 2)}};
    });
}

/// Verticals and near-verticals that lean both ways by about a half-epsilon.
inline LineSet2D Fan(Random& random, std::size_t n)
{
    return Lines(n, [&] {
        const double x = Whole(random, 0, 3) * 3e-5, y = Uniform(random, 0, 1);
        return Line2D{{x, y}, {x + Uniform(random, -6e-5, 6e-5), y + Uniform(random, -2, 2)}};
    });
}

/// Parallels a fraction of the half-epsilon apart.
inline LineSet2D Comb(Random& random, std::size_t n)
{
    const double pitch = Uniform(random, 0.05, 1.5) * 5e-5, slope = Whole(random, -1, 1);
    double y = -pitch;
    return Lines(n, [&] {
        y += pitch;
        return Line2D{{Uniform(random, 0, 1), y}, {10, y + 10 * slope}};
    });
}

/// Stretches of a few lines, and copies of them.
inline LineSet2D Overlapping(Random& random, std::size_t n)
{
    return Lines(n, [&] {
        const double a = Whole(random, 0, 8), b = Whole(random, 0, 8), k = Whole(random, -1, 1);
        return Line2D{{a, a * k}, {b, b * k}};
    });
}

inline LineSet2D Copies(Random& random, std::size_t n)
{
    return LineSet2D(n, Long(random, 1).front());
}

inline LineSet2D FarOut(Random& random, std::size_t n)
{
    constexpr double kFar[] = {5e6, 1e9, 1e15, 1e200};
    const double away = kFar[random() % 4];
    LineSet2D lines = Lattice(random, n);
    for (Line2D& line : lines)
        for (Point2D* p : {&line.first, &line.second})
            *p = {p->x + away, p->y - away};
    return lines;
}

using Generator = LineSet2D (*)(Random&, std::size_t);
constexpr Generator kGenerators[] = {Short, Long, Mixed, Lattice,     NearTolerance, Grid,
                                     Star,  Fan,  Comb,  Overlapping, Copies,        FarOut};

} // namespace linesets
