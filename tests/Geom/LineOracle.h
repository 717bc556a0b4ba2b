// The reference of the finders: every pair tested with the finder's own predicate, and an order in
// which no event comes after one that must follow it. Used by the tests and by the fuzz targets.
#pragma once

#include "Geom/Geom_LineEvents2D.h"
#include "Geom/Geom_LineIntersection2D.h"

#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

namespace oracle
{
using namespace Geom;

/// Whether two lines make an event, and its points; what the finder leaves out is missing.
struct Contact
{
    bool isOne = false;
    Point2D point, point2 = MissingValue<Point2D>();
};

struct Finder
{
    const char* name;
    void (*find)(std::vector<LineEvent2D>&, const LineSet2D&);
    Contact (*test)(const Line2D&, const Line2D&);
};

inline Contact Intersection(const Line2D& u, const Line2D& v)
{
    Contact c;
    Point2D other;
    c.isOne =
        LineIntersection2D(c.point, other, u.first, u.second, v.first, v.second, Precision()) > 0;
    return c;
}

constexpr Finder kFinders[] = {
    {"crossing", LineCrossingEvents2D,
     [](const Line2D& u, const Line2D& v) {
         Contact c = Intersection(u, v);
         c.isOne = LineIsCrossing2D(u.first, u.second, v.first, v.second, Precision());
         return c;
     }},
    {"intersection", LineIntersectionEvents2D, Intersection},
    {"coincident", LineCoincidentEvents2D,
     [](const Line2D& u, const Line2D& v) {
         Contact c;
         c.isOne = LineIntersection2D(c.point, c.point2, u.first, u.second, v.first, v.second,
                                      Precision()) == 2;
         const auto isEnd = [&](const Point2D& p) { return IsEqual2D(c.point2, p, Precision()); };
         if ((isEnd(u.first) || isEnd(u.second)) && (isEnd(v.first) || isEnd(v.second)))
             c.point2 = MissingValue<Point2D>();
         return c;
     }},
    {"collision", LineCollisionEvents2D, [](const Line2D& u, const Line2D& v) {
         const Point2D point = LineCollision2D(u.first, u.second, v.first, v.second);
         return Contact{!IsMissing2D(point), point};
     }}};

/// Whether no event comes after one that must follow it by a chain of EvLess, with no chain that
/// leads back. Checked for up to 64 events; in larger lists, whether none must precede the one
/// before it.
inline bool IsInOrder(const std::vector<LineEvent2D>& events, const LineSet2D& lines)
{
    const EvLess less(lines, Precision());
    const auto mustPrecede = [&](const LineEvent2D& a, const LineEvent2D& b) {
        return less(a, b) && !less(b, a);
    };
    const std::size_t n = events.size();
    for (std::size_t i = 1; i < n; ++i)
        if (mustPrecede(events[i], events[i - 1]))
            return false;
    if (n > 64)
        return true;
    std::vector<std::uint64_t> after(n, 0); // bit k of after[i]: k may follow i by some chain
    for (std::size_t i = 0; i < n; ++i)
        for (std::size_t k = 0; k < n; ++k)
            if (i != k && !mustPrecede(events[k], events[i]))
                after[i] |= std::uint64_t(1) << k;
    for (std::size_t via = 0; via < n; ++via)
        for (std::size_t i = 0; i < n; ++i)
            if (after[i] >> via & 1)
                after[i] |= after[via];
    for (std::size_t i = 0; i < n; ++i)
        for (std::size_t k = i + 1; k < n; ++k)
            if ((after[k] >> i & 1) > (after[i] >> k & 1)) // back, but not forth
                return false;
    return true;
}

/// What is wrong with a finder's events for @p lines; empty when nothing is.
inline std::string WrongWith(const Finder& finder, const LineSet2D& lines)
{
    std::vector<LineEvent2D> events;
    finder.find(events, lines);
    std::ostringstream wrong;
    wrong.precision(17);
    const std::size_t n = lines.size();
    std::vector<const LineEvent2D*> found(n * n, nullptr);
    for (const LineEvent2D& event : events)
    {
        const std::size_t first = event.line1 - lines.begin(), second = event.line2 - lines.begin();
        if (!(first < second && second < n))
            return "lines out of order";
        if (found[first * n + second] != nullptr)
            wrong << "reported twice: " << first << ' ' << second << '\n';
        found[first * n + second] = &event;
    }
    for (std::size_t i = 0; i < n; ++i)
        for (std::size_t k = i + 1; k < n; ++k)
        {
            const Contact contact = finder.test(lines[i], lines[k]);
            const LineEvent2D* event = found[i * n + k];
            if (contact.isOne != (event != nullptr))
                wrong << (contact.isOne ? "missed: " : "not a pair: ") << i << ' ' << k << '\n';
            else if (event && !(event->point == contact.point && event->point2 == contact.point2))
                wrong << "another point: " << i << ' ' << k << '\n';
        }
    if (!IsInOrder(events, lines))
        wrong << "events out of order\n";
    return wrong.str().empty() ? "" : std::string(finder.name) + ": " + wrong.str();
}

} // namespace oracle
