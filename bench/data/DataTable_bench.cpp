// A table compared with a plain vector of the same layout, 1e7 cells in 10 columns.
#include "data/DataTable.h"
#include "data/datatable_calculators.h"
#include "data/datatable_copy.h"
#include "data/datatable_inspect.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <memory>
#include <numeric>
#include <random>
#include <vector>

namespace
{
constexpr unsigned kColumns = 10, kRows = 1000000;

std::vector<DataParamType> Params()
{
    std::vector<DataParamType> params;
    for (unsigned i = 0; i < kColumns; ++i)
        params.push_back(static_cast<DataParamType>(7 * i + 3));
    return params;
}

/// Both sides hold the same numbers, few enough to add up exactly in any order.
struct Data
{
    Data() : table(DataParamType::Param0001, Params(), kRows), cells(kRows * kColumns), rows(kRows)
    {
        std::mt19937 random(3);
        for (std::uint32_t row = 0; row < kRows; ++row)
        {
            double* cell = &cells[row * kColumns];
            for (double& value : table.Row({row + 1}))
                value = *cell++ = static_cast<double>(random() % 1000);
        }
        std::iota(rows.begin(), rows.end(), 0u);
        std::shuffle(rows.begin(), rows.end(), random);
    }
    DataTable table;
    std::vector<double> cells;
    std::vector<unsigned> rows; // in any order, counted from 0
};

Data& TheData()
{
    static Data data;
    return data;
}

template <class Sum>
void Time(benchmark::State& state, double right, Sum sum)
{
    Data& data = TheData();
    if (sum(data) != right)
        return state.SkipWithError("wrong sum");
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(data.cells.data());
        benchmark::ClobberMemory();
        double result = sum(data);
        benchmark::DoNotOptimize(result);
    }
}

double RightSum() { return std::accumulate(TheData().cells.begin(), TheData().cells.end(), 0.0); }

double RightColumn(std::size_t column)
{
    double sum = 0;
    for (std::size_t row = 0; row < kRows; ++row)
        sum += TheData().cells[row * kColumns + column];
    return sum;
}

void KviRows(benchmark::State& state)
{
    Time(state, RightSum(), [](Data& data) {
        double sum = 0;
        for (std::uint32_t row = 1; row <= data.table.RowCount(); ++row)
        {
            for (const double value : data.table.Row({row}))
                sum += value;
        }
        return sum;
    });
}

void VectorRows(benchmark::State& state)
{
    Time(state, RightSum(), [](Data& data) {
        double sum = 0;
        const std::size_t columns = data.table.ColumnCount();
        for (std::size_t row = 0; row < data.table.RowCount(); ++row)
        {
            for (std::size_t column = 0; column < columns; ++column)
                sum += data.cells[row * columns + column];
        }
        return sum;
    });
}

void KviColumns(benchmark::State& state)
{
    Time(state, RightSum(), [](Data& data) {
        double sum = 0;
        for (const DataParamType param : data.table.Columns())
        {
            for (const double value : data.table.Column(param))
                sum += value;
        }
        return sum;
    });
}

void VectorColumns(benchmark::State& state)
{
    Time(state, RightSum(), [](Data& data) {
        double sum = 0;
        const std::size_t columns = data.table.ColumnCount();
        for (std::size_t column = 0; column < columns; ++column)
        {
            for (std::size_t i = column; i < data.cells.size(); i += columns)
                sum += data.cells[i];
        }
        return sum;
    });
}

void KviWrites(benchmark::State& state)
{
    Time(state, 1.0 * kRows, [](Data& data) {
        for (std::uint32_t row = 1; row <= data.table.RowCount(); ++row)
        {
            for (double& value : data.table.Row({row}))
                value = 2 * value - value;
        }
        return 1.0 * data.table.RowCount();
    });
}

void VectorWrites(benchmark::State& state)
{
    Time(state, 1.0 * kRows, [](Data& data) {
        const std::size_t columns = data.table.ColumnCount();
        for (std::size_t row = 0; row < data.table.RowCount(); ++row)
        {
            for (std::size_t column = 0; column < columns; ++column)
                data.cells[row * columns + column] =
                    2 * data.cells[row * columns + column] - data.cells[row * columns + column];
        }
        return 1.0 * data.table.RowCount();
    });
}

void KviGetValue(benchmark::State& state)
{
    Time(state, RightSum(), [](Data& data) {
        double sum = 0;
        const std::vector<DataParamType>& params = data.table.Columns();
        for (std::uint32_t row = 1; row <= data.table.RowCount(); ++row)
        {
            for (const DataParamType param : params)
                sum += data.table.GetValue({row}, param);
        }
        return sum;
    });
}

void KviGetValueAnywhere(benchmark::State& state)
{
    Time(state, RightColumn(4), [](Data& data) {
        double sum = 0;
        const DataParamType param = data.table.Columns()[4];
        for (const unsigned row : data.rows)
            sum += data.table.GetValue({row + 1}, param);
        return sum;
    });
}

void VectorAnywhere(benchmark::State& state)
{
    Time(state, RightColumn(4), [](Data& data) {
        double sum = 0;
        const std::size_t columns = data.table.ColumnCount();
        for (const unsigned row : data.rows)
            sum += data.cells[row * columns + 4];
        return sum;
    });
}

void KviSum(benchmark::State& state)
{
    Time(state, RightColumn(4),
         [](Data& data) { return datatable::SumColumn(data.table, data.table.Columns()[4]); });
}

void VectorSum(benchmark::State& state)
{
    Time(state, RightColumn(4), [](Data& data) {
        double sum = 0;
        for (std::size_t i = 4; i < data.cells.size(); i += kColumns)
            sum += data.cells[i];
        return sum;
    });
}
// A computed column: 2 a b + c a, with the default evaluator, over three columns of the table.
double Formula(double a, double b, double c) { return 2 * a * b + c * a; }

DataTable& ComputingTable()
{
    static DataTable table = [] {
        const std::vector<DataParamType> params = Params();
        auto calculators = std::make_shared<datatable::CalculatorMap>();
        calculators->Set(DataParamType::Param0001, DataParamType::Param0600,
                         DataParamCalculator::FromFormula(
                             {params[1], params[4], params[7]},
                             [](double a, double b, double c) { return Formula(a, b, c); }));
        DataTable made(TheData().table);
        made.Init(made.RowKind(), params, made.RowCount(), calculators,
                  datatable::eval::MakeSimpleEvaluator());
        datatable::Copy(made, TheData().table);
        return made;
    }();
    return table;
}

std::vector<double> RightComputed()
{
    std::vector<double> right(kRows);
    for (std::size_t row = 0; row < kRows; ++row)
    {
        const double* cell = &TheData().cells[row * kColumns];
        right[row] = Formula(cell[1], cell[4], cell[7]);
    }
    return right;
}

template <class Sweep>
void TimeComputed(benchmark::State& state, Sweep sweep)
{
    std::vector<double> values(kRows);
    sweep(values);
    if (values != RightComputed())
        return state.SkipWithError("wrong values");
    for (auto _ : state)
    {
        sweep(values);
        benchmark::DoNotOptimize(values.data());
        benchmark::ClobberMemory();
    }
}

void KviComputed(benchmark::State& state)
{
    const DataTable& table = ComputingTable();
    TimeComputed(state, [&](std::vector<double>& values) {
        datatable::ReadColumn(table, DataParamType::Param0600, values);
    });
}

void VectorComputed(benchmark::State& state)
{
    TimeComputed(state, [](std::vector<double>& values) {
        const Data& data = TheData();
        for (std::size_t row = 0; row < kRows; ++row)
        {
            const double* cell = &data.cells[row * kColumns];
            values[row] = Formula(cell[1], cell[4], cell[7]);
        }
    });
}

// One by one, in rows that stay in the cache.
void KviComputedCells(benchmark::State& state)
{
    const DataTable& table = ComputingTable();
    double sum = 0;
    for (auto _ : state)
    {
        for (std::uint32_t row = 1; row <= 1000; ++row)
            sum += table.GetValue({row}, DataParamType::Param0600);
    }
    benchmark::DoNotOptimize(sum);
}

void KviStoredCells(benchmark::State& state)
{
    const DataTable& table = ComputingTable();
    const DataParamType param = table.Columns()[4];
    double sum = 0;
    for (auto _ : state)
    {
        for (std::uint32_t row = 1; row <= 1000; ++row)
            sum += table.GetValue({row}, param);
    }
    benchmark::DoNotOptimize(sum);
}
} // namespace

BENCHMARK(KviRows)->Name("table|row sweep 1e7|kvi");
BENCHMARK(VectorRows)->Name("table|row sweep 1e7|plain vector");
BENCHMARK(KviColumns)->Name("table|column sweep 1e7|kvi");
BENCHMARK(VectorColumns)->Name("table|column sweep 1e7|plain vector");
BENCHMARK(KviWrites)->Name("table|row writes 1e7|kvi");
BENCHMARK(VectorWrites)->Name("table|row writes 1e7|plain vector");
BENCHMARK(KviGetValue)->Name("table|GetValue 1e7 in order|kvi");
BENCHMARK(VectorRows)->Name("table|GetValue 1e7 in order|plain vector");
BENCHMARK(KviGetValueAnywhere)->Name("table|GetValue 1e6 anywhere|kvi");
BENCHMARK(VectorAnywhere)->Name("table|GetValue 1e6 anywhere|plain vector");
BENCHMARK(KviSum)->Name("table|SumColumn 1e6|kvi");
BENCHMARK(VectorSum)->Name("table|SumColumn 1e6|plain vector");
BENCHMARK(KviComputed)->Name("table|computed column 1e6|kvi");
BENCHMARK(VectorComputed)->Name("table|computed column 1e6|plain vector");
BENCHMARK(KviComputedCells)->Name("table|GetValue 1e3 computed|kvi");
BENCHMARK(KviStoredCells)->Name("table|GetValue 1e3 computed|stored cells");
