#include "data/datatable_Properties.h"
#include "data/datatable_calculators.h"
#include "data/datatable_cells.h"
#include "data/datatable_inspect.h"
#include "support/Numbers.h"
#include "table_parts.h"

using namespace datatable;
using namespace table_parts;

namespace
{
using support::kInfinity;
using support::kNaN;

DataTable MakeTable(const Numbers& a)
{
    DataTable table(kKind, {kA, kB}, static_cast<unsigned>(a.size()));
    std::copy(a.begin(), a.end(), table.Column(kA).begin());
    return table;
}

/// C = A + B, D = C + C, E needs itself.
DataTable MakeComputing()
{
    const auto calculators = std::make_shared<CalculatorMap>();
    calculators->Set(kKind, kC, Sum({kA, kB}));
    calculators->Set(kKind, kD, Sum({kC, kC}));
    calculators->Set(kKind, kE, Sum({kE}));
    DataTable table(kKind, {kA, kB}, 2, calculators, eval::MakeSimpleEvaluator());
    std::iota(table.Row({1}).begin(), table.Row({1}).end(), 1);
    std::iota(table.Row({2}).begin(), table.Row({2}).end(), 3);
    return table;
}
} // namespace

TEST(TableCells, RowsGrowTheTableColumnsDoNot)
{
    DataTable table = MakeTable({1, 2, 3});
    FillRow(table, {10}, 7);
    EXPECT_EQ(table.RowCount(), 10u);
    EXPECT_EQ(AsVector(table.Row({3})), (Numbers{3, kMissing}));
    EXPECT_EQ(AsVector(table.Row({9})), (Numbers{kMissing, kMissing}));
    EXPECT_EQ(AsVector(table.Row({10})), (Numbers{7, 7}));
    SetMissingRow(table, 11);
    EXPECT_EQ(table.RowCount(), 11u);
    ExpandRows(table, 2);
    FillRow(table, {0}, 5);
    SetMissingRow(table, 0);
    EXPECT_EQ(table.RowCount(), 11u);

    FillColumn(table, kC, 4);
    SetMissingColumns(table, {kC, kA});
    EXPECT_EQ(AsVector(table.Column(kA)), Numbers(11, kMissing));
    FillColumn(table, kB, 4);
    EXPECT_EQ(AsVector(table.Column(kB)), Numbers(11, 4));
    SetMissingAll(table);
    EXPECT_TRUE(table.Equals(DataTable(kKind, {kA, kB}, 11)));
    DataTable wide(kKind, FirstParams(100), 1);
    FillRow(wide, {0xFFFFFFFF}, 5); // more cells than a table may have
    EXPECT_TRUE(wide.Equals(DataTable(kKind, FirstParams(100), 1)));
}

TEST(TableCells, TheValueMayBeACellOfTheTable)
{
    DataTable table = MakeTable({5, 6});
    FillRow(table, {1000}, table.Row({1})[0]); // moves every cell
    EXPECT_EQ(AsVector(table.Row({1000})), (Numbers{5, 5}));
    FillColumn(table, kA, table.Row({2})[0]);
    EXPECT_EQ(AsVector(table.Column(kA)), Numbers(1000, 6));
}

TEST(TableCells, ColumnsAreInsertedBehindTheOthers)
{
    DataTable table = MakeTable({1, 2});
    InsertColumns(table, {kC, kA, kC, Param(9)});
    EXPECT_EQ(table.Columns(), (Params{kA, kB, kC, Param(9)}));
    EXPECT_EQ(AsVector(table.Row({2})), (Numbers{2, kMissing, kMissing, kMissing}));
    table.SetValue({1}, kC, 8);
    const DataTable before(table);
    InsertColumns(table, {kD, Param(604)}); // one of them cannot be a column
    EXPECT_TRUE(table.Equals(before));
    EXPECT_TRUE(table.ChangeColumns({kC, kD, kA}));
    EXPECT_EQ(AsVector(table.Row({1})), (Numbers{8, kMissing, 1}));
    EXPECT_EQ(table.GetValue({2}, kB), kMissing);
    EXPECT_FALSE(table.ChangeColumns({kC, kC}));
    EXPECT_TRUE(table.ChangeColumns({}));
    EXPECT_EQ(table.RowCount(), 2u);
}

TEST(TableCells, TheMissingValueIsNeverAdded)
{
    DataTable table = MakeTable({1, kMissing});
    for (const std::uint32_t row : {0u, 1u, 2u, 3u})
        IncrementTableValueByValue(table, {row}, kA, 2);
    IncrementTableValueByValue(table, {2}, kA, kMissing);
    IncrementTableValueByValue(table, {1}, kB, kMissing);
    EXPECT_EQ(AsVector(table.Column(kA)), (Numbers{3, 2}));
    EXPECT_EQ(table.GetValue({1}, kB), kMissing);
}

TEST(TableInspection, AsksForStoredAndForAnswerableQuantities)
{
    const DataTable table = MakeComputing();
    const std::pair<Params, bool> rows[] = {{{}, true},    {{kA, kB}, false},  {{kA, kC}, false},
                                            {{kE}, true},  {{kA, kE}, true},   {{Param(99)}, true},
                                            {{kD}, false}, {{Param(-1)}, true}};
    for (const auto& [params, isMissing] : rows)
        EXPECT_EQ(IsTableMissingParam(table, params), isMissing);
    EXPECT_EQ(ListUnstoredParams(table, {kD, kA, kC, kD}), (Params{kD, kC, kD}));
    EXPECT_EQ(ListUnstoredParams(table, {}), Params());
    EXPECT_EQ(ExpandComputedParams(table, {kD, kB, kE, Param(99)}),
              (Params{kA, kB, kE, Param(99)}));
}

TEST(TableInspection, StatisticsSkipMissingValuesAndShowNans)
{
    // Values: the lowest, the highest, their sum and largest magnitude; the extremes' rows.
    const std::tuple<Numbers, Numbers, unsigned, unsigned> rows[] = {
        {{3, kMissing, -5, 4, -5, 4}, {-5, 4, 1, 5}, 3, 4},
        {{kMissing, -2}, {-2, -2, -2, 2}, 2, 2},
        {{kMissing, kMissing}, Numbers(4, kMissing), 0, 0},
        {{}, Numbers(4, kMissing), 0, 0},
        {{1, kNaN, 9, kNaN}, Numbers(4, kNaN), 2, 2},
        {{-kInfinity, 1}, {-kInfinity, 1, -kInfinity, kInfinity}, 1, 2},
    };
    for (const auto& [values, expected, lowestRow, highestRow] : rows)
    {
        const DataTable table = MakeTable(values);
        const gtl::range<double> range = Range(table, kA);
        EXPECT_EQ(testing::PrintToString(Numbers{range.lower.value, range.upper.value,
                                                 SumColumn(table, kA), MaxMagnitude(table, kA)}),
                  testing::PrintToString(expected)); // as texts: a NaN equals a NaN
        EXPECT_EQ(MinElementRow(table, kA).value, lowestRow);
        EXPECT_EQ(MaxElementRow(table, kA).value, highestRow);
    }
    const DataTable computing = MakeComputing(); // D is 6 and 14
    EXPECT_EQ(SumColumn(computing, kD), 20);
    EXPECT_TRUE(Range(computing, kD).Contains(14));
    EXPECT_FALSE(Range(computing, kD).Contains(15));
    EXPECT_EQ(MaxElementRow(computing, kD).value, 2u);
    EXPECT_EQ(SumColumn(computing, Param(99)), kMissing);
}

TEST(TableCalculators, CachedValuesAreStoredAndNoLongerFollow)
{
    for (const auto make : {eval::MakeSimpleEvaluator, eval::MakeLazyCachingEvaulator})
    {
        DataTable table = MakeComputing();
        table.RegisterEvalulator(make());
        EXPECT_EQ(table.GetValue({1}, kD), 6);
        CacheComputedValues(table, {kD, kA, kE, kC, Param(99)});
        EXPECT_EQ(table.Columns(), (Params{kA, kB, kD, kC}));
        EXPECT_EQ(AsVector(table.Row({2})), (Numbers{3, 4, 14, 7}));
        table.SetValue({1}, kA, 100);
        EXPECT_EQ(table.GetValue({1}, kD), 6);
    }
}

TEST(TableCalculators, AreExchangedAsTheyAre)
{
    DataTable a = MakeComputing(), b = MakeTable({1});
    const auto* const calculators = a.Calculators().get();
    a.RegisterEvalulator(eval::MakeLazyCachingEvaulator());
    EXPECT_EQ(a.GetValue({1}, kC), 3);
    datatable::impl::SwapCalculators(a, b);
    EXPECT_TRUE(b.Calculators().get() == calculators && b.Calculators().use_count() == 1);
    EXPECT_EQ(a.Calculators(), nullptr);
    EXPECT_EQ(a.GetValue({1}, kC), kMissing);
}

TEST(TableProperties, KeepStoredComputedAndPersistedQuantities)
{
    using Case = Properties::PersistenceCase;
    Properties properties(kKind, Properties::KeyCase::Persisted);
    properties.RegisterStoredParam(kB, Case::NotPersisted);
    EXPECT_EQ(properties.PersistedParameters(), Params());
    properties.RegisterStoredParam(kA, Case::Persisted);
    properties.RegisterStoredParam(kB, static_cast<Case>(7));
    properties.RegisterComputedParam(kD, Sum({kA}));
    properties.RegisterComputedParam(kC, Sum({kB}));
    properties.RegisterComputedParam(kD, Sum({kA, kB}));
    EXPECT_EQ(properties.Parameters(), (Params{kA, kB, kD, kC}));
    EXPECT_EQ(properties.ComputedParameters(), (Params{kD, kC}));
    EXPECT_EQ(properties.PersistedParameters(), (Params{kKind, kA}));
    EXPECT_EQ(properties.GetCalculator(kD).Inputs(), (Params{kA, kB}));
    EXPECT_FALSE(properties.GetCalculator(kA).IsValid());
    EXPECT_TRUE(properties.HasStoredParameter(kB) && !properties.HasStoredParameter(kC));
    EXPECT_TRUE(properties.HasComputedParameter(kC) && !properties.HasComputedParameter(kB));
    EXPECT_TRUE(properties.HasPersistedParameter(kA) && !properties.HasPersistedParameter(kB));
    EXPECT_TRUE(properties.HasParameter(kC) && !properties.HasParameter(kKind));

    Properties withoutKey;
    withoutKey.RegisterStoredParam(kA, Case::Persisted);
    EXPECT_EQ(withoutKey.PersistedParameters(), (Params{kA}));
}
