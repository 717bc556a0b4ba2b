#include "Geom/GeomTest.h"
#include "Geom/Geom_CellTable.h"
#include "Geom/LineSets.h"

#include <set>

namespace
{
using namespace geomtest;
using Range = CellTable::RangeIdx;

constexpr std::uint32_t kNone = CellTable::MissingID();

/// Exposes the protected operations.
struct Table : CellTable
{
    Table(const Extents2D& box, std::uint32_t columns, std::uint32_t rows)
    {
        made = Initialize(box, columns, rows, 100);
    }
    using CellTable::CellIdx, CellTable::GetIdxX, CellTable::GetIdxY;
    using CellTable::IsValidX, CellTable::IsValidY;

    gtl::status made;
};

TEST(CellTable, FindsTheCellsThatACoordinateTouches)
{
    const Table table({0, 10, 0, 10}, 10, 10);
    const std::pair<double, Range> rows[] = {
        {3.00001, {2, 3}}, {3.5, {3, kNone}},      {10, {9, kNone}},      {-0.00001, {0, kNone}},
        {-1, {}},          {10.00004, {9, kNone}}, {10.00006, {}},        {2.99999, {2, 3}},
        {kNaN, {}},        {0, {0, kNone}},        {9.99999, {9, kNone}}, {1e300, {}}};
    for (const auto& [x, expected] : rows)
    {
        EXPECT_EQ(table.GetXCellIdx(x), expected) << x;
        EXPECT_EQ(table.GetYCellIdx(x), expected) << x;
    }
    // Cells narrower than the tolerance, and of no width.
    EXPECT_NE(Table({0, 1e-5, 0, 1}, 4, 1).GetXCellIdx(5e-6).first, kNone);
    EXPECT_EQ(Table({2, 2, 0, 1}, 4, 1).GetXCellIdx(2 + 4e-5), (Range{0, kNone}));
}

TEST(CellTable, HasItsMeasuresAndTheCellOfAPoint)
{
    Table table({0, 10, -20, 20}, 5, 4);
    EXPECT_EQ(table.NumX() * 100 + table.NumY() * 10 + table.NumCells(), 560u);
    EXPECT_EQ((Extents2D{table.MinX(), table.MaxX(), table.MinY(), table.MaxY()}),
              (Extents2D{0, 10, -20, 20}));
    EXPECT_EQ(table.GetCell2D(1, 2), (Extents2D{2, 4, 0, 10}));
    EXPECT_EQ(table.CellIdxX(11) * 10 + table.CellIdxY(11), 12u);
    EXPECT_EQ(*table.beginY(), -20);
    EXPECT_EQ(*table.endY(), 30); // past the last boundary
    std::vector<double> bounds;
    for (auto x = table.beginX(); !(x == table.endX()); ++x)
        bounds.push_back(*x);
    EXPECT_EQ(bounds, (std::vector<double>{0, 2, 4, 6, 8, 10}));

    EXPECT_EQ(table.GetIdxX(4.00001), 1u); // of columns 1 and 2
    EXPECT_EQ(table.GetIdxY(19), 3u);
    EXPECT_EQ(table.CellIdx(Point2D{4.1, 19}), 17u);
    EXPECT_EQ(table.CellIdx(Point2D{4.1, 21}), kNone);
    EXPECT_TRUE(table.IsValidX(10) && table.IsValidY(-20));
    EXPECT_FALSE(table.IsValidX(10 + 1e-9) || table.IsValidY(kNaN)); // without tolerance
    EXPECT_EQ(table.Find({3, 5}) - table.begin(), 11);
    EXPECT_EQ(table.end() - table.begin(), 20);
    EXPECT_EQ(table.Find({-1, 5}), table.end());
    EXPECT_EQ(table.Find({3, kNaN}), table.end());

    EXPECT_TRUE(table.Assign(1, 2, 77).ok());
    EXPECT_FALSE(table.Assign(5, 0, 1).ok() || table.Assign(0, 0, kNone).ok());
    table.At(5, 0).Add(3); // no cell of the table
    table.At(20).Add(3);
    const CellTable& same = table;
    EXPECT_TRUE(table.At(5, 0).IsEmpty() && same.At(0, 4).IsEmpty() && same.At(kNone).IsEmpty());
    EXPECT_TRUE(same.At(0, 1).IsEmpty()); // which a column too many would reach
    CellTable copy = table;
    copy.Remove(5); // was never there
    EXPECT_TRUE(copy.At(11).Contains(77));
    copy.Remove(77);
    EXPECT_TRUE(copy.At(1, 2).IsEmpty() && table.At(1, 2).Contains(77));
}

TEST(CellTable, WithoutCellsHoldsNothing)
{
    const Extents2D box = {0, 1, 0, 1};
    for (CellTable table :
         {CellTable(), CellTable(Table({}, 3, 3)), CellTable(Table({0, kNaN, 0, 1}, 3, 3)),
          CellTable(Table(box, 0, 3)), CellTable(Table(box, 0xffffffff, 0xffffffff))})
    {
        Ids ids = {1};
        EXPECT_EQ(table.NumCells(), 0u);
        EXPECT_EQ(table.Find({0.5, 0.5}), table.end());
        EXPECT_TRUE(table.Assign({Line2D{{0, 0}, {1, 1}}}).ok());
        table.FindAll(ids, {{0.5, 0.5}, 1}, 0, 0, true);
        EXPECT_TRUE(ids.empty() && table.beginX() == table.endX());
    }
    EXPECT_TRUE(Table({}, 3, 3).made.ok());
    EXPECT_FALSE(Table(box, 0xffffffff, 0xffffffff).made.ok());
}

TEST(Cell, IsASetHoweverItIsKept)
{
    linesets::Random random(6);
    for (const std::uint32_t most : {40u, 2000u, 0xfffffffeu})
    {
        Cell cell;
        std::set<std::uint32_t> expected;
        for (int i = 0; i < 3000; ++i)
        {
            const auto id = std::uint32_t(i % 100 == 99 ? random() : random() % most);
            if (random() % 3 == 0)
                cell.Remove(id), expected.erase(id);
            else
                cell.Add(id), expected.insert(id);
            ASSERT_EQ(cell.IsEmpty(), expected.empty());
            ASSERT_EQ(cell.Contains(id), expected.contains(id));
        }
        Ids ids;
        cell.Append(ids);
        EXPECT_EQ(ids, Ids(expected.begin(), expected.end()));
    }
}

TEST(CellTable, AssignsLinesToTheCellsThatTheyMeetAndNoOthers)
{
    linesets::Random random(2);
    CellTable table = Table({-1, 4, -1, 4}, 10, 10); // whole numbers are boundaries
    std::vector<Line2D> lines;
    for (const linesets::Generator make : {linesets::NearTolerance, linesets::Lattice})
        for (const Line2D& line : make(random, 200 * std::size_t(Rounds())))
            lines.push_back(line);
    for (const auto& [a, b] : linesets::Short(random, 50)) // from 0 to 100
        lines.push_back({{a.x / 20, a.y / 20}, {b.x / 20, b.y / 20}});
    ASSERT_TRUE(table.Assign(lines).ok());
    std::size_t met = 0;
    std::set<std::uint32_t> besideSeven;
    for (std::uint32_t cell = 0; cell < 100; ++cell)
        for (std::uint32_t id = 0; id < lines.size(); ++id)
        {
            const Extents2D box = table.GetCell2D(table.CellIdxX(cell), table.CellIdxY(cell));
            const bool has = table.At(cell).Contains(id);
            met += has;
            if (has && table.At(cell).Contains(7))
                besideSeven.insert(id);
            // Within a rounding of the tolerance either result is right.
            ASSERT_TRUE(DoesMeet(lines[id], box, 5e-5 + (has ? 1e-12 : -1e-12)) == has)
                << cell << ' ' << id;
        }
    EXPECT_GT(met, lines.size() * 5 / 2);
    Ids ids;
    table.FindAll(ids, {lines[7], {{kNaN, 0}, {1, 1}}});
    EXPECT_EQ(ids, Ids(besideSeven.begin(), besideSeven.end()));
}

TEST(CellTable, CollectsWhatLiesInTheCellsOfACircle)
{
    CellTable table = Table({0, 10, 0, 10}, 10, 10);
    for (std::uint32_t cell = 0; cell < 100; ++cell)
        ASSERT_TRUE(table.Assign(table.CellIdxX(cell), table.CellIdxY(cell), cell).ok());
    const std::tuple<Circle2D, double, bool, Ids> rows[] = {
        {{{5.5, 5.5}, 0.2}, 0, true, {55}},
        {{{5.5, 5.5}, 0.5}, 0, true, {45, 54, 55, 56, 65}},            // touches four sides
        {{{5.5, 5.5}, 1}, 0, false, {44, 45, 46, 54, 56, 64, 65, 66}}, // its rim alone
        {{{5.5, 5.5}, 0}, 0.6, true, {54, 55, 56}},
        {{{-1, 0.5}, 0.9}, 0, true, {}},
        {{{0, 0}, kNaN}, 0, true, {}},
    };
    Ids ids;
    for (const auto& [circle, wider, isWhole, expected] : rows)
    {
        table.FindAll(ids, circle, wider, 0, isWhole);
        EXPECT_EQ(ids, expected) << circle.radius;
    }
}
} // namespace
