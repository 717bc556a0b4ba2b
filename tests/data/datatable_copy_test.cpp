#include "data/datatable_calculators.h"
#include "data/datatable_copy.h"
#include "table_parts.h"

using namespace datatable;
using namespace table_parts;

namespace
{
using Rows = std::vector<Numbers>;

/// C = 10 A.
std::shared_ptr<CalculatorMap> TenTimes()
{
    auto calculators = std::make_shared<CalculatorMap>();
    calculators->Set(kKind, kC, {{kA}, [](std::span<const double> v) { return 10 * v[0]; }});
    return calculators;
}

DataTable MakeTable(const Params& params, const Rows& rows)
{
    DataTable table(kKind, params, static_cast<unsigned>(rows.size()), TenTimes(),
                    eval::MakeSimpleEvaluator());
    for (std::uint32_t i = 0; i < rows.size(); ++i)
        std::copy(rows[i].begin(), rows[i].end(), table.Row({i + 1}).begin());
    return table;
}

Rows Cells(const DataTable& table)
{
    Rows rows;
    for (std::uint32_t row = 1; row <= table.RowCount(); ++row)
        rows.emplace_back(table.Row({row}).begin(), table.Row({row}).end());
    return rows;
}

// A target with columns B, C and three rows; a source with columns A, B and two.
const DataTable kTo = MakeTable({kB, kC}, {{1, 2}, {3, 4}, {5, 6}});
const DataTable kFrom = MakeTable({kA, kB}, {{7, kMissing}, {kMissing, 9}});
} // namespace

TEST(TableCopy, CopyGoesByPosition)
{
    const Rows four = {{1, 2}, {3, 4}, {5, kMissing}, {7, 8}};
    DataTable two = MakeTable({kA, kB}, {{0, 0}, {0, 0}});
    Copy(two, MakeTable({kA, kB}, four));
    EXPECT_EQ(Cells(two), four);
    Copy(two, MakeTable({kB, kA}, {{-1, -2}}));
    EXPECT_EQ(Cells(two)[0], (Numbers{-1, -2}));
    EXPECT_EQ(Cells(two)[1], four[1]);
}

TEST(TableCopy, TablesOfUnequalColumnsTakeWhatTheyCanHold)
{
    DataTable narrow = MakeTable({kB}, {{1}}), wide = MakeTable({kA, kB, kC}, {{1, 2, 3}});
    Copy(narrow, MakeTable({kA, kB, kC}, {{4, 5, 6}, {7, 8, 9}}));
    EXPECT_EQ(Cells(narrow), (Rows{{4}, {7}}));
    Copy(wide, narrow);
    EXPECT_EQ(Cells(wide), (Rows{{4, 2, 3}, {7, kMissing, kMissing}}));
    DataTable none;
    Copy(none, wide);
    EXPECT_EQ(none.ColumnCount(), 0u);
    Copy(wide, DataTable());
    EXPECT_EQ(wide.RowCount(), 2u);
}

TEST(TableCopy, EveryOtherOperationGoesByQuantity)
{
    // The source computes C = 10 A; where A is missing that is infinite.
    const double inf = 10 * kMissing;
    const Rows same = Cells(kTo);
    static const Params three = {kC, kA, kE}, all = {kB, kC, kA};
    const std::pair<Rows, void (*)(DataTable&)> cases[] = {
        {{{1, 2}, {kMissing, 70}, {5, 6}}, [](auto& to) { CopyRow(to, {2}, kFrom, {1}); }},
        {{{1, 2}, {3, 4}, {5, 6}, {kMissing, kMissing}, {9, inf}},
         [](auto& to) { CopyRow(to, {5}, kFrom, {2}); }},
        {same, [](auto& to) { CopyRow(to, {9}, kFrom, {3}); }}, // there is no row 3
        {same, [](auto& to) { CopyRow(to, {0}, kFrom, {1}); }},
        {{{kMissing, 2}, {9, 4}, {5, 6}}, [](auto& to) { CopyColumn(to, kFrom, kB); }},
        {{{1, 7}, {3, kMissing}, {5, 6}}, [](auto& to) { CopyColumn(to, kC, kFrom, kA); }},
        {same, [](auto& to) { CopyColumn(to, kFrom, kA); }},
        {{{1, 70}, {3, inf}, {5, 6}}, [](auto& to) { CopyColumns(to, kFrom, three); }},
        {{{kMissing, 70}, {9, inf}}, [](auto& to) { AssignData(to, kFrom); }},
        {{{1, 2}, {3, 4}, {5, 6}, {kMissing, 70}, {9, inf}}, [](auto& to) { Append(to, kFrom); }},
        {{{1, 70}, {3, 4}, {5, 6}}, [](auto& to) { MergeRow(to, kFrom, all, {1}); }},
        {same, [](auto& to) { MergeRow(to, kFrom, {kB}, {3}); }},
        {{{1, 2}, {9, 4}, {5, 6}}, [](auto& to) { Merge(to, kFrom); }},
        {{{1, 70}, {3, inf}, {5, 6}}, [](auto& to) { Merge(to, kFrom, {kC}); }},
    };
    for (const auto& one : cases)
    {
        SCOPED_TRACE(&one - cases);
        DataTable to(kTo);
        one.second(to);
        EXPECT_EQ(Cells(to), one.first);
        EXPECT_EQ(to.Columns(), kTo.Columns());
    }
}

TEST(TableCopy, ShorterTargetsGrow)
{
    void (*const operations[])(DataTable&, const DataTable&) = {
        [](auto& to, auto& from) { CopyColumn(to, from, kA); },
        [](auto& to, auto& from) { CopyColumns(to, from, {kA}); },
        [](auto& to, auto& from) { Merge(to, from); },
        [](auto& to, auto& from) { AssignData(to, from); },
    };
    for (const auto& operation : operations)
    {
        DataTable to = MakeTable({kA}, {{5}});
        operation(to, MakeTable({kA, kB}, {{1, 2}, {3, 4}}));
        EXPECT_EQ(Cells(to), (Rows{{1}, {3}})) << &operation - operations;
    }
}

TEST(TableCopy, ATableMayBeItsOwnSource)
{
    DataTable table(kTo);
    Copy(table, table);
    AssignData(table, table);
    Merge(table, table);
    MergeRow(table, table, {kB, kC}, {2});
    CopyColumns(table, table, {kB, kC});
    EXPECT_TRUE(table.Equals(kTo));
    CopyRow(table, {4}, table, {1}); // grows while it reads
    CopyColumn(table, kB, table, kC);
    const Rows four = {{2, 2}, {4, 4}, {6, 6}, {2, 2}};
    EXPECT_EQ(Cells(table), four);
    Append(table, table);
    ASSERT_EQ(table.RowCount(), 8u);
    const Rows eight = Cells(table);
    EXPECT_EQ(Rows(eight.begin() + 4, eight.end()), four);
}

TEST(TableCopy, RefusesRowsBeyondTheirNumbers)
{
    DataTable tall; // rows cost nothing where there are no columns
    tall.ResizeRows(0xFFFFFFFF);
    Append(tall, kFrom);
    EXPECT_EQ(tall.RowCount(), 0xFFFFFFFFu);
}

TEST(TableUnion, HoldsTheQuantitiesAndRowsOfBoth)
{
    const auto both = CreateUnion(kTo, kFrom);
    EXPECT_EQ(both->Columns(), (Params{kB, kC, kA}));
    // Values of the first count before those of the second.
    EXPECT_EQ(Cells(*both), (Rows{{1, 2, 7}, {3, 4, kMissing}, {5, 6, kMissing}}));
    EXPECT_EQ(both->Calculators(), kTo.Calculators());
    EXPECT_EQ(both->RowKind(), kKind);
    EXPECT_EQ(Cells(*CreateUnion(kFrom, kTo)),
              (Rows{{7, 1, 2}, {kMissing, 9, 4}, {kMissing, 5, 6}}));
    // A computed quantity becomes a column; each table contributes its own list only.
    EXPECT_EQ(Cells(*CreateUnion(kFrom, {kC}, kTo, {kB})),
              (Rows{{70, 1}, {10 * kMissing, 3}, {kMissing, 5}}));
    EXPECT_TRUE(CreateUnion(DataTable(), {Param(604)}, kTo, {kB})->Columns().empty());
}

TEST(TableUnion, FallsBackToTheDefaultCalculators)
{
    EXPECT_EQ(DefaultCalculators(), nullptr);
    const auto calculators = TenTimes();
    SetDefaultCalculators(calculators);
    const DataTable plain(kKind, {kA}, 1);
    EXPECT_EQ(CreateUnion(plain, plain)->Calculators(), calculators);
    EXPECT_EQ(CreateUnion(plain, kTo)->Calculators(), kTo.Calculators());
    SetDefaultCalculators(nullptr);
    EXPECT_EQ(CreateUnion(plain, plain)->Calculators(), nullptr);
}
