/// @file
/// Reading one quantity of a table row by row.
#pragma once

#include "data/DataTable.h"
#include "data/table/EvaluationPlan.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace data
{

/// Gives the values of GetValue, fastest for ascending rows. With an evaluator that keeps no
/// values, the calculators are looked up once and run on blocks of rows ahead; so a caller that
/// writes to the table meanwhile may change only rows that it has read. The table's columns must
/// stay unchanged.
class ColumnReader
{
public:
    ColumnReader(const DataTable& table, DataParamType param);
    double operator()(GID row)
    {
        const std::uint32_t at = row.value - first_;
        if (at < ahead_.size())
            return ahead_[at];
        return plan_.has_value() ? ReadAhead(row) : table_->GetValue(row, param_);
    }
    /// The quantity in the first @p count rows, which exist.
    void ReadAll(std::uint32_t count, double* values);

private:
    double ReadAhead(GID row);

    const DataTable* table_;
    DataParamType param_;
    std::optional<EvaluationPlan> plan_;
    std::uint32_t first_ = 0;   // row of the first value in ahead_
    std::vector<double> ahead_; // values of consecutive rows
};

/// Whether @p evaluator computes every value from stored cells and calculators alone and keeps
/// none, so that plans may take its place.
bool KeepsNoValues(const datatable::IParamEvaluator* evaluator);

} // namespace data
