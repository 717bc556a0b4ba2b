#include "Geom/Geom_QuadTree2D.h"

#include "Geom/Geom_CellTable.h"
#include "Geom/exact/Plane.h"
#include "Geom/tree/QuadKernels.h"
#include "Geom/tree/QuadNodes.h"
#include "platform/platform_cpu.h"

#include <bit>
#include <unordered_map>

namespace Geom
{
namespace
{

using impl::QuadBox;
using Header = impl::QuadRing;

/// Positions on one axis of the box, as whole numbers that keep their order.
class QuadAxis
{
public:
    QuadAxis() = default;
    QuadAxis(double low, double high, double halfEpsilon)
        : low_(low), high_(high), half_(halfEpsilon)
    {
        const double perUnit = impl::kQuadSide / (high - low);
        // A box without a size, or too great for its size to be told, is one position.
        scale_ = perUnit > 0 && std::isfinite(perUnit) ? perUnit : 0;
    }
    std::uint32_t At(double v) const
    {
        constexpr double kLast = impl::kQuadSide - 1;
        const double position = (v - low_) * scale_;
        return position > 0 ? static_cast<std::uint32_t>(std::min(position, kLast)) : 0;
    }
    bool Holds(double v) const { return v >= low_ - half_ && v <= high_ + half_; }
    bool Meets(double low, double high) const
    {
        return high >= low_ - half_ && low <= high_ + half_;
    }
    /// What a point and an item may be apart and still meet; with room for rounding.
    double Reach() const { return 2 * half_; }

private:
    double low_ = 0, high_ = -1, half_ = 0, scale_ = 0;
};

/// Where each identifier's item stands: by index while the identifiers are dense, else by hash.
class Places
{
public:
    static constexpr std::uint32_t kNone = 0xffffffff;

    void Clear()
    {
        dense_.clear();
        sparse_.clear();
    }
    void Reserve(std::size_t count) { dense_.resize(count, kNone); }
    std::uint32_t& At(std::uint32_t id, std::size_t itemCount)
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

private:
    std::vector<std::uint32_t> dense_;
    std::unordered_map<std::uint32_t, std::uint32_t> sparse_;
};

/// What an edge says of a point: nothing, that it lies on the edge, or that a ray from it to the
/// right crosses the edge.
enum class EdgeMark
{
    None,
    On,
    Crossed
};

EdgeMark MarkOf(const Point2D& a, const Point2D& b, const Point2D& p, double hx, double hy)
{
    const auto [low, high] = std::minmax(a.y, b.y);
    if (low - p.y > hy || p.y - high > hy)
        return EdgeMark::None;
    const auto [left, right] = std::minmax(a.x, b.x);
    if (p.x - right > hx)
        return EdgeMark::None;
    // Half-open in y: a ray through a vertex crosses one of two edges that go on, both or none of
    // two that turn back.
    const EdgeMark crossed = (a.y > p.y) != (b.y > p.y) ? EdgeMark::Crossed : EdgeMark::None;
    if (left - p.x > hx)
        return crossed;
    const int side = impl::SideOf(a, b, p, hx, hy);
    if (side == 0)
        return EdgeMark::On;
    return (side > 0) == (b.y > a.y) ? crossed : EdgeMark::None;
}

impl::QuadKernel Kernel()
{
    return platform::SimdLevel() == 0 ? impl::sse2::kQuadKernel : impl::avx2::kQuadKernel;
}

} // namespace

class QuadTree2D::Impl final : impl::IQuadItems
{
public:
    Impl(const Extents2D& extents, unsigned capacity, const Precision3D& precision)
        : hx_(precision.halfEpsilon[0]), hy_(precision.halfEpsilon[1]),
          x_(extents.minX, extents.maxX, hx_), y_(extents.minY, extents.maxY, hy_),
          nodes_(std::max(capacity, 1u)), kernel_(Kernel())
    {
    }

    void Reserve(unsigned expected)
    {
        const unsigned expectedCount = std::min(expected, 1u << 24); // a guess is no reason to fail
        nodes_.Reserve(expectedCount / 4, expectedCount);
        points_.reserve(std::size_t{expectedCount} * kUsualPoints);
        places_.Reserve(expectedCount);
    }

    void Insert(std::uint32_t id, const std::vector<Point2D>& points)
    {
        std::uint32_t& place = places_.At(id, itemCount_);
        if (place == Places::kNone)
            ++itemCount_;
        else
            Withdraw(place);
        Store(place, id, points);
        AddToNodes(place);
        if (unused_ > points_.size() / 2 + 1024)
            Compact();
    }

    void Clear()
    {
        nodes_.Clear();
        points_.clear();
        places_.Clear();
        itemCount_ = unused_ = 0;
    }

    /// Calls @p visit with the identifier of each item that contains the point.
    template <class Visit>
    void ForItemsAt(const Point2D& point, const Visit& visit) const
    {
        if (!x_.Holds(point.x) || !y_.Holds(point.y))
            return;
        const impl::QuadView leaf = nodes_.LeafAt(x_.At(point.x), y_.At(point.y));
        for (std::uint32_t first = 0; first <= leaf.count; first += 32) // the header is mark 0
        {
            const impl::QuadMark* const marks = leaf.block + first;
            const std::uint64_t holders =
                kernel_(marks, std::min(leaf.count - first, 31u), leaf.point, points_.data(),
                        point.x, point.y, hx_, hy_);
            const auto certain = static_cast<std::uint32_t>(holders);
            const auto inDoubt = static_cast<std::uint32_t>(holders >> 32);
            for (std::uint32_t left = certain | inDoubt; left != 0; left &= left - 1)
            {
                const int mark = std::countr_zero(left);
                const std::uint32_t place = marks[mark].item;
                if ((inDoubt >> mark & 1) == 0 || Contains(place, point))
                    visit(HeaderAt(place).id);
            }
        }
    }

    const impl::QuadNodes& Nodes() const { return nodes_; }

private:
    QuadBox BoxOf(std::uint32_t place) const override
    {
        QuadBox box = {};
        (void)BoxOf(place, box); // it does meet the tree's box, being in a leaf
        return box;
    }
    Header HeaderAt(std::uint32_t place) const { return std::bit_cast<Header>(points_[place]); }
    const Point2D* RingAt(std::uint32_t place) const { return points_.data() + place + 1; }

    bool Contains(std::uint32_t place, const Point2D& p) const
    {
        const Point2D* const ring = RingAt(place);
        bool isInside = false;
        for (std::uint32_t i = 1; i < HeaderAt(place).count; ++i)
        {
            const EdgeMark mark = MarkOf(ring[i - 1], ring[i], p, hx_, hy_);
            if (mark == EdgeMark::On)
                return true;
            isInside ^= mark == EdgeMark::Crossed;
        }
        return isInside;
    }

    /// The grid box of an item with the reach of the tolerance; false when no point of the tree's
    /// box can be in the item.
    bool BoxOf(std::uint32_t place, QuadBox& box) const
    {
        Extents2D extents;
        const Point2D* const ring = RingAt(place);
        for (std::uint32_t i = 0; i < HeaderAt(place).count; ++i)
        {
            const Point2D& p = ring[i];
            if (!impl::IsUsable(p))
                return false;
            extents = {std::min(extents.minX, p.x), std::max(extents.maxX, p.x),
                       std::min(extents.minY, p.y), std::max(extents.maxY, p.y)};
        }
        const double reachX = x_.Reach(), reachY = y_.Reach();
        extents = {extents.minX - reachX, extents.maxX + reachX, extents.minY - reachY,
                   extents.maxY + reachY};
        box = {x_.At(extents.minX), x_.At(extents.maxX), y_.At(extents.minY), y_.At(extents.maxY)};
        return x_.Meets(extents.minX, extents.maxX) && y_.Meets(extents.minY, extents.maxY);
    }

    /// Puts the ring where the item's points were if it fits there, else behind all others.
    void Store(std::uint32_t& place, std::uint32_t id, const std::vector<Point2D>& points)
    {
        const bool isOpen = !points.empty() && !(points.front() == points.back());
        const auto count = static_cast<std::uint32_t>(points.size() + (isOpen ? 1 : 0));
        std::uint32_t room = place == Places::kNone ? 0 : HeaderAt(place).room;
        if (place == Places::kNone || count > room)
        {
            unused_ += room;
            if (place != Places::kNone)
                points_[place] = std::bit_cast<Point2D>(Header{Places::kNone, 0, room});
            place = static_cast<std::uint32_t>(points_.size());
            room = count;
            points_.resize(points_.size() + 1 + room);
        }
        points_[place] = std::bit_cast<Point2D>(Header{id, count, room});
        Point2D* const ring = points_.data() + place + 1;
        std::copy(points.begin(), points.end(), ring);
        if (isOpen)
            ring[points.size()] = points.front();
    }

    void AddToNodes(std::uint32_t place)
    {
        QuadBox box;
        if (BoxOf(place, box))
            nodes_.Add({place, box}, *this);
    }

    void Withdraw(std::uint32_t place)
    {
        QuadBox box;
        if (BoxOf(place, box))
            nodes_.Remove({place, box});
    }

    /// Builds everything anew from the rings in use.
    void Compact()
    {
        std::vector<Point2D> kept;
        nodes_.Clear();
        for (std::size_t place = 0; place < points_.size();)
        {
            const Header header = HeaderAt(static_cast<std::uint32_t>(place));
            if (header.id != Places::kNone)
            {
                places_.At(header.id, itemCount_) = static_cast<std::uint32_t>(kept.size());
                kept.push_back(
                    std::bit_cast<Point2D>(Header{header.id, header.count, header.count}));
                const Point2D* const ring = points_.data() + place + 1;
                kept.insert(kept.end(), ring, ring + header.count);
            }
            place += 1 + header.room;
        }
        points_ = std::move(kept);
        unused_ = 0;
        for (std::size_t place = 0; place < points_.size();
             place += 1 + HeaderAt(static_cast<std::uint32_t>(place)).room)
            AddToNodes(static_cast<std::uint32_t>(place));
    }

    static constexpr std::size_t kUsualPoints = 6; ///< of a quadrangle, closed, with its header

    double hx_, hy_;
    QuadAxis x_, y_;
    impl::QuadNodes nodes_;
    impl::QuadKernel kernel_;
    std::vector<Point2D> points_; ///< the closed rings of all items, each behind its header
    std::size_t itemCount_ = 0;
    std::size_t unused_ = 0; ///< points of rings that were moved
    Places places_;
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
    if (id == CellTable::MissingID())
        return false;
    impl_->Insert(id, points);
    return true;
}

std::uint32_t QuadTree2D::Find(const Point2D& point) const
{
    std::uint32_t least = CellTable::MissingID();
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

void QuadTree2D::Clear() { impl_->Clear(); }

std::size_t QuadTree2D::NumNodes() const { return impl_->Nodes().Count(); }

unsigned QuadTree2D::Depth() const { return impl_->Nodes().Depth(); }

} // namespace Geom
