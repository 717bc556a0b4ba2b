#include "Geom/Geom_QuadTree2D.h"

#include "Geom/Geom_CellTable.h"
#include "Geom/Geom_Region.h"
#include "Geom/exact/Plane.h"
#include "Geom/tree/QuadAxis.h"
#include "Geom/tree/QuadItems.h"
#include "platform/platform_cpu.h"

namespace Geom
{
namespace
{

using geom::QuadBox;
using geom::QuadPlaces;

constexpr std::uint32_t kNone = CellTable::MissingID();

geom::QuadKernel Kernel()
{
    return platform::SimdLevel() == 0 ? geom::sse2::kQuadKernel : geom::avx2::kQuadKernel;
}

/// The nearest item so far.
struct Nearest
{
    double distance = std::numeric_limits<double>::infinity();
    std::uint32_t id = kNone;

    void Take(double otherDistance, std::uint32_t otherId)
    {
        if (otherDistance < distance || (otherDistance == distance && otherId < id))
            *this = {otherDistance, otherId};
    }
};

} // namespace

class QuadTree2D::Impl final : geom::IQuadItems
{
public:
    Impl(const Extents2D& extents, unsigned capacity, const Precision3D& precision)
        : extents_(extents), capacity_(std::max(capacity, 1u)), precision_(precision),
          x_(extents.minX, extents.maxX, precision.halfEpsilon[0]),
          y_(extents.minY, extents.maxY, precision.halfEpsilon[1]), nodes_(capacity_),
          items_(precision), kernel_(Kernel())
    {
    }

    /// Another tree of the same kind without items.
    std::unique_ptr<Impl> MakeEmpty() const
    {
        return std::make_unique<Impl>(extents_, capacity_, precision_);
    }

    void Reserve(unsigned expected)
    {
        const unsigned count =
            std::min(expected, 1u << 24); // a wrong guess must not cause a failure
        nodes_.Reserve(count / 4, count);
        items_.Reserve(count, std::size_t{count} * kUsualPoints);
    }

    /// Without memory for all of it the tree is empty, since a part of it would find too little.
    void Insert(std::uint32_t id, const Point2D* points, std::size_t count, bool isRegion = false)
    try
    {
        if (const std::uint32_t old = items_.PlaceOf(id); old != QuadPlaces::kNone)
            if (const Extents2D box = items_.BoxOf(old); DoesMeet(box))
                nodes_.Remove({old, GridBoxOf(box)});
        const std::uint32_t place = items_.Store(id, points, count, isRegion);
        if (const Extents2D box = items_.BoxOf(place); DoesMeet(box))
        {
            nodes_.Add({place, GridBoxOf(box)}, *this);
            Reach(box);
        }
        if (items_.IsLoose())
        {
            items_.Compact();
            Build();
        }
    }
    catch (...)
    {
        Clear();
        throw;
    }

    /// The first items; the arguments as QuadTree2D::Load has them.
    void Load(const Point2D* points, const std::uint32_t* corners, const std::uint32_t* starts,
              std::uint32_t count)
    {
        items_.StoreAll(points, corners, starts, count);
        Build();
    }

    void Clear()
    {
        reached_ = {};
        nodes_.Clear();
        items_.Clear();
    }

    /// Calls @p visit with the identifier of each item that contains the point.
    template <class Visit>
    void ForItemsAt(const Point2D& point, const Visit& visit) const
    {
        if (!x_.Holds(point.x) || !y_.Holds(point.y))
            return;
        nodes_.ForNodesAt(x_.At(point.x), y_.At(point.y), [&](const geom::QuadView& node) {
            for (std::uint32_t first = 0; first <= node.count; first += 32) // the header is mark 0
                ForHolders(node, first, point, visit);
        });
    }

    void FindInBox(std::vector<std::uint32_t>& ids, Extents2D box) const
    {
        const double hx = precision_.halfEpsilon[0], hy = precision_.halfEpsilon[1];
        box = {std::max(box.minX, extents_.minX - hx), std::min(box.maxX, extents_.maxX + hx),
               std::max(box.minY, extents_.minY - hy), std::min(box.maxY, extents_.maxY + hy)};
        if (!(box.minX <= box.maxX && box.minY <= box.maxY))
            return;
        std::vector<std::uint32_t> places;
        AddPlaces(places, 0, GridBoxOf(box));
        std::sort(places.begin(), places.end());
        places.erase(std::unique(places.begin(), places.end()), places.end());
        for (const std::uint32_t place : places)
            if (items_.MeetsBox(place, box))
                ids.push_back(items_.HeaderAt(place).id);
        std::sort(ids.begin(), ids.end());
    }

    Nearest FindNearest(const Point2D& point) const
    {
        Nearest nearest;
        if (geom::IsUsable(point))
            LookForNearest(nearest, 0, point);
        return nearest;
    }

    const geom::QuadNodes& Nodes() const { return nodes_; }

private:
    template <class Visit>
    void ForHolders(const geom::QuadView& node, std::uint32_t first, const Point2D& point,
                    const Visit& visit) const
    {
        const geom::QuadMark* const marks = node.block + first;
        const std::uint64_t holders =
            kernel_(marks, std::min(node.count - first, 31u), node.point, items_.Points(), point.x,
                    point.y, precision_.halfEpsilon[0], precision_.halfEpsilon[1]);
        const auto certain = static_cast<std::uint32_t>(holders);
        const auto inDoubt = static_cast<std::uint32_t>(holders >> 32);
        for (std::uint32_t left = certain | inDoubt; left != 0; left &= left - 1)
        {
            const int mark = std::countr_zero(left);
            const std::uint32_t place = marks[mark].item;
            if ((inDoubt >> mark & 1) == 0 || items_.Contains(place, point))
                visit(items_.HeaderAt(place).id);
        }
    }

    QuadBox BoxOf(std::uint32_t place) const override { return GridBoxOf(items_.BoxOf(place)); }

    /// Whether a point of the tree's box can be in an item with the box @p box.
    bool DoesMeet(const Extents2D& box) const
    {
        return box.minX <= box.maxX && x_.Meets(box.minX - x_.Reach(), box.maxX + x_.Reach()) &&
               y_.Meets(box.minY - y_.Reach(), box.maxY + y_.Reach());
    }

    /// The positions of a box with the reach of the tolerance.
    QuadBox GridBoxOf(const Extents2D& box) const
    {
        return {x_.At(box.minX - x_.Reach()), x_.At(box.maxX + x_.Reach()),
                y_.At(box.minY - y_.Reach()), y_.At(box.maxY + y_.Reach())};
    }

    /// Grows the box that all items together may reach.
    void Reach(const Extents2D& box)
    {
        ExtentsGrow2D(reached_, {box.minX, box.minY});
        ExtentsGrow2D(reached_, {box.maxX, box.maxY});
    }

    /// Fills the nodes from the items.
    void Build()
    {
        std::vector<geom::QuadEntry> entries;
        entries.reserve(items_.Count() * 2); // and room for the first quadrants
        reached_ = {};
        items_.ForItems([&](std::uint32_t place) {
            if (const Extents2D box = items_.BoxOf(place); DoesMeet(box))
            {
                entries.push_back({place, GridBoxOf(box)});
                Reach(box);
            }
        });
        nodes_.Build(std::move(entries));
    }

    /// Appends the items in the nodes from @p number down whose boxes meet @p box.
    void AddPlaces(std::vector<std::uint32_t>& places, std::uint32_t number,
                   const QuadBox& box) const
    {
        const geom::QuadNode& node = nodes_.At(number);
        const auto areApart = [&box](const QuadBox& b) {
            return b.minX > box.maxX || b.maxX < box.minX || b.minY > box.maxY || b.maxY < box.minY;
        };
        if (areApart(node.Box()))
            return;
        const geom::QuadMark* const marks = nodes_.MarksOf(node);
        for (std::uint32_t i = 0; i < node.count; ++i)
            if (!areApart(node.BoxOf(marks[i])))
                places.push_back(marks[i].item);
        for (std::uint32_t q = 0; node.children != 0 && q < 4; ++q)
            AddPlaces(places, node.children + q, box);
    }

    /// A lower bound of the distance of a point from items in a box.
    double LeastDistance(const QuadBox& box, const Point2D& p) const
    {
        const double left = std::max(x_.From(box.minX), reached_.minX);
        const double right = std::min(x_.UpTo(box.maxX), reached_.maxX);
        const double bottom = std::max(y_.From(box.minY), reached_.minY);
        const double top = std::min(y_.UpTo(box.maxY), reached_.maxY);
        const double dx = std::max({0.0, left - p.x, p.x - right});
        const double dy = std::max({0.0, bottom - p.y, p.y - top});
        const double square = dx * dx + dy * dy;
        return (square < 1e300 ? std::sqrt(square) : geom::LengthOf({dx, dy})) * (1 - 1e-12);
    }

    void LookForNearest(Nearest& nearest, std::uint32_t number, const Point2D& p) const
    {
        const geom::QuadNode& node = nodes_.At(number);
        const geom::QuadMark* const marks = nodes_.MarksOf(node);
        for (std::uint32_t i = 0; i < node.count; ++i)
            if (LeastDistance(node.BoxOf(marks[i]), p) <= nearest.distance)
                nearest.Take(items_.DistanceOf(marks[i].item, p),
                             items_.HeaderAt(marks[i].item).id);
        if (node.children == 0)
            return;
        std::pair<double, std::uint32_t> below[4];
        for (std::uint32_t q = 0; q < 4; ++q)
            below[q] = {LeastDistance(nodes_.At(node.children + q).Box(), p), node.children + q};
        std::sort(below, below + 4);
        for (const auto& [least, child] : below)
            if (least <= nearest.distance)
                LookForNearest(nearest, child, p);
    }

    static constexpr std::size_t kUsualPoints = 6; ///< of a quadrangle, closed, with its header

    Extents2D extents_;
    Extents2D reached_; ///< by the items, without those outside the tree's box
    unsigned capacity_;
    Precision3D precision_;
    geom::QuadAxis x_, y_;
    geom::QuadNodes nodes_;
    geom::QuadItems items_;
    geom::QuadKernel kernel_;
};

QuadTree2D::QuadTree2D() : impl_(std::make_unique<Impl>(Extents2D(), 10u, Precision())) {}

QuadTree2D::~QuadTree2D() = default;

QuadTree2D::QuadTree2D(const QuadTree2D& other) : impl_(std::make_unique<Impl>(*other.impl_)) {}

QuadTree2D& QuadTree2D::operator=(const QuadTree2D& other)
{
    if (this != &other)
        impl_ = std::make_unique<Impl>(*other.impl_);
    return *this;
}

// NOLINTNEXTLINE(performance-noexcept-move-constructor)
QuadTree2D::QuadTree2D(QuadTree2D&& other) : QuadTree2D() { impl_.swap(other.impl_); }

QuadTree2D& QuadTree2D::operator=(QuadTree2D&& other) noexcept
{
    impl_.swap(other.impl_);
    return *this;
}

void QuadTree2D::Initialize(const Extents2D& extents, unsigned capacity,
                            const Precision3D& precision, unsigned expectedCount)
{
    auto fresh = std::make_unique<Impl>(extents, capacity, precision);
    fresh->Reserve(expectedCount);
    impl_ = std::move(fresh);
}

bool QuadTree2D::Insert(std::uint32_t id, const std::vector<Point2D>& points)
{
    if (id == kNone)
        return false;
    impl_->Insert(id, points.data(), points.size());
    return true;
}

bool QuadTree2D::InsertRegion(std::uint32_t id, const Region2D& region)
{
    if (region.holes.empty())
        return Insert(id, region.outline);
    std::vector<Point2D> rings;
    const auto append = [&rings](const std::vector<Point2D>& ring) {
        rings.insert(rings.end(), ring.begin(), ring.end());
        if (!ring.empty() && !(ring.front() == ring.back()))
            rings.push_back(ring.front());
    };
    append(region.outline);
    for (const std::vector<Point2D>& hole : region.holes)
        append(hole);
    if (!std::all_of(rings.begin(), rings.end(), geom::IsUsable))
        return Insert(id, std::vector<Point2D>());
    rings.clear();
    constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
    append(region.outline);
    for (const std::vector<Point2D>& hole : region.holes)
    {
        rings.push_back({kNaN, kNaN});
        append(hole);
    }
    if (id == kNone)
        return false;
    impl_->Insert(id, rings.data(), rings.size(), true);
    return true;
}

bool QuadTree2D::Load(const Point2D* points, const std::uint32_t* corners,
                      const std::uint32_t* starts, std::uint32_t count)
{
    if (count != 0 && !std::is_sorted(starts, starts + count + 1))
        return false;
    auto fresh = impl_->MakeEmpty();
    if (count != 0)
        fresh->Load(points, corners, starts, count);
    impl_ = std::move(fresh);
    return true;
}

std::uint32_t QuadTree2D::Find(const Point2D& point) const
{
    std::uint32_t least = kNone;
    impl_->ForItemsAt(point, [&](std::uint32_t id) { least = std::min(least, id); });
    return least;
}

bool QuadTree2D::FindAll(std::vector<std::uint32_t>& ids, const Point2D& point) const
{
    ids.clear();
    impl_->ForItemsAt(point, [&](std::uint32_t id) { ids.push_back(id); });
    std::sort(ids.begin(), ids.end());
    return !ids.empty();
}

bool QuadTree2D::FindInBox(std::vector<std::uint32_t>& ids, const Extents2D& box) const
{
    ids.clear();
    impl_->FindInBox(ids, box);
    return !ids.empty();
}

std::uint32_t QuadTree2D::FindNearest(const Point2D& point, double* distance) const
{
    const Nearest nearest = impl_->FindNearest(point);
    if (distance != nullptr)
        *distance = nearest.id == kNone ? MissingValue<double>() : nearest.distance;
    return nearest.id;
}

void QuadTree2D::Clear() { impl_->Clear(); }

std::size_t QuadTree2D::NumNodes() const { return impl_->Nodes().Count(); }

unsigned QuadTree2D::Depth() const { return impl_->Nodes().Depth(); }

} // namespace Geom
