#include "data/datatable_cells.h"

#include "foundation/MissingValue.h"

#include <algorithm>

namespace datatable
{
namespace
{
constexpr double kMissing = MissingValue<double>();

/// @param value  by copy, since the caller's may be a cell that moves or changes here
void Fill(const DataTable::Values& cells, double value)
{
    std::fill(cells.begin(), cells.end(), value);
}
} // namespace

void FillColumn(DataTable& table, DataParamType param, const double& value)
{
    Fill(table.Column(param), value);
}

void SetMissingColumn(DataTable& table, DataParamType param) { FillColumn(table, param, kMissing); }

// NOLINTNEXTLINE(performance-unnecessary-value-param): callers rely on the signature
void SetMissingColumns(DataTable& table, std::vector<DataParamType> params)
{
    for (const DataParamType param : params)
        SetMissingColumn(table, param);
}

void FillRow(DataTable& table, const GID& row, const double& value)
{
    const double kept = value;
    ExpandRows(table, row.value);
    Fill(table.Row(row), kept);
}

void SetMissingRow(DataTable& table, unsigned int row) { FillRow(table, {row}, kMissing); }

void SetMissingAll(DataTable& table)
{
    const unsigned int rows = table.RowCount();
    table.ResizeRows(0);
    table.ResizeRows(rows);
}

void ExpandRows(DataTable& table, unsigned int rows)
{
    if (rows > table.RowCount())
        table.ResizeRows(rows);
}

void InsertColumns(DataTable& table, const std::vector<DataParamType>& params)
{
    (void)table.ChangeColumns(dataparamtype::ListUnion(table.Columns(), params)); // all or none
}

void IncrementTableValueByValue(DataTable& table, const GID& row, DataParamType param, double value)
{
    if (!table.IsStored(param) || IsMissingValue(value))
        return;
    const double before = table.GetValue(row, param);
    table.SetValue(row, param, IsMissingValue(before) ? value : before + value);
}

} // namespace datatable
