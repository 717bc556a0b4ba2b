/// @file
/// Filling, clearing and enlarging tables.
#pragma once

#include "data/DataTable.h"
#include "foundation/kvi_export.h"

#include <vector>

/// Operations on whole rows, columns and tables.
///
/// Nothing here reports errors: a quantity that a table does not store is skipped, and a table that
/// cannot grow to the size needed stays as it was. Row 0 does not exist.
/// Threads: as for the tables themselves.
namespace datatable
{

/// Sets every cell of @p param to @p value.
KVI_API void FillColumn(DataTable& table, DataParamType param, const double& value);
/// Sets every cell of @p param to the missing value.
KVI_API void SetMissingColumn(DataTable& table, DataParamType param);
/// SetMissingColumn for each of @p params.
KVI_API void SetMissingColumns(DataTable& table, std::vector<DataParamType> params);

/// Sets every cell of @p row to @p value; a table with fewer rows first grows to that many.
KVI_API void FillRow(DataTable& table, const GID& row, const double& value);
/// FillRow with the missing value; the table grows likewise.
KVI_API void SetMissingRow(DataTable& table, unsigned int row);
/// Sets every cell to the missing value; rows and columns stay.
KVI_API void SetMissingAll(DataTable& table);

/// Gives the table at least @p rows rows; it never shrinks.
KVI_API void ExpandRows(DataTable& table, unsigned int rows);
/// Adds columns for those of @p params that have none, after the others and in the order of
/// @p params; their cells are missing. All or none: see DataTable on what cannot be a column.
KVI_API void InsertColumns(DataTable& table, const std::vector<DataParamType>& params);

/// Adds @p value to the cell. A missing @p value changes nothing; a missing cell becomes @p value.
KVI_API void IncrementTableValueByValue(DataTable& table, const GID& row, DataParamType param,
                                        double value);

} // namespace datatable
