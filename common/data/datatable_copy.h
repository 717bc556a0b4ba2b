/// @file
/// Copying and merging values between tables.
#pragma once

#include "data/DataTable.h"
#include "foundation/kvi_export.h"

#include <memory>
#include <vector>

// Copying makes cells equal, missing ones too. Merging never replaces a value by the missing value.
// Except in Copy, columns are matched by quantity, whatever their order, and the source answers as
// GetValue does, from its column or by its evaluator. Quantities without a column in the target are
// skipped. Copying also skips quantities that the source cannot provide (HasParam). A table may be
// its own source.
namespace datatable
{

/// @name Copying
/// @{

/// Row by row and by position, as far as both have columns: quantities are not compared, tables of
/// the same columns are expected. @p to grows to the rows of @p from; further rows stay.
KVI_API void Copy(DataTable& to, const DataTable& from);
/// One row into another. @p to grows to @p toRow; a row that @p from does not have changes nothing.
KVI_API void CopyRow(DataTable& to, const GID& toRow, const DataTable& from, const GID& fromRow);
/// The column @p toParam from the values of @p fromParam. @p to grows to the rows of @p from;
/// further rows stay.
KVI_API void CopyColumn(DataTable& to, DataParamType toParam, const DataTable& from,
                        DataParamType fromParam);
/// The column @p param of the same quantity.
KVI_API void CopyColumn(DataTable& to, const DataTable& from, DataParamType param);
/// CopyColumn for each of @p params.
KVI_API void CopyColumns(DataTable& to, const DataTable& from,
                         const std::vector<DataParamType>& params);
/// Replaces all rows of @p to by those of @p from. Columns that @p from has no values for
/// become missing; columns, row kind, calculators and evaluator of @p to stay.
KVI_API void AssignData(DataTable& to, const DataTable& from);
/// Appends all rows of @p from to those of @p to. Columns that @p from has no values for are
/// missing there.
KVI_API void Append(DataTable& to, const DataTable& from);
/// @}

/// @name Merging
/// @{

/// The values of @p params in @p row, if both tables have that row.
KVI_API void MergeRow(DataTable& to, const DataTable& from,
                      const std::vector<DataParamType>& params, const GID& row);
/// MergeRow for every row of @p from, to which @p to grows first.
KVI_API void Merge(DataTable& to, const DataTable& from, const std::vector<DataParamType>& params);
/// Merge of the columns of @p from. Columns that @p to lacks are not added: see InsertColumns.
KVI_API void Merge(DataTable& to, const DataTable& from);

/// A new table with the quantities of both lists, those of @p aParams first, each once, and as many
/// rows as the longer table. Where both have a value, that of @p a counts; each table contributes
/// its own list only. The row kind is that of @p a, or of @p b where @p a has none; the calculators
/// too, and the default ones where neither has any. The evaluator is the default.
/// @returns never null; an empty table where such a table is impossible
KVI_API std::shared_ptr<DataTable> CreateUnion(const DataTable& a,
                                               const std::vector<DataParamType>& aParams,
                                               const DataTable& b,
                                               const std::vector<DataParamType>& bParams);
/// With the columns of either table as its list.
KVI_API std::shared_ptr<DataTable> CreateUnion(const DataTable& a, const DataTable& b);
/// @}

} // namespace datatable
