#include "Geom/GeomTest.h"
#include "Geom/Geom_LineIntersection2D.h"
#include "Geom/Geom_MeshEdges2D.h"
#include "Geom/Geom_Polygon.h"

#include <set>

namespace
{
using namespace geomtest;

constexpr std::uint32_t kNone = CellTable::MissingID();

struct Mesh
{
    std::vector<Point2D> nodes;
    Ids corners, starts = {0};
    MeshEdges2D edges;

    /// side x side squares of size 1, every third one cut into two triangles; nodes moved at
    /// random.
    Mesh(unsigned side, double shift)
    {
        std::mt19937 random(3);
        std::uniform_real_distribution<> moved(-shift, shift);
        for (unsigned i = 0; i < (side + 1) * (side + 1); ++i)
            nodes.push_back({i % (side + 1) + moved(random), i / (side + 1) + moved(random)});
        for (unsigned i = 0; i < side * side; ++i)
        {
            const unsigned a = i / side * (side + 1) + i % side, b = a + side + 1;
            const Ids whole = {a, a + 1, b + 1, b}, half = {a, a + 1, b + 1}, rest = {a, b + 1, b};
            for (const Ids& element :
                 i % 3 == 0 ? std::vector<Ids>{half, rest} : std::vector<Ids>{whole})
            {
                corners.insert(corners.end(), element.begin(), element.end());
                starts.push_back(std::uint32_t(corners.size()));
            }
        }
        EXPECT_TRUE(edges.Initialize(nodes, corners, starts, kPrecision).ok());
    }
    bool Contains(std::uint32_t element, const Point2D& p) const
    {
        std::vector<Point2D> ring;
        for (std::uint32_t i = starts[element]; i < starts[element + 1]; ++i)
            ring.push_back(nodes[corners[i]]);
        ring.push_back(ring.front());
        return PolygonContainsPoint2D(ring.data(), ring.size(), p, true, kPrecision);
    }
    /// The lowest element that contains a point; none outside.
    std::uint32_t ElementAt(const Point2D& p) const
    {
        std::uint32_t element = 0;
        while (element + 1 < starts.size() && !Contains(element, p))
            ++element;
        return element + 1 < starts.size() ? element : kNone;
    }
};

/// All nodes on the line, all edges that it meets elsewhere, in order; and elements between.
void ExpectLikeAScan(const Mesh& mesh, const Line2D& line)
{
    SCOPED_TRACE(testing::Message() << line.first.x << ' ' << line.first.y << ' ' << line.second.x
                                    << ' ' << line.second.y);
    std::vector<MeshHit2D> hits;
    mesh.edges.Cut(hits, line);
    std::set<std::uint32_t> nodes, edges, foundNodes, foundEdges;
    for (std::uint32_t edge = 0; edge < mesh.edges.NumEdges(); ++edge)
    {
        const auto [low, high] = mesh.edges.NodesOf(edge);
        bool isAtNode = false;
        for (const std::uint32_t node : {low, high})
            if (LineContainsPoint2D(line.first, line.second, mesh.nodes[node], kPrecision))
            {
                nodes.insert(node);
                isAtNode = true;
            }
        Point2D p, q;
        if (!isAtNode && LineIntersection2D(p, q, line.first, line.second, mesh.nodes[low],
                                            mesh.nodes[high], kPrecision) > 0)
            edges.insert(edge);
    }
    for (std::size_t i = 0; i < hits.size(); ++i)
    {
        const MeshHit2D& hit = hits[i];
        EXPECT_TRUE((hit.node == kNone ? foundEdges.insert(hit.edge) : foundNodes.insert(hit.node))
                        .second ||
                    hit.node == kNone); // a line within an edge begins and ends there
        EXPECT_GE(hit.parameter, i == 0 ? 0 : hits[i - 1].parameter);
        EXPECT_EQ(hit.from, i == 0 ? hit.from : hits[i - 1].to);
        const Point2D next = i + 1 < hits.size() ? hits[i + 1].point : line.second;
        const Point2D middle = {(hit.point.x + next.x) / 2, (hit.point.y + next.y) / 2};
        if (i + 1 < hits.size() || !IsEqual2D(next, hit.point, kPrecision))
            EXPECT_EQ(hit.to, mesh.ElementAt(middle)) << i;
    }
    EXPECT_EQ(foundNodes, nodes);
    EXPECT_EQ(foundEdges, edges);
}

TEST(MeshEdges2D, AreCutInOrderWithNodesOnce)
{
    const Mesh plain(12, 0), moved(12, 0.2);
    std::mt19937 random(5);
    std::uniform_real_distribution<> anywhere(-2, 14);
    const auto whole = [&] { return double(random() % 29) / 2 - 1; };
    const int tries = 150 * Rounds();
    for (int i = 0; i < tries; ++i)
    {
        ExpectLikeAScan(
            moved, {{anywhere(random), anywhere(random)}, {anywhere(random), anywhere(random)}});
        ExpectLikeAScan(plain,
                        {{whole(), whole()}, {whole(), whole()}}); // through nodes, along edges
        const Point2D &a = moved.nodes[random() % 169], &b = moved.nodes[random() % 169];
        ExpectLikeAScan(moved, {a, b});
        ExpectLikeAScan(moved, {{a.x * 2 - b.x, a.y * 2 - b.y}, {b.x + 3e-5, b.y - 3e-5}});
    }
    ExpectLikeAScan(moved, {{-1e9, -1e9}, {1e9, 1e9 + 1}});

    // By hand: along the lower border, then out.
    std::vector<MeshHit2D> hits;
    const Mesh small(2, 0); // element 0 and 1 are the halves of the first square
    EXPECT_EQ(small.edges.NumEdges(), 14u);
    small.edges.Cut(hits, {{0.5, 0}, {3, 0}});
    ASSERT_EQ(hits.size(), 2u);
    EXPECT_TRUE(hits[0].node == 1 && hits[0].from == 0 && hits[0].to == 2 &&
                hits[0].parameter == 0.2);
    EXPECT_EQ(small.edges.NodesOf(hits[0].edge), std::pair(1u, 2u));
    EXPECT_EQ(small.edges.ElementsOf(hits[0].edge), std::pair(2u, kNone));
    EXPECT_TRUE(hits[1].node == 2 && hits[1].from == 2 && hits[1].to == kNone);
}

TEST(MeshEdges2D, RefuseWhatIsNoMesh)
{
    MeshEdges2D edges;
    const std::vector<Point2D> nodes = {{0, 0}, {1, 0}, {0, 1}};
    const std::pair<Ids, Ids> rows[] = {
        {{0, 1, 3}, {0, 3}}, {{0, 1, 2}, {0, 2}}, {{0, 1, 2}, {0, 3, 1, 3}}, {{0, 1, 2}, {1, 3}}};
    for (const auto& [corners, starts] : rows)
        EXPECT_FALSE(edges.Initialize(nodes, corners, starts, kPrecision).ok());
    std::vector<MeshHit2D> hits(1);
    edges.Cut(hits, {{0, 0}, {1, 1}});
    EXPECT_TRUE(hits.empty() && edges.NumEdges() == 0);
    EXPECT_TRUE(edges.Initialize({}, {}, {}, kPrecision).ok());
    EXPECT_TRUE(edges.Initialize(nodes, {0, 1, 2}, {0, 3}, kPrecision).ok());
    edges.Cut(hits, {{kNaN, 0}, {1, 1}});
    EXPECT_TRUE(hits.empty() && edges.NumEdges() == 3);
    EXPECT_EQ(edges.NodesOf(3).first, kNone);
}

} // namespace
