// The finders and indexes where memory ends: every allocation of every operation fails once. What
// returns a status reports it, what returns none throws, and neither leaves anything half done.
#include "Geom/GeomTest.h"
#include "Geom/Geom_CellTable.h"
#include "Geom/Geom_LineEvents2D.h"
#include "Geom/Geom_LineMeetings2D.h"
#include "Geom/Geom_MeshEdges2D.h"
#include "Geom/Geom_Polygon.h"
#include "Geom/Geom_QuadTree2D.h"
#include "Geom/Geom_Region.h"
#include "Geom/LineSets.h"
#include "support/FailingMemory.h"

#include <variant>

namespace
{
using namespace geomtest;

const std::vector<Line2D>& Lines()
{
    static linesets::Random random(3);
    static const std::vector<Line2D> lines = linesets::Lattice(random, 60);
    return lines;
}

const Ring kSmall = Square(10.6, 10.6, 0.2),
           kHexagon = {{0, 0}, {1, 0}, {2, 0.5}, {2, 1}, {1, 2}, {0, 2}};

const std::vector<Line2D> kDiagonal = {{{0, 0}, {12, 12}}},
                          kCross = {{{0, 0}, {10, 10}}, {{0, 10}, {10, 0}}};

const Extents2D kNine = {0, 9, 0, 9}, kPart = {1, 3, 1, 3};
const Circle2D kRound = {{4, 4}, 3};
const Region2D kRegion = {Square(1, 1, 5), {Square(2, 2, 1)}};
const Point2D kPoint = {1.1, 1.1};
const Line2D kCut = {{0.1, 0.2}, {3.9, 3.5}};

/// What an operation works on, made anew for each try, and what it leaves.
struct Scene
{
    CellTable table;
    QuadTree2D tree;
    MeshEdges2D edges;
    Ids ids;
    std::vector<LineEvent2D> events;
    std::vector<LineMeeting2D> meetings;
    std::vector<MeshHit2D> hits;
    std::vector<Point2D> nodes;
    Ids corners, starts;

    Scene()
    {
        EXPECT_TRUE(table.Initialize({0, 12, 0, 12}, 6, 6, 0).ok());
        EXPECT_TRUE(table.Assign(Lines()).ok());
        tree.Initialize({0, 12, 0, 12}, 2, Precision(), 0);
        for (std::uint32_t i = 0; i < kItems; ++i)
            tree.Insert(i, Square(i % 6, double(i / 6), i % 5 == 0 ? 4 : 0.4));
        for (const double at : {10.1, 10.3}) // a leaf that is full
            tree.Insert(std::uint32_t(10 * at), Square(at, at, 0.1));
        starts.push_back(0);
        for (std::uint32_t i = 0; i < 16; ++i)
        {
            const Ring square = Square(i % 4, double(i / 4), 1);
            nodes.insert(nodes.end(), square.begin(), square.end() - 1);
            for (std::uint32_t k = 0; k < 4; ++k)
                corners.push_back(4 * i + k);
            starts.push_back(4 * i + 4);
        }
        EXPECT_TRUE(edges.Initialize(nodes, corners, starts, Precision()).ok());
    }
    static constexpr std::uint32_t kItems = 30;
};

/// The items of the tree that hold the points of a grid.
Ids Found(const QuadTree2D& tree)
{
    Ids all, ids;
    for (double y = 0.2; y < 12; y += 0.5)
        for (double x = 0.2; x < 12; x += 0.5)
        {
            tree.FindAll(ids, {x, y});
            all.insert(all.end(), ids.begin(), ids.end());
            all.push_back(CellTable::MissingID());
        }
    return all;
}

struct Operation
{
    const char* name;
    std::variant<void (*)(Scene&), gtl::status (*)(Scene&)> run; ///< one without a status throws
    std::size_t (*size)(const Scene&);                           ///< of the result

    bool HasStatus() const { return run.index() == 1; }
    gtl::status Run(Scene& scene) const
    {
        if (HasStatus())
            return std::get<1>(run)(scene);
        return std::get<0>(run)(scene), gtl::status();
    }
};

std::size_t Count(const CellTable& table)
{
    Ids ids;
    for (const Cell& cell : table)
        cell.Append(ids);
    return ids.size();
}

std::size_t Cells(const Scene& s) { return Count(s.table); }
std::size_t Listed(const Scene& s) { return s.ids.size(); }
std::size_t InTree(const Scene& s) { return Found(s.tree).size(); }

/// Leaves three identifiers when something holds.
void Note(Scene& s, bool holds) { s.ids.assign(holds ? 3 : 0, 0); }

const Operation kOperations[] = {
    {"CellTable::Initialize", [](Scene& s) { return s.table.Initialize(kNine, 9, 9, 0); },
     [](const Scene& s) { return std::size_t(s.table.NumCells()); }},
    {"CellTable::Assign", [](Scene& s) { return s.table.Assign(kDiagonal); }, Cells},
    {"CellTable::FindAll lines", [](Scene& s) { s.table.FindAll(s.ids, kDiagonal); }, Listed},
    {"CellTable::FindAll circle", [](Scene& s) { s.table.FindAll(s.ids, kRound, 0, 0, true); },
     Listed},
    {"QuadTree2D::Insert, splitting a leaf", [](Scene& s) { s.tree.Insert(100, kSmall); }, InTree},
    {"QuadTree2D::Insert, other points", [](Scene& s) { s.tree.Insert(7, kHexagon); }, InTree},
    {"QuadTree2D::InsertRegion", [](Scene& s) { s.tree.InsertRegion(100, kRegion); }, InTree},
    {"QuadTree2D::Load",
     [](Scene& s) { s.tree.Load(s.nodes.data(), s.corners.data(), s.starts.data(), 16); }, InTree},
    {"QuadTree2D::FindAll", [](Scene& s) { s.tree.FindAll(s.ids, kPoint); }, Listed},
    {"QuadTree2D::FindInBox", [](Scene& s) { s.tree.FindInBox(s.ids, kPart); }, Listed},
    {"MeshEdges2D::Initialize",
     [](Scene& s) { return s.edges.Initialize(s.nodes, s.corners, s.starts, Precision()); },
     [](const Scene& s) { return std::size_t(s.edges.NumEdges()); }},
    {"MeshEdges2D::Cut", [](Scene& s) { s.edges.Cut(s.hits, kCut); },
     [](const Scene& s) { return s.hits.size(); }},
    {"LineCrossingEvents2D", [](Scene& s) { LineCrossingEvents2D(s.events, Lines()); },
     [](const Scene& s) { return s.events.size(); }},
    {"LineMeetings2D", [](Scene& s) { LineMeetings2D(s.meetings, kCross, Lines(), Precision()); },
     [](const Scene& s) { return s.meetings.size(); }},
    {"PolygonIsValid2D",
     [](Scene& s) { Note(s, PolygonIsValid2D(Square(0, 0, 4).data(), 5, false)); }, Listed},
    {"RegionCheck2D", [](Scene& s) { Note(s, RegionCheck2D(kRegion, kPrecision).IsSound()); },
     Listed},
};

TEST(GeomMemory, ThatEndsIsReportedAndLeavesNothingHalfDone)
{
    for (const Operation& operation : kOperations)
    {
        SCOPED_TRACE(operation.name);
        Scene whole;
        ASSERT_TRUE(operation.Run(whole).ok());
        const std::size_t size = operation.size(whole);
        EXPECT_GT(size, 0u);
        for (long allocation = 1;; ++allocation)
        {
            Scene scene;
            const Ids before = Found(scene.tree);
            failing_memory::left = allocation;
            bool hasThrown = false, isOk = false;
            try
            {
                isOk = operation.Run(scene).ok();
            }
            catch (const std::bad_alloc&)
            {
                hasThrown = true;
            }
            const bool hasFailed = failing_memory::left.exchange(0) <= 0;
            if (isOk)
                EXPECT_EQ(operation.size(scene), size) << allocation;
            if (!hasFailed)
            {
                EXPECT_TRUE(isOk);
                EXPECT_GT(allocation, 1);
                break;
            }
            EXPECT_TRUE(isOk || hasThrown != operation.HasStatus()) << allocation;
            // The tree is as it was, empty, or complete; and takes the same again.
            const Ids after = Found(scene.tree);
            QuadTree2D none;
            EXPECT_TRUE(isOk || after == before || after == Found(none)) << allocation;
            ASSERT_TRUE(operation.Run(scene).ok());
            if (after == before)
                EXPECT_EQ(operation.size(scene), size) << allocation;
        }
    }
}

/// The figure of the header: 490,000 cells with two lines each.
TEST(CellTable, TakesMemoryForItsContents)
{
    constexpr std::uint32_t kAcross = 700, kCells = kAcross * kAcross;
    const long long before = failing_memory::taken;
    CellTable table;
    ASSERT_TRUE(table.Initialize({0, kAcross, 0, kAcross}, kAcross, kAcross, 2 * kCells).ok());
    for (std::uint32_t cell = 0; cell < kCells; ++cell)
        for (const std::uint32_t id : {cell, cell + kCells})
            ASSERT_TRUE(table.Assign(cell % kAcross, cell / kAcross, id).ok());
    // A bit for each line would take 30 GB.
    const double perCell = double(failing_memory::taken - before) / kCells;
    EXPECT_LT(perCell, 48) << "bytes asked for";
    Ids ids;
    table.FindAll(ids, {Line2D{{0, 3.5}, {700, 3.5}}});
    ASSERT_EQ(ids.size(), 1400u);
    EXPECT_TRUE(ids[0] == 2100 && ids[699] == 2799 && ids[1399] == 492799);
}
} // namespace
