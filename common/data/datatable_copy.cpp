#include "data/datatable_copy.h"

#include "data/datatable_calculators.h"
#include "data/datatable_cells.h"
#include "data/table/ColumnReader.h"
#include "foundation/MissingValue.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace datatable
{
namespace
{
using Params = std::vector<DataParamType>;

/// @returns whether @p table has @p rows rows now
bool Grow(DataTable& table, unsigned int rows)
{
    ExpandRows(table, rows);
    return table.RowCount() >= rows;
}

/// The cells of one row into another by position, as far as both go.
void CopyCells(DataTable& to, GID toRow, const DataTable& from, GID fromRow)
{
    const auto source = from.Row(fromRow);
    const auto target = to.Row(toRow);
    const auto count = static_cast<std::ptrdiff_t>(std::min(source.size(), target.size()));
    std::copy(source.begin(), source.begin() + count, target.begin());
}

/// A column of the target and where its values come from.
struct Taken
{
    DataParamType column;
    data::ColumnReader read;
};

/// Those of @p params that @p to stores and @p from can provide.
std::vector<Taken> ListTaken(const DataTable& to, const DataTable& from, const Params& params)
{
    std::vector<Taken> taken;
    for (const DataParamType param : params)
    {
        if (to.IsStored(param) && from.HasParam(param))
            taken.push_back({param, {from, param}});
    }
    return taken;
}

enum class Rule
{
    Copy,
    Merge
};

/// The first @p rows rows of a source into the rows of @p to that follow its first @p above ones.
void Take(DataTable& to, unsigned int above, std::vector<Taken> taken, unsigned int rows, Rule rule)
{
    for (std::uint32_t row = 1; row <= rows; ++row)
    {
        for (Taken& one : taken)
        {
            const double value = one.read({row});
            if (rule == Rule::Copy || !IsMissingValue(value))
                to.SetValue({above + row}, one.column, value);
        }
    }
}

/// The same with every column of @p to, missing where @p from has no values; as whole rows where
/// the columns are the same.
void TakeAll(DataTable& to, unsigned int above, const DataTable& from, unsigned int rows)
{
    if (to.Columns() != from.Columns())
        return Take(to, above, ListTaken(to, from, to.Columns()), rows, Rule::Copy);
    for (std::uint32_t row = 1; row <= rows; ++row)
        CopyCells(to, {above + row}, from, {row});
}
} // namespace

void Copy(DataTable& to, const DataTable& from)
{
    if (&to == &from || !Grow(to, from.RowCount()))
        return;
    for (std::uint32_t row = 1; row <= from.RowCount(); ++row)
        CopyCells(to, {row}, from, {row});
}

void CopyRow(DataTable& to, const GID& toRow, const DataTable& from, const GID& fromRow)
{
    // Copies: either may refer to a value that changes here.
    const GID target = toRow, source = fromRow;
    if (source.value == 0 || source.value > from.RowCount() || !Grow(to, target.value))
        return;
    for (const DataParamType param : to.Columns())
    {
        if (from.HasParam(param))
            to.SetValue(target, param, from.GetValue(source, param));
    }
}

void CopyColumn(DataTable& to, DataParamType toParam, const DataTable& from,
                DataParamType fromParam)
{
    if (to.IsStored(toParam) && from.HasParam(fromParam) && Grow(to, from.RowCount()))
        Take(to, 0, {{toParam, {from, fromParam}}}, from.RowCount(), Rule::Copy);
}

void CopyColumn(DataTable& to, const DataTable& from, DataParamType param)
{
    CopyColumn(to, param, from, param);
}

void CopyColumns(DataTable& to, const DataTable& from, const std::vector<DataParamType>& params)
{
    std::vector<Taken> taken = ListTaken(to, from, params);
    if (!taken.empty() && Grow(to, from.RowCount()))
        Take(to, 0, std::move(taken), from.RowCount(), Rule::Copy);
}

void AssignData(DataTable& to, const DataTable& from)
{
    const unsigned int rows = from.RowCount();
    if (&to == &from || !Grow(to, rows))
        return;
    to.ResizeRows(0);
    to.ResizeRows(rows); // within the memory that it has: every cell missing
    TakeAll(to, 0, from, rows);
}

void Append(DataTable& to, const DataTable& from)
{
    const unsigned int above = to.RowCount(), rows = from.RowCount();
    if (rows <= std::numeric_limits<unsigned int>::max() - above && Grow(to, above + rows))
        TakeAll(to, above, from, rows);
}

void MergeRow(DataTable& to, const DataTable& from, const std::vector<DataParamType>& params,
              const GID& row)
{
    if (row.value == 0 || row.value > from.RowCount())
        return;
    for (const DataParamType param : params)
    {
        if (!to.IsStored(param))
            continue;
        const double value = from.GetValue(row, param);
        if (!IsMissingValue(value))
            to.SetValue(row, param, value);
    }
}

void Merge(DataTable& to, const DataTable& from, const std::vector<DataParamType>& params)
{
    if (&to == &from || !Grow(to, from.RowCount()))
        return;
    // As in MergeRow, including quantities that the source's evaluator provides without a
    // calculator.
    std::vector<Taken> taken;
    for (const DataParamType param : params)
    {
        if (to.IsStored(param))
            taken.push_back({param, {from, param}});
    }
    Take(to, 0, std::move(taken), from.RowCount(), Rule::Merge);
}

void Merge(DataTable& to, const DataTable& from) { Merge(to, from, from.Columns()); }

std::shared_ptr<DataTable> CreateUnion(const DataTable& a,
                                       const std::vector<DataParamType>& aParams,
                                       const DataTable& b,
                                       const std::vector<DataParamType>& bParams)
{
    auto calculators = a.Calculators() != nullptr ? a.Calculators() : b.Calculators();
    auto both = std::make_shared<DataTable>(
        a.RowKind() != DataParamType::None ? a.RowKind() : b.RowKind(),
        dataparamtype::ListUnion(aParams, bParams), std::max(a.RowCount(), b.RowCount()),
        calculators != nullptr ? calculators : DefaultCalculators(), eval::MakeSimpleEvaluator());
    if (both->RowCount() != 0)
    {
        Merge(*both, b, bParams);
        Merge(*both, a, aParams); // over those of b
    }
    return both;
}

std::shared_ptr<DataTable> CreateUnion(const DataTable& a, const DataTable& b)
{
    return CreateUnion(a, a.Columns(), b, b.Columns());
}

} // namespace datatable
