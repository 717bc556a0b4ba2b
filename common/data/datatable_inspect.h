/// @file
/// Which quantities a table has; sums and extremes of its columns.
#pragma once

#include "data/DataTable.h"
#include "foundation/gtl_range.h"
#include "foundation/kvi_export.h"

#include <vector>

namespace datatable
{

/// Whether @p table cannot provide one of @p params (DataTable::HasParam). An empty list counts as
/// unsatisfied: true.
KVI_API bool IsTableMissingParam(const DataTable& table, const std::vector<DataParamType>& params);
/// Those of @p params that have no column, as often as they are listed.
KVI_API std::vector<DataParamType> ListUnstoredParams(const DataTable& table,
                                                      const std::vector<DataParamType>& params);

/// @name Statistics of one quantity over all rows, stored or computed
/// Missing values are skipped; if nothing remains, the result is the missing value. A NaN among the
/// values is the extreme, the sum, and both ends of the range. Of equal extremes the first row
/// counts.
/// @{

/// From the smallest value to the largest, both included.
KVI_API gtl::range<double> Range(const DataTable& table, DataParamType param);
/// The values added in the order of rows.
KVI_API double SumColumn(const DataTable& table, DataParamType param);
/// The largest of the absolute values.
KVI_API double MaxMagnitude(const DataTable& table, DataParamType param);
/// The row with the smallest value; row 0 where there is none.
KVI_API GID MinElementRow(const DataTable& table, DataParamType param);
/// The row with the largest value; row 0 where there is none.
KVI_API GID MaxElementRow(const DataTable& table, DataParamType param);
/// @}

} // namespace datatable
