#include "data/table/ColumnReader.h"

#include "foundation/MissingValue.h"

#include <algorithm>

namespace data
{

ColumnReader::ColumnReader(const DataTable& table, DataParamType param)
    : table_(&table), param_(param)
{
    if (!table.IsStored(param) && KeepsNoValues(table.Evaluator()))
        plan_.emplace(table, param);
}

double ColumnReader::ReadAhead(GID row)
{
    constexpr std::uint32_t kRows = 256;
    if (row.value == 0 || row.value > table_->RowCount())
        return MissingValue<double>();
    ahead_.resize(std::min(kRows, table_->RowCount() - row.value + 1));
    first_ = row.value;
    plan_->ComputeRows(*table_, row.value - 1, ahead_.size(), ahead_.data());
    return ahead_[0];
}

void ColumnReader::ReadAll(std::uint32_t count, double* values)
{
    if (plan_.has_value())
        return plan_->ComputeRows(*table_, 0, count, values);
    for (std::uint32_t row = 1; row <= count; ++row)
        values[row - 1] = table_->GetValue({row}, param_);
}

} // namespace data
