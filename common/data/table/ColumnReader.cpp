#include "data/table/ColumnReader.h"

#include "foundation/MissingValue.h"

namespace datatable::impl
{

ColumnReader::ColumnReader(const DataTable& table, DataParamType param)
    : table_(&table), param_(param)
{
    if (!table.IsStored(param) && table.Evaluator() == &eval::SimpleParamEvaluator::Instance())
        plan_.emplace(table, param);
}

double ColumnReader::Compute(GID row)
{
    if (row.value == 0 || row.value > table_->RowCount())
        return MissingValue<double>();
    stored_.clear();
    plan_->Gather(*table_, row, stored_);
    return plan_->Compute(stored_.data());
}

} // namespace datatable::impl
