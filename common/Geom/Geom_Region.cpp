#include "Geom/Geom_Region.h"

#include "Geom/Geom_LineIntersection2D.h"
#include "Geom/events/LinePairs.h"
#include "Geom/exact/Plane.h"
#include "Geom/exact/RingLocation.h"

#include <tuple>

namespace Geom
{
namespace
{
using Ring = std::vector<Point2D>;

std::vector<const Ring*> RingsOf(const Region2D& region)
{
    std::vector<const Ring*> rings = {&region.outline};
    for (const Ring& hole : region.holes)
        rings.push_back(&hole);
    return rings;
}

bool IsUsableRing(const Ring& ring)
{
    return std::all_of(ring.begin(), ring.end(), geom::IsUsable);
}

/// The fault of a ring as a list of points.
RegionFault2D FaultOfPoints(const Ring& ring, std::size_t number, const Precision3D& precision)
{
    const auto fault = [number](RegionFlaw flaw, std::size_t edge, const Point2D& place) {
        return RegionFault2D{flaw, number, number, edge, place};
    };
    const Point2D none = MissingValue<Point2D>();
    if (const auto bad = std::find_if_not(ring.begin(), ring.end(), geom::IsUsable);
        bad != ring.end())
        return fault(RegionFlaw::NotFinite, std::size_t(bad - ring.begin()), none);
    if (ring.size() < 4)
        return fault(RegionFlaw::TooFewPoints, 0, ring.empty() ? none : ring[0]);
    if (!IsEqual2D(ring.front(), ring.back(), precision))
        return fault(RegionFlaw::NotClosed, ring.size() - 1, ring.back());
    for (std::size_t i = 0; i + 1 < ring.size(); ++i)
        if (IsEqual2D(ring[i], ring[i + 1], precision))
            return fault(RegionFlaw::RepeatedPoint, i, ring[i]);
    return {};
}

/// The first contact of edges that should have none.
class ContactFinder final : public geom::ILinePairTaker
{
public:
    ContactFinder(const std::vector<const Ring*>& rings, const Precision3D& precision)
        : precision_(precision)
    {
        for (std::size_t ring = 0; ring < rings.size(); ++ring)
        {
            firsts_.push_back(lines_.size());
            // The closing point equals the first one within the tolerance; take the first.
            for (std::size_t i = 0; i + 1 < rings[ring]->size(); ++i)
                lines_.push_back({(*rings[ring])[i], (*rings[ring])[i + 1]});
            lines_.back().second = rings[ring]->front();
        }
        firsts_.push_back(lines_.size());
    }
    RegionFault2D Find()
    {
        geom::FindLinePairs(lines_, precision_, *this);
        return first_;
    }
    void Take(const geom::LinePair* pairs, std::size_t count) override
    {
        for (const geom::LinePair* pair = pairs; pair != pairs + count; ++pair)
            Look(pair->first, pair->second);
    }

private:
    void Look(std::size_t edge1, std::size_t edge2)
    {
        const Line2D &u = lines_[edge1], &v = lines_[edge2];
        Point2D point, point2;
        const int number =
            LineIntersection2D(point, point2, u.first, u.second, v.first, v.second, precision_);
        const std::size_t ring1 = RingOf(edge1), ring2 = RingOf(edge2);
        const std::size_t begin = firsts_[ring1], end = firsts_[ring1 + 1];
        const bool areNeighbours =
            ring1 == ring2 && (edge2 == edge1 + 1 || (edge1 == begin && edge2 == end - 1));
        if (number == 0 || (areNeighbours && number == 1 && end - begin > 2))
            return;
        const RegionFault2D fault = {ring1 == ring2 ? RegionFlaw::SelfContact
                                                    : RegionFlaw::RingContact,
                                     ring1, ring2, edge1 - begin, point};
        const auto order = [](const RegionFault2D& f) {
            return std::tuple(f.flaw, f.ring, f.edge, f.otherRing, f.place.x, f.place.y);
        };
        if (first_.IsSound() || order(fault) < order(first_))
            first_ = fault;
    }
    std::size_t RingOf(std::size_t edge) const
    {
        return std::size_t(std::upper_bound(firsts_.begin(), firsts_.end(), edge) -
                           firsts_.begin()) -
               1;
    }

    const Precision3D& precision_;
    std::vector<Line2D> lines_;
    std::vector<std::size_t> firsts_; ///< the first line of each ring, and the end
    RegionFault2D first_;
};

} // namespace

PointLocation RegionLocatePoint2D(const Region2D& region, const Point2D& p,
                                  const Precision3D& precision)
{
    if (!geom::IsUsable(p) || !IsUsableRing(region.outline) ||
        !std::all_of(region.holes.begin(), region.holes.end(), IsUsableRing))
        return PointLocation::Outside;
    bool isInside = false;
    for (const Ring* ring : RingsOf(region))
    {
        const PointLocation location = geom::LocateInRing(ring->data(), ring->size(), p, precision);
        if (location == PointLocation::OnBorder)
            return location;
        isInside ^= location == PointLocation::Inside;
    }
    return isInside ? PointLocation::Inside : PointLocation::Outside;
}

double RegionArea2D(const Region2D& region)
{
    const auto areaOf = [](const Ring& ring) {
        return std::fabs(PolygonArea2D(ring.data(), ring.size()));
    };
    double area = areaOf(region.outline);
    for (const Ring& hole : region.holes)
        area -= areaOf(hole);
    return area;
}

RegionFault2D RegionCheck2D(const Region2D& region, const Precision3D& precision)
{
    const std::vector<const Ring*> rings = RingsOf(region);
    RegionFault2D first;
    for (std::size_t i = 0; i < rings.size(); ++i)
        if (const RegionFault2D fault = FaultOfPoints(*rings[i], i, precision);
            !fault.IsSound() && (first.IsSound() || fault.flaw < first.flaw))
            first = fault;
    if (!first.IsSound())
        return first;
    if (first = ContactFinder(rings, precision).Find(); !first.IsSound())
        return first;
    // Without a contact one point of a ring decides the position of the whole ring.
    const auto isWithin = [&](const Ring& inner, const Ring& outer) {
        return geom::LocateInRing(outer.data(), outer.size(), inner[0], precision) ==
               PointLocation::Inside;
    };
    for (std::size_t i = 1; i < rings.size(); ++i)
        if (!isWithin(*rings[i], *rings[0]))
            return {RegionFlaw::HoleOutside, i, 0, 0, rings[i]->front()};
    for (std::size_t i = 1; i < rings.size(); ++i)
        for (std::size_t k = 1; k < rings.size(); ++k)
            if (i != k && isWithin(*rings[i], *rings[k]))
                return {RegionFlaw::HoleInHole, i, k, 0, rings[i]->front()};
    return {};
}

} // namespace Geom
