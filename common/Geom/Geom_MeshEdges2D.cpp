#include "Geom/Geom_MeshEdges2D.h"

#include "Geom/Geom_LineIntersection2D.h"
#include "Geom/events/LineGrid.h"
#include "Geom/exact/Plane.h"
#include "Geom/exact/RingLocation.h"
#include "foundation/KviError.h"

#include <exception>
#include <numeric>
#include <tuple>

namespace Geom
{
namespace
{

constexpr std::uint32_t kNone = CellTable::MissingID();
constexpr double kGreatest = 0x1p400; // coordinates whose products of two stay finite

using Pair = std::pair<std::uint32_t, std::uint32_t>;

/// Lists of numbers by key: those of key k from starts[k] to starts[k + 1].
struct Lists
{
    std::vector<std::uint32_t> starts, items;

    /// @param each  calls add(key, item) for all items, the same ones at every call
    template <class Each>
    void Make(std::size_t keys, const Each& each)
    {
        starts.assign(keys + 2, 0);
        each([this](std::uint32_t key, std::uint32_t) { ++starts[key + 2]; });
        std::partial_sum(starts.begin(), starts.end(), starts.begin());
        items.resize(starts.back());
        each([this](std::uint32_t key, std::uint32_t item) { items[starts[key + 1]++] = item; });
    }
};

} // namespace

class MeshEdges2D::Impl
{
public:
    Impl(const std::vector<Point2D>& nodes, const std::vector<std::uint32_t>& corners,
         const std::vector<std::uint32_t>& starts, const Precision3D& precision)
        : nodes_(nodes), corners_(corners), starts_(starts), precision_(precision)
    {
        MakeEdges();
        MakeGrid();
    }

    std::uint32_t NumEdges() const { return std::uint32_t(ends_.size()); }
    Pair NodesOf(std::uint32_t edge) const { return ends_[edge]; }
    Pair ElementsOf(std::uint32_t edge) const { return elements_[edge]; }

    void Cut(std::vector<MeshHit2D>& hits, const Line2D& line) const
    {
        std::vector<std::uint32_t> edges, nodesOn;
        AddEdgesNear(edges, line);
        const auto isOn = [&](std::uint32_t node) {
            return LineContainsPoint2D(line.first, line.second, nodes_[node], precision_);
        };
        for (const std::uint32_t edge : edges)
        {
            const auto [low, high] = ends_[edge];
            const bool isLowOn = isOn(low), isHighOn = isOn(high);
            if (isLowOn)
                nodesOn.push_back(low);
            if (isHighOn)
                nodesOn.push_back(high);
            Point2D point, other;
            if (isLowOn || isHighOn ||
                LineIntersection2D(point, other, line.first, line.second, nodes_[low], nodes_[high],
                                   precision_) == 0)
                continue;
            AddHit(hits, line, point, kNone, edge);
            if (!IsMissing2D(other)) // the line is within the edge
                AddHit(hits, line, other, kNone, edge);
        }
        std::sort(nodesOn.begin(), nodesOn.end());
        nodesOn.erase(std::unique(nodesOn.begin(), nodesOn.end()), nodesOn.end());
        for (const std::uint32_t node : nodesOn)
            AddHit(hits, line, nodes_[node], node, kNone);
        std::sort(hits.begin(), hits.end(), [](const MeshHit2D& a, const MeshHit2D& b) {
            return std::tie(a.parameter, a.node, a.edge) < std::tie(b.parameter, b.node, b.edge);
        });
        AddElements(hits, line);
    }

private:
    /// Every edge once: at its lower node, by its upper one.
    void MakeEdges()
    {
        const std::size_t count = starts_.empty() ? 0 : starts_.size() - 1;
        const auto forSides = [&](const auto& visit) { // visit(low, high, element)
            for (std::uint32_t element = 0; element < count; ++element)
                for (std::uint32_t i = starts_[element]; i < starts_[element + 1]; ++i)
                {
                    const bool isLast = i + 1 == starts_[element + 1];
                    const auto [low, high] =
                        std::minmax({corners_[i], corners_[isLast ? starts_[element] : i + 1]});
                    if (low != high)
                        visit(low, high, element);
                }
        };
        Lists sides; // upper nodes and elements in turn by lower node
        sides.Make(nodes_.size(), [&](const auto& add) {
            forSides([&](std::uint32_t low, std::uint32_t high, std::uint32_t element) {
                add(low, high);
                add(low, element);
            });
        });
        firstEdges_.push_back(0);
        for (std::uint32_t low = 0; low < nodes_.size(); ++low)
        {
            std::vector<Pair>& sorted = scratch_;
            sorted.clear();
            for (std::uint32_t i = sides.starts[low]; i < sides.starts[low + 1]; i += 2)
                sorted.push_back({sides.items[i], sides.items[i + 1]});
            std::sort(sorted.begin(), sorted.end());
            for (const auto& [high, element] : sorted)
                if (ends_.size() == firstEdges_.back() || ends_.back().second != high)
                {
                    ends_.push_back({low, high});
                    elements_.push_back({element, kNone});
                }
                else if (elements_.back().second == kNone && elements_.back().first != element)
                    elements_.back().second = element;
            firstEdges_.push_back(std::uint32_t(ends_.size()));
        }
        scratch_ = {};
        atNode_.Make(nodes_.size(), [&](const auto& add) {
            for (std::uint32_t element = 0; element < count; ++element)
                for (std::uint32_t i = starts_[element]; i < starts_[element + 1]; ++i)
                    add(corners_[i], element);
        });
    }

    void MakeGrid()
    {
        Point2D most;
        LineSet2D lines;
        std::vector<geom::GridMember> members;
        for (std::uint32_t edge = 0; edge < ends_.size(); ++edge)
        {
            const Line2D& line =
                lines.emplace_back(Line2D{nodes_[ends_[edge].first], nodes_[ends_[edge].second]});
            double greatest = 0;
            for (const Point2D& p : {line.first, line.second})
            {
                most = {std::max(most.x, std::fabs(p.x)), std::max(most.y, std::fabs(p.y))};
                greatest = std::max({greatest, std::fabs(p.x), std::fabs(p.y)});
            }
            if (!geom::AreUsable({line.first, line.second}))
                continue;
            if (greatest < kGreatest)
                members.push_back({edge, 0});
        }
        const double hx = precision_.halfEpsilon[0], hy = precision_.halfEpsilon[1];
        hasGrid_ = members.size() == ends_.size() && hx >= 0 && hy >= 0 && hx < kGreatest &&
                   hy < kGreatest;
        if (!hasGrid_ || members.empty())
            return;
        // Lines may extend many times as far as the mesh; longer ones are compared with all edges.
        reach_ = 1024 * std::max({most.x, most.y, hx, hy});
        tolerance_ = geom::GridTolerance::For({reach_, reach_}, hx, hy);
        grid_.Lay(lines, members, tolerance_, {-kGreatest, kGreatest, -kGreatest, kGreatest},
                  kGreatest);
        grid_.Enter(lines, members, tolerance_);
        for (std::uint32_t edge = 0; edge < ends_.size(); ++edge)
            if (grid_.covers[edge].IsLong())
                longs_.push_back(edge);
        grid_.covers = {};
    }

    /// The edges that may meet a line, ascending.
    void AddEdgesNear(std::vector<std::uint32_t>& edges, const Line2D& line) const
    {
        double greatest = 0;
        for (const Point2D& p : {line.first, line.second})
            greatest = std::max({greatest, std::fabs(p.x), std::fabs(p.y)});
        if (!hasGrid_ || greatest > reach_)
        {
            edges.resize(ends_.size());
            std::iota(edges.begin(), edges.end(), 0u);
            return;
        }
        edges = longs_;
        const geom::PairRows rows = grid_.Rows(tolerance_);
        const geom::PairRow probe = {line.first.x, line.first.y, line.second.x, line.second.y,
                                     tolerance_.MarginOf(line)};
        std::vector<std::uint32_t> found;
        grid_.ForRowsAlong(line, grid_.CoverOf(line, tolerance_), tolerance_,
                           [&](std::size_t begin, std::size_t end) {
                               found.resize(std::max(found.size(), end - begin));
                               const std::size_t count = geom::ChosenPairKernels().withLine(
                                   rows, probe, begin, end, found.data());
                               for (std::size_t i = 0; i < count; ++i)
                                   edges.push_back(grid_.memberOf[found[i]]);
                           });
        std::sort(edges.begin(), edges.end());
        edges.erase(std::unique(edges.begin(), edges.end()), edges.end());
    }

    static void AddHit(std::vector<MeshHit2D>& hits, const Line2D& line, const Point2D& point,
                       std::uint32_t node, std::uint32_t edge)
    {
        hits.push_back({geom::ParameterOn(line, point), point, node, edge, kNone, kNone});
    }

    /// The lowest element at a hit that contains a point.
    std::uint32_t ElementAt(const MeshHit2D& hit, const Point2D& p) const
    {
        std::vector<Point2D> ring;
        const auto contains = [&](std::uint32_t element) {
            ring.clear();
            for (std::uint32_t i = starts_[element]; i < starts_[element + 1]; ++i)
                ring.push_back(nodes_[corners_[i]]);
            ring.push_back(ring.front());
            return geom::LocateInRing(ring.data(), ring.size(), p, precision_) !=
                   PointLocation::Outside;
        };
        if (hit.node == kNone)
        {
            const auto [low, high] = elements_[hit.edge];
            return contains(low) ? low : high != kNone && contains(high) ? high : kNone;
        }
        for (std::uint32_t i = atNode_.starts[hit.node]; i < atNode_.starts[hit.node + 1]; ++i)
            if (contains(atNode_.items[i]))
                return atNode_.items[i];
        return kNone;
    }

    /// The edge between two nodes.
    std::uint32_t EdgeBetween(std::uint32_t a, std::uint32_t b) const
    {
        const auto [low, high] = std::minmax({a, b});
        if (high == kNone)
            return kNone;
        for (std::uint32_t edge = firstEdges_[low]; edge < firstEdges_[low + 1]; ++edge)
            if (ends_[edge].second == high)
                return edge;
        return kNone;
    }

    /// The elements before, between and after the hits: those that contain the middle of each
    /// piece.
    void AddElements(std::vector<MeshHit2D>& hits, const Line2D& line) const
    {
        const auto between = [](const Point2D& a, const Point2D& b) {
            return Point2D{a.x * 0.5 + b.x * 0.5, a.y * 0.5 + b.y * 0.5};
        };
        for (std::size_t i = 0; i < hits.size(); ++i)
        {
            MeshHit2D& hit = hits[i];
            const bool isLast = i + 1 == hits.size();
            if (i > 0)
                hit.from = hits[i - 1].to;
            else if (!IsEqual2D(line.first, hit.point, precision_))
                hit.from = ElementAt(hit, between(line.first, hit.point));
            const Point2D& next = isLast ? line.second : hits[i + 1].point;
            if (isLast && IsEqual2D(next, hit.point, precision_))
                continue;
            hit.to = ElementAt(hit, between(hit.point, next));
            if (hit.node != kNone && !isLast)
                hit.edge = EdgeBetween(hit.node, hits[i + 1].node);
        }
    }

    std::vector<Point2D> nodes_;
    std::vector<std::uint32_t> corners_, starts_;
    Precision3D precision_;
    std::vector<Pair> ends_, elements_;     ///< of the edges
    std::vector<std::uint32_t> firstEdges_; ///< the first edge of each node that is its lower one
    std::vector<Pair> scratch_;
    Lists atNode_;        ///< the elements at each node
    geom::LineGrid grid_; ///< of the edges
    geom::GridTolerance tolerance_;
    std::vector<std::uint32_t> longs_; ///< edges that are not entered in the grid
    double reach_ = 0;                 ///< the greatest coordinates for which the grid holds
    bool hasGrid_ = false;
};

MeshEdges2D::MeshEdges2D() = default;

MeshEdges2D::~MeshEdges2D() = default;

gtl::status MeshEdges2D::Initialize(const std::vector<Point2D>& nodes,
                                    const std::vector<std::uint32_t>& corners,
                                    const std::vector<std::uint32_t>& starts,
                                    const Precision3D& precision)
{
    impl_.reset();
    if (corners.size() >= kNone / 2 || nodes.size() >= kNone)
        return gtl::status(L"The mesh has too many nodes or corners.");
    if (!std::is_sorted(starts.begin(), starts.end()) ||
        (starts.empty() ? !corners.empty() : starts[0] != 0 || starts.back() != corners.size()))
        return gtl::status(L"The starts of the elements do not fit the corners.");
    if (std::any_of(corners.begin(), corners.end(),
                    [&](std::uint32_t node) { return node >= nodes.size(); }))
        return gtl::status(L"A corner of an element is not among the nodes.");
    try
    {
        impl_ = std::make_unique<Impl>(nodes, corners, starts, precision);
        return {};
    }
    catch (const std::exception&) // bad_alloc or length_error
    {
        return KviError::err_sysserv(L"operator new", L"there is no memory for the edges");
    }
}

std::uint32_t MeshEdges2D::NumEdges() const { return impl_ ? impl_->NumEdges() : 0; }

std::pair<std::uint32_t, std::uint32_t> MeshEdges2D::NodesOf(std::uint32_t edge) const
{
    return edge < NumEdges() ? impl_->NodesOf(edge) : Pair(kNone, kNone);
}

std::pair<std::uint32_t, std::uint32_t> MeshEdges2D::ElementsOf(std::uint32_t edge) const
{
    return edge < NumEdges() ? impl_->ElementsOf(edge) : Pair(kNone, kNone);
}

void MeshEdges2D::Cut(std::vector<MeshHit2D>& hits, const Line2D& line) const
{
    hits.clear();
    if (impl_ && geom::AreUsable({line.first, line.second}))
        impl_->Cut(hits, line);
}

} // namespace Geom
