#include "Geom/tree/QuadItems.h"

#include "Geom/Geom_Line2D.h"
#include "Geom/exact/Plane.h"
#include "Geom/exact/RingLocation.h"

#include <stdexcept>

namespace geom
{

void QuadPlaces::Clear()
{
    dense_.clear();
    sparse_.clear();
}

std::uint32_t& QuadPlaces::At(std::uint32_t id, std::size_t itemCount)
{
    if (id < dense_.size())
        return dense_[id];
    if (const auto found = sparse_.find(id); found != sparse_.end())
        return found->second;
    if (id > 4 * itemCount + 4096)
        return sparse_.try_emplace(id, kNone).first->second;
    dense_.resize(std::max(std::size_t{id} + 1, dense_.size() * 3 / 2), kNone);
    for (auto entry = sparse_.begin(); entry != sparse_.end();)
        if (entry->first < dense_.size())
        {
            dense_[entry->first] = entry->second;
            entry = sparse_.erase(entry);
        }
        else
            ++entry;
    return dense_[id];
}

void QuadItems::Reserve(std::size_t items, std::size_t points)
{
    points_.reserve(points);
    places_.Reserve(items);
}

void QuadItems::Clear()
{
    points_.clear();
    places_.Clear();
    count_ = unused_ = 0;
}

std::uint32_t QuadItems::Store(std::uint32_t id, const Point2D* points, std::size_t count,
                               bool isRegion)
{
    std::uint32_t& place = places_.At(id, count_);
    const bool isNew = place == QuadPlaces::kNone;
    const bool isOpen = !isRegion && count > 0 && !(points[0] == points[count - 1]);
    const std::size_t size = count + (isOpen ? 1 : 0);
    std::uint32_t room = isNew ? 0 : HeaderAt(place).room;
    if (isNew || size > room)
    {
        const std::size_t end = points_.size();
        if (size + 1 >= QuadPlaces::kNone - end)
            throw std::length_error("Geom: too many points");
        points_.resize(end + 1 + size);
        if (!isNew)
            points_[place] = std::bit_cast<Point2D>(QuadRing{QuadPlaces::kNone, 0, room});
        unused_ += room;
        count_ += isNew ? 1 : 0;
        place = static_cast<std::uint32_t>(end);
        room = static_cast<std::uint32_t>(size);
    }
    points_[place] = std::bit_cast<Point2D>(
        QuadRing{id, static_cast<std::uint32_t>(size), room, isRegion ? 1u : 0u});
    Point2D* const ring = points_.data() + place + 1;
    std::copy_n(points, count, ring);
    if (isOpen)
        ring[count] = points[0];
    return place;
}

void QuadItems::StoreAll(const Point2D* points, const std::uint32_t* corners,
                         const std::uint32_t* starts, std::uint32_t count)
{
    const std::uint64_t most = std::uint64_t{starts[count] - starts[0]} + 2 * std::uint64_t{count};
    if (most >= QuadPlaces::kNone)
        throw std::length_error("Geom: too many points");
    points_.resize(static_cast<std::size_t>(most));
    places_.Reserve(count);
    count_ = count;
    std::uint32_t place = 0;
    for (std::uint32_t id = 0; id < count; ++id)
    {
        Point2D* const ring = points_.data() + place + 1;
        std::uint32_t size = starts[id + 1] - starts[id];
        if (corners == nullptr)
            std::copy_n(points + starts[id], size, ring);
        else
            for (std::uint32_t i = 0; i < size; ++i)
                ring[i] = points[corners[starts[id] + i]];
        if (size > 0 && !(ring[0] == ring[size - 1]))
            ring[size++] = ring[0];
        points_[place] = std::bit_cast<Point2D>(QuadRing{id, size, size});
        places_.At(id, count) = place;
        place += 1 + size;
    }
    points_.resize(place);
}

void QuadItems::Compact()
{
    std::vector<Point2D> kept;
    kept.reserve(points_.size() - unused_);
    ForItems([&](std::uint32_t place) {
        QuadRing header = HeaderAt(place);
        header.room = header.count;
        places_.At(header.id, count_) = static_cast<std::uint32_t>(kept.size());
        kept.push_back(std::bit_cast<Point2D>(header));
        const Point2D* const ring = points_.data() + place + 1;
        kept.insert(kept.end(), ring, ring + header.count);
    });
    points_ = std::move(kept);
    unused_ = 0;
}

/// Calls visit(points, count) for each ring of an item until it returns true.
template <class Visit>
void QuadItems::ForRings(std::uint32_t place, const Visit& visit) const
{
    const QuadRing header = HeaderAt(place);
    const Point2D *ring = points_.data() + place + 1, *const end = ring + header.count;
    for (bool isDone = false; !isDone && ring != end;)
    {
        const Point2D* const last =
            header.isRegion == 0
                ? end
                : std::find_if(ring, end, [](const Point2D& p) { return std::isnan(p.x); });
        isDone = visit(ring, std::size_t(last - ring));
        ring = last + (last == end ? 0 : 1);
    }
}

Extents2D QuadItems::BoxOf(std::uint32_t place) const
{
    const QuadRing header = HeaderAt(place);
    const Point2D* const ring = points_.data() + place + 1;
    Extents2D box;
    bool areUsable = true;
    for (std::uint32_t i = 0; i < header.count; ++i)
    {
        const Point2D& p = ring[i];
        const bool isUsable = IsUsable(p);
        // A region was checked before; the separators between its rings are not part of it.
        areUsable = areUsable && (isUsable || header.isRegion != 0);
        if (isUsable)
            box = {std::min(box.minX, p.x), std::max(box.maxX, p.x), std::min(box.minY, p.y),
                   std::max(box.maxY, p.y)};
    }
    return areUsable ? box : Extents2D();
}

bool QuadItems::Contains(std::uint32_t place, const Point2D& p) const
{
    bool isInside = false;
    ForRings(place, [&](const Point2D* ring, std::size_t count) {
        const PointLocation location = LocateInRing(ring, count, p, precision_);
        isInside =
            location == PointLocation::OnBorder || isInside != (location == PointLocation::Inside);
        return location == PointLocation::OnBorder;
    });
    return isInside;
}

bool QuadItems::MeetsBox(std::uint32_t place, const Extents2D& box) const
{
    bool doMeet = false;
    ForRings(place, [&](const Point2D* ring, std::size_t count) {
        for (std::size_t i = 0; i < count && !doMeet; ++i)
            doMeet = LineMeetsBox(ring[i], ring[i + 1 < count ? i + 1 : i], box, precision_);
        return doMeet;
    });
    return doMeet || Contains(place, {box.minX, box.minY}); // the box within the item
}

double QuadItems::DistanceOf(std::uint32_t place, const Point2D& p) const
{
    if (Contains(place, p))
        return 0;
    double least = MissingValue<double>();
    ForRings(place, [&](const Point2D* ring, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i)
            least = std::min(least, LineDistanceToPoint2D(ring[i], ring[i + 1 < count ? i + 1 : i],
                                                          p, false, precision_));
        return false;
    });
    return least;
}

} // namespace geom
