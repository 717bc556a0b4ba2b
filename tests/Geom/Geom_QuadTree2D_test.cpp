#include "Geom/GeomTest.h"
#include "Geom/Geom_CellTable.h"
#include "Geom/Geom_Polygon.h"
#include "Geom/Geom_QuadTree2D.h"
#include "Geom/Geom_Region.h"
#include "Geom/Geom_Vector.h"
#include "platform/platform_fpu.h"

#include <map>
#include <numeric>

namespace
{
using namespace geomtest;
using Items = std::map<std::uint32_t, Ring>;

constexpr std::uint32_t kNone = CellTable::MissingID();
const Extents2D kBox = {0, 100, 0, 100};

QuadTree2D Tree(const Extents2D& box = kBox, unsigned capacity = 10)
{
    QuadTree2D tree;
    tree.Initialize(box, capacity, kPrecision, 100);
    return tree;
}

/// Whether a closed ring has a point in common with a box widened by @p reach: an edge that the box
/// cuts, or the box in the ring.
bool DoMeet(const Ring& ring, const Extents2D& box, double reach)
{
    for (std::size_t i = 0; i < ring.size(); ++i)
        if (DoesMeet(Line2D{ring[i], ring[(i + 1) % ring.size()]}, box, reach))
            return true;
    return PolygonContainsPoint2D(ring.data(), ring.size(), {box.minX, box.minY}, true, kPrecision);
}

/// FindInBox and FindNearest beside a scan of all items.
void ExpectSearchesLikeAScan(const QuadTree2D& tree, const Items& items, const Point2D& p,
                             double size)
{
    const Extents2D box = {p.x, std::min(100.0, p.x + size), p.y, std::min(100.0, p.y + size / 2)};
    Ids found;
    tree.FindInBox(found, box);
    double least = kInfinity, distance = 0;
    for (auto [id, ring] : items)
    {
        if (ring.empty())
            continue;
        ring.push_back(ring.front());
        const bool has = std::binary_search(found.begin(), found.end(), id);
        ASSERT_EQ(DoMeet(ring, box, 5e-5 + (has ? 1e-9 : -1e-9)), has)
            << id << ' ' << p.x << ' ' << p.y;
        if (!DoMeet(ring, kBox, 0)) // the tree does not know it
            continue;
        if (PolygonContainsPoint2D(ring.data(), ring.size(), p, true, kPrecision))
            least = 0;
        for (std::size_t i = 1; i < ring.size(); ++i)
            least =
                std::min(least, LineDistanceToPoint2D(ring[i - 1], ring[i], p, false, kPrecision));
    }
    const std::uint32_t nearest = tree.FindNearest(p, &distance);
    ASSERT_EQ(nearest == kNone, least == kInfinity);
    ASSERT_TRUE(nearest == kNone || distance == least) << p.x << ' ' << p.y;
}

void ExpectLikeAScan(const QuadTree2D& tree, const Items& items, const Point2D& p)
{
    Ids ids = {99}, expected;
    for (auto [id, ring] : items)
    {
        if (!ring.empty())
            ring.push_back(ring.front()); // closes it
        if (PolygonContainsPoint2D(ring.data(), ring.size(), p, true, kPrecision))
            expected.push_back(id);
    }
    ASSERT_EQ(tree.FindAll(ids, p), !expected.empty());
    ASSERT_EQ(ids, expected) << p.x << ' ' << p.y;
    ASSERT_EQ(tree.Find(p), expected.empty() ? kNone : expected.front());
}

class Shapes
{
public:
    explicit Shapes(unsigned seed) : random_(seed) {}

    double Uniform(double low, double high)
    {
        return std::uniform_real_distribution<>(low, high)(random_);
    }
    unsigned Below(unsigned end) { return static_cast<unsigned>(random_()) % end; }
    /// Large and small, on the tree's own lines, clustered, without area, reaching out of the box.
    Ring Any()
    {
        const double size = Below(3) == 0 ? 30 : Below(2) == 0 ? 3 : 1e-3;
        const double x = Below(4) == 0 ? 33.3 + Uniform(0, 0.01) : Uniform(-10, 110);
        const double y = Below(4) == 0 ? 66.6 + Uniform(0, 0.01) : Uniform(-10, 110);
        const Ring shapes[] = {
            Rectangle(std::round(x / 12.5) * 12.5, std::round(y / 12.5) * 12.5, 12.5, 12.5),
            {{x, y}, {x, y}, {x, y}},
            {{x, y}, {x + size, y}, {x, y + size}}, // not closed
            {{x, y}, {x + size, y + size}, {x + size, y}, {x, y + size}, {x, y}},
            Rectangle(x, y, size, size / 2)};
        return shapes[Below(5)];
    }
    /// Anywhere, or near a vertex or an edge of @p ring.
    Point2D PointNear(const Ring& ring)
    {
        if (ring.empty() || Below(3) == 0)
            return {Uniform(0, 100), Uniform(0, 100)};
        const Point2D &a = ring[Below(unsigned(ring.size()))], &b = ring[0];
        const double t = Below(2) == 0 ? 0 : Uniform(0, 1);
        return {std::clamp(a.x + t * (b.x - a.x) + Uniform(-1e-4, 1e-4), 0.0, 100.0),
                std::clamp(a.y + t * (b.y - a.y) + Uniform(-1e-4, 1e-4), 0.0, 100.0)};
    }

private:
    std::mt19937 random_;
};

TEST(QuadTree2D, AnswersAsALinearScan)
{
    Shapes shapes(4);
    constexpr unsigned kCapacities[] = {0, 1, 4, 10, 100};
    for (int round = 0; round < 5 * Rounds(); ++round)
    {
        const unsigned capacity = kCapacities[round % 5];
        QuadTree2D tree = Tree(kBox, capacity);
        Items items;
        for (int i = 0; i < 250; ++i)
        {
            // Identifiers far apart, and some that come again with other points.
            const std::uint32_t id =
                shapes.Below(4) == 0 ? 4000000000u + shapes.Below(50) : shapes.Below(6000);
            const Ring ring = items[id] = shapes.Any();
            ASSERT_TRUE(tree.Insert(id, ring));
            ExpectLikeAScan(tree, items, shapes.PointNear(ring));
            ExpectLikeAScan(tree, items, shapes.PointNear(items.begin()->second));
        }
        QuadTree2D copy = tree, loaded = Tree(kBox, capacity);
        tree.Clear();
        // The same items by their ranks from flat arrays.
        Ring points;
        Ids starts = {0}, corners;
        Items ranked;
        for (const auto& [id, ring] : items)
        {
            ranked[std::uint32_t(ranked.size())] = ring;
            points.insert(points.end(), ring.begin(), ring.end());
            starts.push_back(std::uint32_t(points.size()));
        }
        corners.resize(points.size());
        std::iota(corners.begin(), corners.end(), 0u);
        ASSERT_TRUE(loaded.Load(points.data(), round % 2 == 0 ? nullptr : corners.data(),
                                starts.data(), std::uint32_t(ranked.size())));
        for (int i = 0; i < 250; ++i)
        {
            const Point2D p = shapes.PointNear(shapes.Any());
            ExpectLikeAScan(copy, items, p);
            ExpectLikeAScan(loaded, ranked, p);
            if (i % 5 == 0)
                ExpectSearchesLikeAScan(i % 2 == 0 ? copy : loaded, i % 2 == 0 ? items : ranked, p,
                                        i % 3 == 0 ? 0 : shapes.Uniform(0, 50));
        }
        ExpectLikeAScan(tree, {}, {33.3, 66.6});
    }
}

TEST(QuadTree2D, HasAnAnswerForWhatLiesOutside)
{
    QuadTree2D tree = Tree();
    tree.Insert(3, Rectangle(90, 90, 50, 50));
    tree.Insert(4, Rectangle(200, 200, 50, 50));
    EXPECT_EQ(tree.Find({95, 95}), 3u);
    EXPECT_EQ(tree.Find({100 + 4e-5, 95}), 3u);
    EXPECT_EQ(tree.Find({100 + 6e-5, 95}), kNone); // in the item, not in the box
    EXPECT_EQ(tree.Find({220, 220}), kNone);
    EXPECT_EQ(tree.Find({kNaN, 95}), kNone);
    EXPECT_FALSE(tree.Insert(kNone, Rectangle(0, 0, 1, 1)));
    EXPECT_EQ(tree.Find({0.5, 0.5}), kNone);

    EXPECT_TRUE(tree.Insert(3, Rectangle(1, 1, 2, 2))); // once more: the new points count
    EXPECT_EQ(tree.Find({95, 95}), kNone);
    EXPECT_EQ(tree.Find({2, 2}), 3u);
    EXPECT_TRUE(tree.Insert(3, {}));
    EXPECT_EQ(tree.Find({2, 2}), kNone);
    EXPECT_TRUE(tree.Insert(5, {{0, 0}, {9, kNaN}, {9, 9}, {0, 0}}));
    EXPECT_EQ(tree.Find({0, 0}), kNone);
}

TEST(QuadTree2D, ForgetsWhatItemsWereBefore)
{
    QuadTree2D tree = Tree(kBox, 2);
    Items items;
    Shapes shapes(8);
    for (int round = 3; round < 200; ++round)
    {
        const std::uint32_t id = shapes.Below(6);
        const Point2D centre = {shapes.Uniform(0, 100), shapes.Uniform(0, 100)};
        Ring& ring = items[id];
        ring.clear();
        // More points every time: the rings move, and their old space is reclaimed.
        for (int i = 0; i <= round; ++i)
            ring.push_back(CalcPtFromAngle2D(centre, i * 6.28 / round, 20));
        tree.Insert(id, ring);
        for (int i = 0; i < 20; ++i)
            ExpectLikeAScan(tree, items, shapes.PointNear(ring));
    }
}

TEST(QuadTree2D, TakesEveryBox)
{
    constexpr double kHuge = 1.5e308;
    for (const Extents2D& box : {Extents2D{5, 5, 5, 5},
                                 {-kHuge, kHuge, -kHuge, kHuge},
                                 {0, 1e-310, 0, 10},
                                 {0, 1e15, 5, 5}})
    {
        QuadTree2D tree = Tree(box, 1);
        for (std::uint32_t i = 0; i < 50; ++i)
            tree.Insert(i, Rectangle(0, i / 10.0, 10, 0.1));
        EXPECT_NE(tree.Find({box.minX > 0 ? 5 : 0.0, 5}), kNone) << box.maxX;
    }
    platform::FpuSetTraps(13); // invalid, division by zero, overflow
    EXPECT_EQ(QuadTree2D().Find({0, 0}), kNone);
    EXPECT_EQ(Tree({}).Find({0, 0}), kNone);
    platform::FpuSetTraps(0);
    EXPECT_EQ(Tree({0, kNaN, 0, 1}).Find({0, 0}), kNone);
}

TEST(QuadTree2D, StaysShallowForClustersAndSmallWhereSplittingSeparatesNothing)
{
    QuadTree2D cluster = Tree({0, 1e6, 0, 1e6});
    for (std::uint32_t i = 0; i < 10000; ++i)
        cluster.Insert(i, Rectangle(777777 + i % 100 * 0.01, 333333 + i / 100 * 0.01, 0.01, 0.01));
    EXPECT_EQ(cluster.Find({777777.005, 333333.005}), 0u);
    EXPECT_LE(cluster.Depth(), 29u); // 1e6 over 0.01 is 27 halvings
    EXPECT_LT(cluster.NumNodes(), 10000u);

    QuadTree2D heap = Tree(), points = Tree(), strips = Tree(), fan = Tree(kBox, 2);
    for (std::uint32_t i = 0; i < 20000; ++i)
    {
        heap.Insert(i, Rectangle(10, 10, 80, 80));
        points.Insert(i, {{50.01, 50.01}, {50.01, 50.01}});
        strips.Insert(i % 50, Rectangle(0, 33.3, 100, 1e-3));
    }
    const auto around = [](double angle, double r) {
        return CalcPtFromAngle2D({30, 30}, angle, r);
    };
    for (std::uint32_t i = 0; i < 50; ++i)
        fan.Insert(i, {{30, 30}, around(i * 0.1, 9), around(i * 0.1 + 0.1, 9), {30, 30}});
    EXPECT_LT(heap.NumNodes(), 10u);
    EXPECT_LT(points.NumNodes(), 130u);
    EXPECT_LT(strips.NumNodes(), 22u); // two levels: a quarter of their length
    EXPECT_LT(fan.NumNodes(), 500u);
    Ids ids;
    EXPECT_TRUE(heap.FindAll(ids, {50, 50}));
    EXPECT_EQ(ids.size(), 20000u);
    EXPECT_EQ(points.Find({50.01, 50.01}), 0u);
    EXPECT_EQ(strips.Find({50, 33.3005}), 0u);
    EXPECT_EQ(fan.Find(around(2.05, 8)), 20u);
}

TEST(QuadTree2D, KeepsItsNodesWhateverTheOrderOfSizes)
{
    // 10,000 items under 11 outlines and 30 strips: these first, last, and all from arrays.
    QuadTree2D alone = Tree(), first = Tree(), last = Tree(), loaded = Tree();
    Ring points;
    Ids starts = {0};
    const auto insert = [&](std::initializer_list<QuadTree2D*> trees, int id, const Ring& ring) {
        points.insert(points.end(), ring.begin(), ring.end());
        starts.push_back(std::uint32_t(points.size()));
        for (QuadTree2D* tree : trees)
            tree->Insert(std::uint32_t(id), ring);
    };
    const auto insertLarge = [&](QuadTree2D& tree) {
        for (int i = 0; i < 41; ++i)
            insert({&tree}, 20000 + i,
                   i < 11 ? Rectangle(0, 0, 100, 100) : Rectangle(0, 3 * (i - 11), 100, 1e-3));
    };
    insertLarge(first);
    points.clear();
    starts = {0};
    for (int i = 0; i < 10000; ++i)
        insert({&alone, &first, &last}, i, Rectangle(i % 100, i / 100, 1, 1));
    insertLarge(last);
    loaded = last;
    loaded.Load(points.data(), nullptr, starts.data(), std::uint32_t(starts.size() - 1));
    for (const QuadTree2D* tree : {&first, &last, &loaded})
    {
        EXPECT_LE(tree->NumNodes(), alone.NumNodes() * 5 / 4);
        EXPECT_GE(tree->NumNodes(), alone.NumNodes() * 3 / 4); // a large leaf would be slow
        Ids ids;
        EXPECT_TRUE(tree->FindAll(ids, {50.5, 50.5}));
        EXPECT_EQ(ids.size(), 12u);
    }
}

TEST(QuadTree2D, HoldsRegions)
{
    QuadTree2D tree = Tree();
    const Region2D frame = {Rectangle(10, 10, 60, 60),
                            {Rectangle(20, 20, 10, 10), Rectangle(40, 40, 20, 20)}};
    EXPECT_TRUE(tree.InsertRegion(1, frame));
    EXPECT_TRUE(tree.InsertRegion(2, {Rectangle(45, 45, 5, 5), {}}));
    EXPECT_TRUE(tree.InsertRegion(3, {Rectangle(0, 0, 90, 90), {{{kNaN, 1}}}}));
    EXPECT_FALSE(tree.InsertRegion(kNone, frame));
    Shapes shapes(2);
    for (int i = 0; i < 2000; ++i)
    {
        const Point2D p = {shapes.Below(160) * 0.5, shapes.Below(160) * 0.5};
        const bool isIn = RegionLocatePoint2D(frame, p, kPrecision) != PointLocation::Outside;
        const bool isInSmall = p.x >= 45 && p.x <= 50 && p.y >= 45 && p.y <= 50;
        ASSERT_EQ(tree.Find(p), isIn ? 1 : isInSmall ? 2 : kNone) << p.x << ' ' << p.y;
    }
    Ids ids;
    EXPECT_TRUE(tree.FindInBox(ids, {44, 46, 44, 46})); // within the hole
    EXPECT_EQ(ids, Ids{2});
    double distance = 0;
    EXPECT_EQ(tree.FindNearest({22, 25}, &distance), 1u);
    EXPECT_EQ(distance, 2);
    EXPECT_EQ(tree.FindNearest({kNaN, 25}, &distance), kNone);
    EXPECT_EQ(distance, kMissing);
}

TEST(QuadTree2D, HandlesAreCopiedAndMovedWhole)
{
    QuadTree2D tree = Tree(), other = Tree();
    tree.Insert(1, Rectangle(0, 0, 10, 10));
    other = tree;
    other.Insert(1, Rectangle(50, 50, 10, 10));
    EXPECT_EQ(tree.Find({5, 5}), 1u);
    EXPECT_EQ(other.Find({5, 5}), kNone);
    const QuadTree2D& same = tree;
    tree = same;
    EXPECT_EQ(tree.Find({5, 5}), 1u);
    QuadTree2D taken = std::move(tree);
    EXPECT_EQ(taken.Find({5, 5}), 1u);
    tree.Initialize(kBox, 10, kPrecision, 0);
    EXPECT_TRUE(tree.Insert(2, Rectangle(0, 0, 1, 1)));
    tree = std::move(taken);
    EXPECT_EQ(tree.Find({5, 5}), 1u);
}
} // namespace
