#include "data/datatable_calculators.h"
#include "data/datatable_copy.h"
#include "foundation/MissingValue.h"

#include <gtest/gtest.h>

#include <functional>

using namespace datatable;

namespace
{
constexpr double kMissing = MissingValue<double>();
using Params = std::vector<DataParamType>;
using Rows = std::vector<std::vector<double>>;

DataParamType Param(int number) { return static_cast<DataParamType>(number); }
const DataParamType kKind = Param(1), kA = Param(10), kB = Param(20), kC = Param(30);

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

struct Case
{
    const char* what;
    std::function<void(DataTable& to, const DataTable& from)> operation;
    Rows result;
};

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
    EXPECT_EQ(Cells(two)[0], (std::vector<double>{-1, -2}));
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
    const Case cases[] = {
        {"row",
         [](auto& to, auto& from) { CopyRow(to, {2}, from, {1}); },
         {{1, 2}, {kMissing, 70}, {5, 6}}},
        {"row beyond the last",
         [](auto& to, auto& from) { CopyRow(to, {5}, from, {2}); },
         {{1, 2}, {3, 4}, {5, 6}, {kMissing, kMissing}, {9, inf}}},
        {"row that is not there", [](auto& to, auto& from) { CopyRow(to, {9}, from, {3}); },
         Cells(kTo)},
        {"row 0", [](auto& to, auto& from) { CopyRow(to, {0}, from, {1}); }, Cells(kTo)},
        {"column",
         [](auto& to, auto& from) { CopyColumn(to, from, kB); },
         {{kMissing, 2}, {9, 4}, {5, 6}}},
        {"column of another quantity",
         [](auto& to, auto& from) { CopyColumn(to, kC, from, kA); },
         {{1, 7}, {3, kMissing}, {5, 6}}},
        {"column without cells", [](auto& to, auto& from) { CopyColumn(to, from, kA); },
         Cells(kTo)},
        {"columns",
         [](auto& to, auto& from) {
             CopyColumns(to, from, {kC, kA, Param(99)});
         },
         {{1, 70}, {3, inf}, {5, 6}}},
        {"data", [](auto& to, auto& from) { AssignData(to, from); }, {{kMissing, 70}, {9, inf}}},
        {"append",
         [](auto& to, auto& from) { Append(to, from); },
         {{1, 2}, {3, 4}, {5, 6}, {kMissing, 70}, {9, inf}}},
        {"merged row",
         [](auto& to, auto& from) {
             MergeRow(to, from, {kB, kC, kA}, {1});
         },
         {{1, 70}, {3, 4}, {5, 6}}},
        {"merged row that is not there",
         [](auto& to, auto& from) { MergeRow(to, from, {kB}, {3}); }, Cells(kTo)},
        {"merge", [](auto& to, auto& from) { Merge(to, from); }, {{1, 2}, {9, 4}, {5, 6}}},
        {"merge of a list",
         [](auto& to, auto& from) { Merge(to, from, {kC}); },
         {{1, 70}, {3, inf}, {5, 6}}},
    };
    for (const Case& one : cases)
    {
        SCOPED_TRACE(one.what);
        DataTable to(kTo);
        one.operation(to, kFrom);
        EXPECT_EQ(Cells(to), one.result);
        EXPECT_EQ(to.Columns(), kTo.Columns());
    }
}

TEST(TableCopy, ShorterTargetsGrow)
{
    for (const auto& [what, operation] :
         std::vector<std::pair<const char*, std::function<void(DataTable&, const DataTable&)>>>{
             {"column", [](auto&to, auto&from) { CopyColumn(to, from, kA); }},
             {"columns", [](auto&to, auto&from) { CopyColumns(to, from, {kA}); }},
             {"merge", [](auto&to, auto&from) { Merge(to, from); }},
             {"data", [](auto&to, auto&from) { AssignData(to, from); }}})
    {
        SCOPED_TRACE(what);
        DataTable to = MakeTable({kA}, {{5}});
        operation(to, MakeTable({kA, kB}, {{1, 2}, {3, 4}}));
        EXPECT_EQ(Cells(to), (Rows{{1}, {3}}));
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
    // A computed quantity becomes a column; a table is asked for its own list only.
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
