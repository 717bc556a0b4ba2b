#include "data/dataparam_alias.h"
#include "table_parts.h"

#include <map>
#include <random>

using namespace table_parts;

TEST(DataTable, IsEmptyAtFirst)
{
    const DataTable empty;
    EXPECT_TRUE(empty.IsMissing() && empty.RowKind() == Param(-1));
    EXPECT_EQ(empty.GetValue({1}, Param(5)), kMissing);
    EXPECT_TRUE(empty.Row({1}).empty() && empty.Column(Param(5)).empty());
}

TEST(DataTable, StoresRowAfterRow)
{
    DataTable table(Param(1), {Param(8), Param(5)}, 2);
    EXPECT_FALSE(table.IsMissing());
    double next = 1;
    for (const DataParamType param : {Param(8), Param(5)})
        for (double& cell : table.Column(param))
            cell = next++;
    const auto column = table.Column(Param(5));
    EXPECT_EQ(*--column.end(), 4);
    EXPECT_EQ(*(column.begin() + 1), 4);
    EXPECT_EQ((column.end() - 2)[1], 4);
    EXPECT_LT(column.begin(), column.end() - 1);
    EXPECT_EQ(AsVector(table.Row({1})), (Numbers{1, 3}));
    EXPECT_EQ(AsVector(table.Row({2})), (Numbers{2, 4}));
    EXPECT_EQ(&table.Row({1})[1] + 1, &table.Row({2})[0]);
    EXPECT_TRUE(table.Row({0}).empty() && table.Row({3}).empty() && table.Column(Param(6)).empty());
    table.Init(Param(2), table.Columns(), 2, nullptr, NoEvaluator());
    EXPECT_EQ(table.RowKind(), Param(2));
    EXPECT_EQ(AsVector(table.Column(Param(5))), (Numbers{kMissing, kMissing}));
}

TEST(DataTable, WritesNumbersInEightDigits)
{
    DataTable table(Param(1), {Param(0)}, 1);
    EXPECT_EQ(table.GetAs<std::string>({1}, Param(0)), "1.7976931e+308"); // missing
    table.SetValue({1}, Param(0), 12345678.9);
    EXPECT_EQ(table.GetAs<std::string>({1}, Param(0)), "12345679");
    EXPECT_EQ(table.GetAs<std::wstring>({1}, Param(0)), L"12345679");
}

TEST(DataTable, RefusesWhatIsImpossibleAndStaysAsItWas)
{
    DataTable table(Param(1), {Param(8), Param(5)}, 2);
    table.SetValue({2}, Param(5), 7.0);
    const DataTable before(table);
    const Params all = FirstParams(kDataParamTypeCount);
    const std::pair<Params, unsigned> rows[] = {
        {{Param(3), Param(3)}, 1},    {{Param(-1)}, 1},   {{Param(kDataParamTypeCount)}, 1},
        {Params(32768, Param(0)), 1}, {all, 0xFFFFFFFFu},
    };
    for (const auto& [params, count] : rows)
    {
        table.Init(Param(9), params, count, nullptr, NoEvaluator());
        EXPECT_TRUE(table.Equals(before));
        EXPECT_TRUE(DataTable(Param(9), params, count).IsMissing());
    }
    DataTable wide(Param(1), all, 1);
    EXPECT_EQ(wide.ColumnCount(), 604u);
    wide.ResizeRows(0xFFFFFFFFu);
    EXPECT_EQ(wide.RowCount(), 1u);
    wide.ResizeRows(0x80000001u); // times 604 wraps around to a small number in 32 bits
    EXPECT_EQ(wide.RowCount(), 1u);
}

TEST(DataTable, ComparesContentsAndCalculatorsButNotEvaluators)
{
    const auto calculators = std::make_shared<datatable::CalculatorMap>();
    DataTable table(Param(1), {Param(8)}, 1, calculators, datatable::eval::MakeSimpleEvaluator());
    DataTable copy(table);
    EXPECT_TRUE(copy.Equals(table));
    copy.RegisterEvalulator(datatable::eval::MakeLazyCachingEvaulator());
    EXPECT_TRUE(copy.Equals(table));
    EXPECT_FALSE(DataTable(Param(1), {Param(8)}, 1).Equals(table));
    copy.SetValue({1}, Param(8), std::nan(""));
    EXPECT_FALSE(copy.Equals(copy));

    DataTable moved(std::move(copy));
    EXPECT_TRUE(copy.IsMissing()); // NOLINT(bugprone-use-after-move): it is empty, as promised
    EXPECT_EQ(moved.Calculators(), table.Calculators());
    moved.ResizeRows(1000);
    EXPECT_GE(moved.MemoryUsed(), sizeof moved + 1000 * sizeof(double));
    moved.Clear();
    EXPECT_TRUE(moved.IsMissing());
    EXPECT_EQ(moved.MemoryUsed(), sizeof moved);
    DataTable onlyCalculators;
    onlyCalculators.Init(Param(-1), {}, 0, calculators, NoEvaluator());
    EXPECT_FALSE(onlyCalculators.IsMissing());
}

/// The same operations on a table and on a plain map of cells must end the same.
TEST(DataTable, BehavesAsAPlainMapOfCells)
{
    std::mt19937 random(42);
    const auto below = [&random](unsigned limit) {
        return static_cast<unsigned>(random() % limit);
    };
    DataTable table;
    Params columns;
    unsigned rows = 0;
    std::map<std::pair<unsigned, DataParamType>, double> cells; // without missing ones
    for (int step = 0; step < 20000; ++step)
    {
        const DataParamType param = Param(static_cast<int>(below(12)) * 50);
        const unsigned row = below(9);
        switch (below(step % 50 == 0 ? 4 : 3))
        {
        case 0:
            table.ResizeRows(rows = below(8));
            std::erase_if(cells, [rows](const auto& cell) { return cell.first.first > rows; });
            break;
        case 3:
            columns.clear();
            for (int i = 11; i >= 0; --i)
                if (below(2) != 0)
                    columns.push_back(Param(i * 50));
            table.Init(Param(1), columns, rows, nullptr, NoEvaluator());
            cells.clear();
            break;
        default:
            if (table.SetValue({row}, param, step))
                cells[{row, param}] = step;
        }
        if (below(10) == 0)
            table = DataTable(table);
        ASSERT_EQ(table.RowCount(), rows);
        ASSERT_EQ(table.Columns(), columns);
        const bool exists = row >= 1 && row <= rows &&
                            std::find(columns.begin(), columns.end(), param) != columns.end();
        ASSERT_EQ(table.SetValue({row}, param, table.GetValue({row}, param)), exists);
        const auto cell = cells.find({row, param});
        ASSERT_EQ(table.GetValue({row}, param), cell != cells.end() ? cell->second : kMissing);
    }
}
