#include "data/datatable_calculators.h"

#include "data/table/ColumnReader.h"

#include <algorithm>
#include <mutex>
#include <utility>

namespace datatable
{
namespace
{
struct Default
{
    std::mutex lock;
    std::shared_ptr<ICalculators> calculators;
};

Default& TheDefault()
{
    static Default one;
    return one;
}
} // namespace

void CacheComputedValues(DataTable& table, const std::vector<DataParamType>& params)
{
    std::vector<DataParamType> computed;
    for (const DataParamType param : dataparamtype::ListDifference(params, table.Columns()))
    {
        if (table.HasParam(param))
            computed.push_back(param);
    }
    // All of them are computed before the first is stored.
    DataTable values(table.RowKind(), computed, table.RowCount());
    if (computed.empty() || values.RowCount() != table.RowCount())
        return;
    for (const DataParamType param : computed)
    {
        data::ColumnReader read(table, param);
        GID row;
        for (double& cell : values.Column(param))
        {
            ++row.value;
            cell = read(row);
        }
    }
    if (!table.ChangeColumns(dataparamtype::ListUnion(table.Columns(), computed)))
        return;
    for (const DataParamType param : computed)
    {
        const auto from = std::as_const(values).Column(param);
        std::copy(from.begin(), from.end(), table.Column(param).begin());
    }
}

void ReadColumn(const DataTable& table, DataParamType param, std::span<double> values)
{
    const std::size_t rows = std::min<std::size_t>(values.size(), table.RowCount());
    data::ColumnReader(table, param).ReadAll(static_cast<std::uint32_t>(rows), values.data());
    for (std::size_t i = rows; i < values.size(); ++i)
        values[i] = table.GetValue({static_cast<std::uint32_t>(i + 1)}, param);
}

std::vector<DataParamType> ExpandComputedParams(const DataTable& table,
                                                const std::vector<DataParamType>& params)
{
    std::vector<DataParamType> expanded;
    for (const DataParamType param : params)
        expanded = dataparamtype::ListUnion(expanded, data::EvaluationPlan(table, param).Leaves());
    return expanded;
}

void SetDefaultCalculators(const std::shared_ptr<ICalculators>& calculators)
{
    // The former ones are released outside the lock, since their destructor may do anything.
    auto former = calculators;
    const std::lock_guard locked(TheDefault().lock);
    TheDefault().calculators.swap(former);
}

std::shared_ptr<ICalculators> DefaultCalculators()
{
    const std::lock_guard locked(TheDefault().lock);
    return TheDefault().calculators;
}

struct impl::TableCalculators
{
    static void Swap(DataTable& a, DataTable& b) { a.calculators_.swap(b.calculators_); }
};

void impl::SwapCalculators(DataTable& a, DataTable& b)
{
    TableCalculators::Swap(a, b);
    a.Invalidate();
    b.Invalidate();
}

} // namespace datatable
