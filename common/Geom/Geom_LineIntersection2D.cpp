#include "Geom/Geom_LineIntersection2D.h"

#include "Geom/Geom_Line2D.h"
#include "Geom/exact/ClearCrossing.h"
#include "Geom/exact/Expansion.h"
#include "Geom/exact/Plane.h"

namespace Geom
{
namespace
{

using geom::AreUsable;
using geom::Clamped;
using geom::Cross;
using geom::IsNear;
using geom::IsUsable;
using geom::LengthOf;
using geom::LexicographicallyLess;
using geom::SafeFactor;
using geom::SideOf;

/// Where v crosses u, from 0 at u's first point to 1, without rounding errors before the division.
double ExactCrossingParameter(const Line2D& u, const Line2D& v)
{
    const double factor = geom::ExactFactor({u.first, u.second, v.first, v.second});
    const auto way = [factor](const Point2D& from, const Point2D& to) {
        return std::pair{geom::ExactDifference(to.x * factor, from.x * factor),
                         geom::ExactDifference(to.y * factor, from.y * factor)};
    };
    const auto [dvx, dvy] = way(v.first, v.second);
    const auto crossWithV = [&, &dvx = dvx, &dvy = dvy](const auto& d) {
        geom::ExactSum cross;
        cross.AddProduct(d.first, dvy);
        cross.AddProduct(-d.second, dvx);
        return cross.Value();
    };
    return crossWithV(way(u.first, v.first)) / crossWithV(way(u.first, u.second));
}

/// The crossing point of segments that cross, the same bits for every order of the arguments.
/// Missing when it cannot be computed: beyond the range in which products are exact.
Point2D CrossingPoint(const Line2D& line1, const Line2D& line2)
{
    const geom::OrderedLines ordered(line1, line2);
    const Line2D &u = ordered.First(), &v = ordered.Second();
    const double factor = SafeFactor({u.first, u.second, v.first, v.second});
    const Point2D a = u.first * factor;
    const Point2D du = u.second * factor - a;
    const Point2D dv = v.second * factor - v.first * factor;
    const double cross = Cross(du, dv);
    const double terms = std::fabs(du.x * dv.y) + std::fabs(du.y * dv.x);
    // Nearly parallel: rounding errors may be greater than the cross product.
    const double t = std::fabs(cross) > terms * 0x1p-40 + geom::kUnderflowError
                         ? Cross(v.first * factor - a, dv) / cross
                         : ExactCrossingParameter(u, v);
    const Point2D p = (a + du * t) * (1 / factor);
    if (!IsUsable(p))
        return MissingValue<Point2D>();
    return Clamped(Clamped(p, u.first, u.second), v.first, v.second);
}

/// Further apart on an axis than the half-epsilon.
bool AreDisjoint(double a1, double b1, double a2, double b2, double halfEpsilon)
{
    const auto [low1, high1] = std::minmax(a1, b1);
    const auto [low2, high2] = std::minmax(a2, b2);
    return low2 - high1 > halfEpsilon || low1 - high2 > halfEpsilon;
}

/// The common points of two segments.
struct Contact
{
    IntersectionType type = IntersectionType::Any; ///< Any: nothing
    Point2D low, high;                             ///< equal unless they overlap
};

/// From the extremes of the touching ends along the longer side of the box of both segments.
Contact ContactOfEnds(const Point2D* ends, int count, bool isTall, const Precision3D& precision)
{
    const auto isBefore = [isTall](const Point2D& p, const Point2D& q) {
        return isTall ? LexicographicallyLess({p.y, p.x}, {q.y, q.x}) : LexicographicallyLess(p, q);
    };
    const auto [low, high] = std::minmax_element(ends, ends + count, isBefore);
    if (IsNear(*low, *high, precision))
        return {IntersectionType::Touching, *low, *low};
    if (PointPrecedes2D(*high, *low, precision) && !PointPrecedes2D(*low, *high, precision))
        return {IntersectionType::Overlap, *high, *low};
    return {IntersectionType::Overlap, *low, *high};
}

Contact ContactOf(const Line2D& u, const Line2D& v, const Precision3D& precision)
{
    const double hx = precision.halfEpsilon[0], hy = precision.halfEpsilon[1];
    if (Point2D point; geom::CrossClearly(u, v, hx, hy, point))
        return {IntersectionType::Crossing, point, point};
    if (AreDisjoint(u.first.x, u.second.x, v.first.x, v.second.x, hx) ||
        AreDisjoint(u.first.y, u.second.y, v.first.y, v.second.y, hy) ||
        !AreUsable({u.first, u.second, v.first, v.second}))
        return {};
    const int v1 = SideOf(u.first, u.second, v.first, hx, hy);
    const int v2 = SideOf(u.first, u.second, v.second, hx, hy);
    if (v1 == v2 && v1 != 0)
        return {};
    const int u1 = SideOf(v.first, v.second, u.first, hx, hy);
    const int u2 = SideOf(v.first, v.second, u.second, hx, hy);
    if (u1 == u2 && u1 != 0)
        return {};

    Point2D ends[4];
    int count = 0;
    const auto addIfOn = [&](int side, const Point2D& p, const Line2D& line) {
        if (side == 0 && LineContainsPoint2D(line.first, line.second, p, precision))
            ends[count++] = p;
    };
    addIfOn(v1, v.first, u);
    addIfOn(v2, v.second, u);
    addIfOn(u1, u.first, v);
    addIfOn(u2, u.second, v);
    if (count > 0)
    {
        const auto [left, right] = std::minmax({u.first.x, u.second.x, v.first.x, v.second.x});
        const auto [low, high] = std::minmax({u.first.y, u.second.y, v.first.y, v.second.y});
        return ContactOfEnds(ends, count, high - low > right - left, precision);
    }
    const auto areOpposite = [](const Line2D& line, const Line2D& other) {
        return SideOf(line.first, line.second, other.first, 0, 0) *
                   SideOf(line.first, line.second, other.second, 0, 0) ==
               -1;
    };
    if (!areOpposite(u, v) || !areOpposite(v, u))
        return {};
    const Point2D point = CrossingPoint(u, v);
    return IsMissing2D(point) ? Contact() : Contact{IntersectionType::Crossing, point, point};
}

} // namespace

int LineIntersection2D(Point2D& out1, Point2D& out2, const Point2D& a1, const Point2D& b1,
                       const Point2D& a2, const Point2D& b2, const Precision3D& precision)
{
    const Contact contact = ContactOf({a1, b1}, {a2, b2}, precision);
    const bool isNone = contact.type == IntersectionType::Any;
    const bool isOverlap = contact.type == IntersectionType::Overlap;
    out1 = isNone ? MissingValue<Point2D>() : contact.low;
    out2 = isOverlap ? contact.high : MissingValue<Point2D>();
    return isNone ? 0 : isOverlap ? 2 : 1;
}

Point2D LineIntersection2D(const Point2D& a1, const Point2D& b1, const Point2D& a2,
                           const Point2D& b2, IntersectionType type)
{
    const Contact contact = ContactOf({a1, b1}, {a2, b2}, Precision());
    const bool isAsked = type == IntersectionType::Any || type == contact.type;
    return isAsked && contact.type != IntersectionType::Any ? contact.low : MissingValue<Point2D>();
}

Point2D InfLineIntersection2D(const Point2D& a1, const Point2D& b1, const Point2D& a2,
                              const Point2D& b2)
{
    const Precision3D& precision = Precision();
    if (!AreUsable({a1, b1, a2, b2}) || IsNear(a1, b1, precision) || IsNear(a2, b2, precision))
        return MissingValue<Point2D>();
    const double factor = SafeFactor({a1, b1, a2, b2});
    const double hx = precision.halfEpsilon[0] * factor, hy = precision.halfEpsilon[1] * factor;
    const Point2D u = b1 * factor - a1 * factor, v = b2 * factor - a2 * factor;
    const double cross = Cross(u, v);
    const auto allowed = [&](const Point2D& d) {
        return hx * std::fabs(d.y) + hy * std::fabs(d.x);
    };
    if (!(std::fabs(cross) > std::min(allowed(u), allowed(v))))
        return MissingValue<Point2D>();
    const double t = Cross(a2 * factor - a1 * factor, v) / cross;
    const Point2D point = (a1 * factor + u * t) * (1 / factor);
    return IsUsable(point) ? point : MissingValue<Point2D>();
}

Point2D LineCollision2D(const Point2D& a1, const Point2D& b1, const Point2D& a2, const Point2D& b2)
{
    const Contact contact = ContactOf({a1, b1}, {a2, b2}, Precision());
    if (contact.type == IntersectionType::Any)
        return MissingValue<Point2D>();
    return LengthOf(contact.high - a1) < LengthOf(contact.low - a1) ? contact.high : contact.low;
}

bool LineIsCrossing2D(const Point2D& a1, const Point2D& b1, const Point2D& a2, const Point2D& b2,
                      const Precision3D& precision)
{
    return ContactOf({a1, b1}, {a2, b2}, precision).type == IntersectionType::Crossing;
}

} // namespace Geom
