#include "Geom/Geom_CellTable.h"
#include "Geom/Rounds.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <limits>
#include <random>
#include <set>

namespace
{
using Geom::CellTable;
using Geom::Line2D;
using Geom::Point2D;
using Ids = std::vector<std::uint32_t>;
using Range = CellTable::RangeIdx;

constexpr std::uint32_t kNone = CellTable::MissingID();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

CellTable Table(const Geom::Extents2D& box, std::uint32_t columns, std::uint32_t rows)
{
    CellTable table;
    table.Initialize(box, columns, rows, 100);
    return table;
}

TEST(CellTable, TellsTheCellsThatACoordinateTouches)
{
    const CellTable table = Table({0, 10, 0, 10}, 10, 10);
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

TEST(CellTable, FindsTheCellOfAPoint)
{
    CellTable table = Table({0, 10, 0, 20}, 5, 4);
    EXPECT_TRUE(table.Assign(1, 2, 77));
    EXPECT_FALSE(table.Assign(5, 0, 1));
    EXPECT_FALSE(table.Assign(0, 0, kNone));
    EXPECT_TRUE(table.Find({3, 12})->Contains(77));
    EXPECT_EQ(table.Find({3, 12}) - table.begin(), std::ptrdiff_t(table.CellIdx(1, 2)));
    EXPECT_EQ(table.Find({-1, 12}), table.end());
    EXPECT_EQ(table.Find({3, kNaN}), table.end());
    EXPECT_EQ(table.GetCell2D(1, 2), (Geom::Extents2D{2, 4, 10, 15}));
    EXPECT_EQ(table.CellIdxX(11), 1u);
    EXPECT_EQ(table.CellIdxY(11), 2u);

    CellTable copy = table;
    copy.Remove(5); // was never there
    EXPECT_TRUE(copy.At(11).Contains(77));
    copy.Remove(77);
    EXPECT_TRUE(copy.At(1, 2).IsEmpty());
    EXPECT_TRUE(table.At(1, 2).Contains(77));
    std::vector<double> bounds;
    for (auto x = table.beginX(); !(x == table.endX()); ++x)
        bounds.push_back(*x);
    EXPECT_EQ(bounds, (std::vector<double>{0, 2, 4, 6, 8, 10}));
}

/// The protected operations, for tests.
struct OpenTable : CellTable
{
    using CellTable::CellIdx;
    using CellTable::GetIdxX;
    using CellTable::GetIdxY;
    using CellTable::IsValidX;
    using CellTable::IsValidY;
};

TEST(CellTable, TellsItsMeasuresAndTheIndicesOfAPoint)
{
    OpenTable table;
    table.Initialize({0, 10, -20, 20}, 5, 4, 0);
    EXPECT_EQ(table.NumX() * 100 + table.NumY() * 10 + table.NumCells(), 560u);
    EXPECT_EQ((Geom::Extents2D{table.MinX(), table.MaxX(), table.MinY(), table.MaxY()}),
              (Geom::Extents2D{0, 10, -20, 20}));
    EXPECT_EQ(table.end() - table.begin(), 20);
    EXPECT_EQ(*table.beginY(), -20);
    EXPECT_EQ(*table.endY(), 30);          // behind the last boundary
    EXPECT_EQ(table.GetIdxX(4.00001), 1u); // of columns 1 and 2
    EXPECT_EQ(table.GetIdxY(19), 3u);
    EXPECT_EQ(table.CellIdx(Point2D{4.1, 19}), 17u);
    EXPECT_EQ(table.CellIdx(Point2D{4.1, 21}), kNone);
    EXPECT_TRUE(table.IsValidX(10) && table.IsValidY(-20));
    EXPECT_FALSE(table.IsValidX(10 + 1e-9) || table.IsValidY(kNaN)); // without tolerance
}

TEST(CellTable, WithoutCellsHoldsNothing)
{
    const Geom::Extents2D box = {0, 1, 0, 1};
    for (CellTable table : {CellTable(), Table({}, 3, 3), Table({0, kNaN, 0, 1}, 3, 3),
                            Table(box, 0, 3), Table(box, 0xffffffff, 0xffffffff)})
    {
        Ids ids = {1};
        EXPECT_EQ(table.NumCells(), 0u);
        EXPECT_EQ(table.Find({0.5, 0.5}), table.end());
        table.Assign({Line2D{{0, 0}, {1, 1}}});
        table.FindAll(ids, {{0.5, 0.5}, 1}, 0, 0, true);
        EXPECT_TRUE(ids.empty());
        EXPECT_TRUE(table.beginX() == table.endX());
    }
}

/// Whether a line meets a box, by cutting it at the box's sides.
bool Meets(const Line2D& line, const Geom::Extents2D& box, double reach)
{
    double from = 0, to = 1;
    const auto cut = [&](double start, double way, double low, double high) {
        if (way == 0)
            return start >= low && start <= high;
        const double t1 = (low - start) / way, t2 = (high - start) / way;
        from = std::max(from, std::min(t1, t2));
        to = std::min(to, std::max(t1, t2));
        return true;
    };
    return cut(line.first.x, line.second.x - line.first.x, box.minX - reach, box.maxX + reach) &&
           cut(line.first.y, line.second.y - line.first.y, box.minY - reach, box.maxY + reach) &&
           from <= to;
}

/// Random lines, some on the boundaries of the cells, some upright, some points.
std::vector<Line2D> Lines(std::mt19937& random, int count)
{
    const auto any = [&] {
        const double v = std::uniform_real_distribution<>(-3, 13)(random);
        return random() % 3 == 0 ? std::round(v) + 4e-5 * (int(random() % 3) - 1) : v;
    };
    std::vector<Line2D> lines;
    for (int i = 0; i < count; ++i)
    {
        lines.push_back({{any(), any()}, {any(), any()}});
        if (i % 4 == 0)
            lines.back().second.x = lines.back().first.x;
        if (i % 9 == 0)
            lines.back().second = lines.back().first;
    }
    return lines;
}

TEST(CellTable, AssignsLinesToTheCellsThatTheyMeetAndNoOthers)
{
    std::mt19937 random(2);
    CellTable table = Table({0, 10, 0, 10}, 10, 10);
    const std::vector<Line2D> lines = Lines(random, 400 * oracle::Rounds());
    table.Assign(lines);
    std::size_t met = 0;
    for (std::uint32_t cell = 0; cell < 100; ++cell)
        for (std::uint32_t id = 0; id < lines.size(); ++id)
        {
            const Geom::Extents2D box = table.GetCell2D(table.CellIdxX(cell), table.CellIdxY(cell));
            const bool has = table.At(cell).Contains(id);
            met += has;
            // Within a rounding of the tolerance either answer is right.
            ASSERT_TRUE(has || !Meets(lines[id], box, 5e-5 - 1e-12)) << cell << ' ' << id;
            ASSERT_TRUE(!has || Meets(lines[id], box, 5e-5 + 1e-12)) << cell << ' ' << id;
        }
    EXPECT_GT(met, lines.size() * 5 / 2);
    std::printf("[ ORACLE   ] %zu cells of lines compared, %zu met\n", 100 * lines.size(), met);

    Ids ids;
    table.FindAll(ids, {lines[7], {{kNaN, 0}, {1, 1}}});
    std::set<std::uint32_t> expected;
    for (std::uint32_t cell = 0; cell < 100; ++cell)
        if (table.At(cell).Contains(7))
            for (std::uint32_t id = 0; id < lines.size(); ++id)
                if (table.At(cell).Contains(id))
                    expected.insert(id);
    EXPECT_EQ(ids, Ids(expected.begin(), expected.end()));
}

TEST(CellTable, CollectsWhatLiesInTheCellsOfACircle)
{
    CellTable table = Table({0, 10, 0, 10}, 10, 10);
    for (std::uint32_t cell = 0; cell < 100; ++cell)
        table.Assign(table.CellIdxX(cell), table.CellIdxY(cell), cell);
    Ids ids;
    table.FindAll(ids, {{5.5, 5.5}, 0.2}, 0, 0, true);
    EXPECT_EQ(ids, (Ids{55}));
    table.FindAll(ids, {{5.5, 5.5}, 0.5}, 0, 0, true); // touches four sides
    EXPECT_EQ(ids, (Ids{45, 54, 55, 56, 65}));
    table.FindAll(ids, {{5.5, 5.5}, 1}, 0, 0, false); // the rim lies in eight cells
    EXPECT_EQ(ids, (Ids{44, 45, 46, 54, 56, 64, 65, 66}));
    table.FindAll(ids, {{5.5, 5.5}, 0}, 0.6, 0, true);
    EXPECT_EQ(ids, (Ids{54, 55, 56}));
    table.FindAll(ids, {{-1, 0.5}, 0.9}, 0, 0, true);
    EXPECT_TRUE(ids.empty());
    table.FindAll(ids, {{0, 0}, kNaN}, 0, 0, true);
    EXPECT_TRUE(ids.empty());
}
} // namespace
