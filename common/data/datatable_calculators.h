/// @file
/// Computed quantities: read as columns, stored, traced to their inputs; the default calculators.
#pragma once

#include "data/DataTable.h"
#include "foundation/kvi_export.h"

#include <memory>
#include <span>
#include <vector>

namespace datatable
{

/// values[i] = the table's value of @p param in row i + 1, as GetValue returns it. With the default
/// evaluator, and with MakeCachedCalculatorEvaluator's, whole columns are computed at once: about
/// twice the cost of the same arithmetic on plain arrays for a calculator with a column function.
KVI_API void ReadColumn(const DataTable& table, DataParamType param, std::span<double> values);

/// Stores computed quantities: each of @p params that it can compute gets a column, after the
/// others, with the values that GetValue returned. From then on these stored values are read and no
/// longer depend on their inputs. Stored quantities, and those that cannot be computed, stay as
/// they are.
KVI_API void CacheComputedValues(DataTable& table, const std::vector<DataParamType>& params);

/// The quantities that a table must store to provide @p params: each quantity that @p table
/// computes is replaced by the inputs of its calculator, recursively, down to stored ones and those
/// that have no calculator or need themselves. Each once, in the order in which they occur.
KVI_API std::vector<DataParamType> ExpandComputedParams(const DataTable& table,
                                                        const std::vector<DataParamType>& params);

/// Sets the process-wide calculators, for tables created without any (CreateUnion); null for none.
/// Threads: any.
KVI_API void SetDefaultCalculators(const std::shared_ptr<ICalculators>& calculators);
/// The process-wide calculators; null until they are set.
/// Threads: any.
KVI_API std::shared_ptr<ICalculators> DefaultCalculators();

} // namespace datatable
