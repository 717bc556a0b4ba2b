/// @file
/// Reads one quantity of a table row after row. Not installed.
#pragma once

#include "data/DataTable.h"
#include "data/table/EvaluationPlan.h"

#include <optional>
#include <vector>

namespace datatable::impl
{

/// Answers as GetValue does. With the default evaluator, which keeps nothing, it looks for the
/// calculators once instead of for every row. The table's columns must stay.
class ColumnReader
{
public:
    ColumnReader(const DataTable& table, DataParamType param);
    double operator()(GID row)
    {
        return plan_.has_value() ? Compute(row) : table_->GetValue(row, param_);
    }

private:
    double Compute(GID row);

    const DataTable* table_;
    DataParamType param_;
    std::optional<Plan> plan_;
    std::vector<double> stored_;
};

} // namespace datatable::impl
