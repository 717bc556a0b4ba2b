/// @file
/// @internal The items of a quadtree: their rings, in one array.
#pragma once

#include "Geom/Geom_Extents2D.h"
#include "Geom/Geom_Polygon.h"
#include "Geom/tree/QuadKernels.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <vector>

namespace geom
{

using Geom::Extents2D;
using Geom::Precision3D;

/// The position of each identifier's item: by index while the identifiers are dense, else by hash.
class QuadPlaces
{
public:
    static constexpr std::uint32_t kNone = 0xffffffff;

    void Clear();
    void Reserve(std::size_t count) { dense_.resize(count, kNone); }
    /// The place of @p id, kNone for a new one.
    std::uint32_t& At(std::uint32_t id, std::size_t itemCount);

private:
    std::vector<std::uint32_t> dense_;
    std::unordered_map<std::uint32_t, std::uint32_t> sparse_;
};

/// Rings one after another, each after its header (QuadRing); an item is the place of the header.
/// The rings of a region are separated by NaN points; the kernels leave regions to Contains().
class QuadItems
{
public:
    explicit QuadItems(const Precision3D& precision) : precision_(precision) {}

    void Reserve(std::size_t items, std::size_t points);
    void Clear();
    /// Identifiers.
    std::size_t Count() const { return count_; }
    /// The place of @p id, or QuadPlaces::kNone.
    std::uint32_t PlaceOf(std::uint32_t id) { return places_.At(id, count_); }
    /// Stores the points of @p id where they were before if they fit, else after all others;
    /// closes a ring by its first point.
    /// @param isRegion  whether they are rings separated by NaN
    /// @returns the place
    /// @throws std::length_error beyond 2^32 - 2 places
    std::uint32_t Store(std::uint32_t id, const Point2D* points, std::size_t count, bool isRegion);
    /// Stores rings in an empty store; the arguments as QuadTree2D::Load has them.
    /// @throws std::length_error beyond 2^32 - 2 places
    void StoreAll(const Point2D* points, const std::uint32_t* corners, const std::uint32_t* starts,
                  std::uint32_t count);
    /// Whether the space of moved rings is too large.
    bool IsLoose() const { return unused_ > points_.size() / 2 + 1024; }
    /// Removes the space of moved rings; all places change.
    void Compact();

    QuadRing HeaderAt(std::uint32_t place) const { return std::bit_cast<QuadRing>(points_[place]); }
    const Point2D* Points() const { return points_.data(); }
    /// The box of an item; empty when a coordinate is not usable or there is no point.
    Extents2D BoxOf(std::uint32_t place) const;
    /// Whether a usable point lies in an item or on its border.
    bool Contains(std::uint32_t place, const Point2D& p) const;
    /// Whether a box widened by the half-epsilons meets an item or its inside.
    bool MeetsBox(std::uint32_t place, const Extents2D& box) const;
    /// The distance of a usable point from an item, 0 when it contains it.
    double DistanceOf(std::uint32_t place, const Point2D& p) const;
    /// Calls visit(place) for each item in use.
    template <class Visit>
    void ForItems(const Visit& visit) const
    {
        for (std::size_t place = 0; place < points_.size();)
        {
            const QuadRing header = HeaderAt(static_cast<std::uint32_t>(place));
            if (header.id != QuadPlaces::kNone)
                visit(static_cast<std::uint32_t>(place));
            place += 1 + header.room;
        }
    }

private:
    template <class Visit>
    void ForRings(std::uint32_t place, const Visit& visit) const;

    Precision3D precision_;
    std::vector<Point2D> points_;
    std::size_t count_ = 0;  ///< identifiers
    std::size_t unused_ = 0; ///< points of rings that were moved
    QuadPlaces places_;
};

} // namespace geom
