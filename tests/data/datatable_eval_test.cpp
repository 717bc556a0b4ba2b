#include "VirtualSlot.h"
#include "data/datatable_calculators.h"
#include "data/datatable_copy.h"
#include "support/Threads.h"
#include "table_parts.h"

using datatable::CalculatorMap;
using datatable::EvaluatorPtr;
using namespace datatable::eval;
using namespace table_parts;

namespace
{
/// The rules that hold for every evaluator.
class EveryEvaluator : public testing::TestWithParam<EvaluatorPtr (*)()>
{
protected:
    void Set(int param, DataParamCalculator calculator)
    {
        map->Set(kKind, Param(param), std::move(calculator));
    }
    void Set(int param, Params inputs) { Set(param, Sum(std::move(inputs), 0.5)); }

    /// A is the row, B ten times as much.
    DataTable Make(unsigned rows = 2)
    {
        DataTable table(kKind, {kA, kB}, rows, map, GetParam()());
        for (std::uint32_t row = 1; row <= rows; ++row)
        {
            table.SetValue({row}, kA, row);
            table.SetValue({row}, kB, 10.0 * row);
        }
        return table;
    }

    const std::shared_ptr<CalculatorMap> map = std::make_shared<CalculatorMap>();
};

/// A host's evaluator with its own value for kE, 100; the rest it delegates.
struct Delegating final : datatable::IParamEvaluator
{
    void Invalidate(DataTable&) override {}
    double Evaluate(const DataTable& table, GID row, DataParamType param) override
    {
        return param == kE ? 100 : SimpleParamEvaluator::Instance().Evaluate(table, row, param);
    }
};

template <class Evaluator>
EvaluatorPtr Owned(Evaluator* evaluator)
{
    return {evaluator, [](void* owned) { delete static_cast<Evaluator*>(owned); }};
}

EvaluatorPtr MakeDelegating() { return Owned(new Delegating); }
} // namespace

TEST(ParamEvaluator, KeepsTheOrderOfItsOperations)
{
    EXPECT_EQ(VirtualSlot(&datatable::IParamEvaluator::Invalidate), 2u);
    EXPECT_EQ(VirtualSlot(&datatable::IParamEvaluator::Evaluate), 3u);
}

TEST_P(EveryEvaluator, ComputesThroughOtherComputedQuantities)
{
    Set(30, Params{kA, Param(31), kA});
    Set(31, Params{kB});
    Set(32, Params{});
    Set(33, Params{kC, Param(404)}); // 404 is unknown
    DataTable table = Make();
    EXPECT_EQ(table.GetValue({1}, kC), 0.5 + 1 + 10.5 + 1);
    EXPECT_EQ(table.GetValue({2}, kC), 0.5 + 2 + 20.5 + 2);
    EXPECT_EQ(table.GetValue({2}, Param(32)), 0.5);
    for (const auto& [row, param] : {std::pair{0u, kC}, {3u, kC}, {3u, kA}})
        EXPECT_EQ(table.GetValue({row}, param), kMissing);
    EXPECT_EQ(table.GetValue({1}, Param(33)), kMissing + 13); // a missing input is passed on
    for (const DataParamType param : {kA, kC, Param(31), Param(32)})
        EXPECT_TRUE(table.HasParam(param));
    for (const DataParamType param : {Param(33), Param(404), Param(-1)})
        EXPECT_FALSE(table.HasParam(param));
    EXPECT_FALSE(table.GetCalculator(Param(404)).IsValid());
}

TEST_P(EveryEvaluator, GivesTheMissingValueForCircles)
{
    // 40 needs itself; 41 -> 42 -> {42's circle 43, 41}; 44 hangs on the circle from outside.
    Set(40, Params{kA, Param(40)});
    Set(41, Params{Param(42)});
    Set(42, Params{Param(43), Param(41)});
    Set(43, Params{Param(42), kA});
    Set(44, {{Param(41), kA}, [](auto v) { return v[0] == kMissing ? v[1] : 0; }});
    DataTable table = Make();
    for (int param = 40; param <= 43; ++param)
        EXPECT_EQ(table.GetValue({2}, Param(param)), kMissing) << param;
    EXPECT_EQ(table.GetValue({2}, Param(44)), 2);
    for (int param = 40; param <= 44; ++param)
        EXPECT_FALSE(table.HasParam(Param(param))) << param;
}

TEST_P(EveryEvaluator, NeedsNoLongerForDenseChainsThanForLongOnes)
{
    // Each needs all before it: 2^60 paths.
    Params before = {kA};
    for (int i = 100; i < 160; ++i)
    {
        Set(i, {before, [](auto values) { return values.back() + 1; }});
        before.push_back(Param(i));
    }
    EXPECT_EQ(Make().GetValue({1}, Param(159)), 61);
    EXPECT_TRUE(Make().HasParam(Param(159)));
}

TEST_P(EveryEvaluator, ReadsColumnsAsItReadsCells)
{
    Set(30, Params{kA, Param(31), kA});
    Set(31, DataParamCalculator::FromFormula({kB}, [](double b) { return b / 3; }));
    Set(32, Params{});
    Set(33, Params{kC, Param(404)});
    Set(34, DataParamCalculator::FromFormula({kC, Param(31)},
                                             [](double c, double d) { return c * d - c; }));
    Set(40, Params{kA, Param(40)});
    const unsigned rows = 600; // more than one block of them
    const DataTable table = Make(rows);
    for (const DataParamType param :
         {kA, kC, Param(31), Param(32), Param(33), Param(34), Param(40), Param(404), Param(-1)})
    {
        std::vector<double> values(rows + 1, -1), expected;
        for (std::uint32_t row = 1; row <= rows + 1; ++row)
            expected.push_back(table.GetValue({row}, param));
        datatable::ReadColumn(table, param, values);
        EXPECT_EQ(values, expected) << static_cast<int>(param);
        values.resize(3);
        datatable::ReadColumn(table, param, values);
        EXPECT_EQ(values, Numbers(expected.begin(), expected.begin() + 3));
    }
}

TEST_P(EveryEvaluator, SeesEveryChangeAtTheNextRead)
{
    const auto other = std::make_shared<CalculatorMap>();
    Set(30, Params{kA, kB});
    other->Set(kKind, kC, Sum({kA}, 0.5));
    DataTable table = Make();
    const auto column = table.Column(kA); // kept and written to later
    EXPECT_EQ(table.GetValue({1}, kC), 11.5);
    column[0] = 2;
    EXPECT_EQ(table.GetValue({1}, kC), 12.5);
    table.Row({1})[1] = 30;
    EXPECT_EQ(table.GetValue({1}, kC), 32.5);
    table.SetValue({1}, kB, 0);
    EXPECT_EQ(table.GetValue({1}, kC), 2.5);
    table.ResizeRows(3);
    table.SetValue({3}, kA, 1);
    table.SetValue({3}, kB, 1);
    EXPECT_EQ(table.GetValue({3}, kC), 2.5);
    table.ResizeRows(2);
    EXPECT_EQ(table.GetValue({3}, kC), kMissing);
    table.Assign(DataTable(kKind, {kB, kA}, 1, other, NoEvaluator()));
    table.SetValue({1}, kA, 4);
    EXPECT_EQ(table.GetValue({1}, kC), 4.5);
    table.Clear();
    EXPECT_EQ(table.GetValue({1}, kC), kMissing);
    table.Init(kKind, {kA, kB, kC}, 1, map, GetParam()());
    EXPECT_EQ(table.GetValue({1}, kC), kMissing); // now stored
}

TEST_P(EveryEvaluator, ServesManyReadersAtOnce)
{
    Set(30, Params{kA, Param(31)});
    Set(31, Params{kB});
    const DataTable table = Make(500);
    std::atomic<int> wrong = 0;
    support::OnThreads(4, [&](int reader) {
        for (int i = 0; i < 2000; ++i)
        {
            const auto row = std::uint32_t(i * 7 + reader) % 500 + 1;
            wrong += table.GetValue({row}, kC) != 11.0 * row + 1;
        }
    });
    EXPECT_EQ(wrong, 0);
}

INSTANTIATE_TEST_SUITE_P(SimpleCachedLazyDelegating, EveryEvaluator,
                         testing::Values(MakeSimpleEvaluator, MakeCachedCalculatorEvaluator,
                                         MakeLazyCachingEvaulator, MakeDelegating));

TEST(LazyCachingEvaluator, ComputesAgainOnlyWhatChanged)
{
    int calls = 0;
    const auto map = std::make_shared<CalculatorMap>();
    map->Set(kKind, kC, {{kA}, [&calls](auto v) { return ++calls, v[0] + 0.5; }});
    DataTable table(kKind, {kA, kB}, 2, map, MakeLazyCachingEvaulator());
    for (int i = 0; i < 3; ++i)
    {
        (void)table.GetValue({1}, kC);
        (void)table.GetValue({2}, kC);
    }
    EXPECT_EQ(calls, 2);
    table.SetValue({1}, kB, 1); // not an input
    (void)table.GetValue({1}, kC);
    EXPECT_EQ(calls, 2);
    table.SetValue({1}, kA, 1);
    EXPECT_EQ(table.GetValue({1}, kC), 1.5);
    EXPECT_EQ(table.GetValue({2}, kC), kMissing + 0.5);
    EXPECT_EQ(calls, 3);
    table.Invalidate();
    (void)table.GetValue({1}, kC);
    EXPECT_EQ(calls, 4);
}

TEST(SimpleParamEvaluator, AsksTheTablesOwnEvaluatorForInputs)
{
    const auto map = std::make_shared<CalculatorMap>();
    map->Set(kKind, kC, Sum({kA, kE}, 0.5));
    DataTable table(kKind, {kA}, 1, map, MakeDelegating());
    table.SetValue({1}, kA, 1);
    EXPECT_EQ(table.GetValue({1}, kC), 101.5);
    EXPECT_FALSE(table.HasParam(kC)); // kE has no calculator
    const Numbers merged{kMissing, 101.5, 100};
    DataTable byRow(kKind, {kB, kC, kE}, 1), whole(byRow);
    datatable::MergeRow(byRow, table, byRow.Columns(), {1});
    datatable::Merge(whole, table, whole.Columns());
    EXPECT_EQ(AsVector(byRow.Row({1})), merged);
    EXPECT_EQ(AsVector(whole.Row({1})), merged);
}

TEST(ParamEvaluator, MayChangeTheTableFromInvalidate)
{
    struct Changing final : datatable::IParamEvaluator
    {
        explicit Changing(int& counted) : calls(counted) {}
        void Invalidate(DataTable& table) override
        {
            ++calls;
            table.ResizeRows(table.RowCount() + 1);
            table.RegisterEvalulator(MakeSimpleEvaluator()); // not from here: it would end this one
            table.Init(kKind, {kA, kB}, table.RowCount(), nullptr, NoEvaluator());
            table.Invalidate();
        }
        double Evaluate(const DataTable&, GID, DataParamType) override { return 7; }
        int& calls;
    };
    int calls = 0;
    DataTable table(kKind, {kA}, 2);
    table.RegisterEvalulator(Owned(new Changing(calls)));
    EXPECT_TRUE(table.RowCount() == 3 && table.ColumnCount() == 2);
    table.ResizeRows(5);
    EXPECT_TRUE(table.RowCount() == 6 && calls == 2);
    EXPECT_EQ(table.GetValue({1}, kC), 7);
}
