/// @file
/// Computed quantities: made columns, traced to what they need; the default calculators.
#pragma once

#include "data/DataTable.h"
#include "foundation/kvi_export.h"

#include <memory>
#include <vector>

namespace datatable
{

/// Stores what the table computes: each of @p params that it can compute gets a column, behind the
/// others, with the values that GetValue gave. From then on they are read, and no longer follow the
/// cells that they came from. Stored quantities, and those that cannot be computed, stay as they
/// are.
KVI_API void CacheComputedValues(DataTable& table, const std::vector<DataParamType>& params);

/// What a table must store to answer for @p params: each quantity that @p table computes is
/// replaced by the inputs of its calculator, and these in turn, down to stored ones and those that
/// nothing is known to compute (or that need themselves). Each once, in the order in which they
/// occur.
KVI_API std::vector<DataParamType> ExpandComputedParams(const DataTable& table,
                                                        const std::vector<DataParamType>& params);

/// Sets the process-wide calculators, those of tables that come to be without any (CreateUnion);
/// null for none.
/// Threads: any.
KVI_API void SetDefaultCalculators(const std::shared_ptr<ICalculators>& calculators);
/// The process-wide calculators; null until they are set.
/// Threads: any.
KVI_API std::shared_ptr<ICalculators> DefaultCalculators();

} // namespace datatable
