/// @file
/// Tables of parameters: rows are items, columns are quantities, cells are numbers.
#pragma once

#include "data/DataParamCalculator.h"
#include "data/DataParamType.h"
#include "data/datatable_eval.h"
#include "data/kvi_gid.h"
#include "foundation/gtl_iterator_range.h"
#include "foundation/kvi_export.h"
#include "foundation/math_strided_iterator.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

class DataTable;

namespace datatable::impl
{
/// Exchanges the two tables' calculators, the pointers themselves, and invalidates both tables.
KVI_API void SwapCalculators(DataTable& a, DataTable& b);
struct TableCalculators; // what it needs of a table
} // namespace datatable::impl

/// A dense table of numbers that can also compute further quantities.
///
/// Rows are numbered from 1. A new cell holds the missing value. A quantity without a column is
/// computed on demand by the table's evaluator, from the columns and the table's calculators.
/// Memory: 8 bytes a cell and about 1.3 KB a table, besides what its evaluator keeps.
///
/// Nothing here reports errors. An impossible shape is refused as a whole and leaves the table
/// unchanged, a new table empty: more than 32767 columns, a quantity twice or outside the
/// catalogue, more than 2^36 cells or than memory can hold. Check RowCount and ColumnCount for
/// sizes from untrusted input.
///
/// Threads: any number may read at once (the evaluators of datatable::eval allow it); none may
/// while another changes the table.
/// @code
/// DataTable soil(dataparam::Material, {dataparam::CurveA, dataparam::CurveN}, 2);
/// soil.SetValue({1}, dataparam::CurveA, 10.0);
/// @endcode
class KVI_API DataTable
{
public:
    /// The values of a row or column, writable.
    using Values = gtl::iterator_range<math::strided_iterator<double>>;
    /// The same, read-only.
    using ConstValues = gtl::iterator_range<math::strided_iterator<const double>>;

    /// An empty table. It computes nothing until it gets an evaluator from Init, Assign or
    /// RegisterEvalulator.
    DataTable();
    /// @{
    /// As an empty table after Init.
    DataTable(DataParamType rowKind, const std::vector<DataParamType>& params, unsigned int rows);
    /// The same with calculators and an evaluator of the caller's.
    DataTable(DataParamType rowKind, const std::vector<DataParamType>& params, unsigned int rows,
              const std::shared_ptr<datatable::ICalculators>& calculators,
              datatable::EvaluatorPtr evaluator);
    /// @}
    /// As Assign: the copy has the default evaluator.
    DataTable(const DataTable& other);
    /// Takes the evaluator too; @p other is empty afterwards, without one.
    DataTable(DataTable&& other) noexcept;
    /// As Assign: the evaluator stays.
    DataTable& operator=(const DataTable& other);
    /// As the move constructor.
    DataTable& operator=(DataTable&& other) noexcept;
    ~DataTable();
    void swap(DataTable& other) noexcept; ///< exchanges everything; nothing is copied

    /// Gives the table new columns and rows, every cell missing.
    /// @param calculators  when null, the current ones stay
    /// @param evaluator    when null, the table gets the default evaluator
    void Init(DataParamType rowKind, const std::vector<DataParamType>& params, unsigned int rows,
              const std::shared_ptr<datatable::ICalculators>& calculators,
              datatable::EvaluatorPtr evaluator);
    /// Copies everything but the evaluator; a table without one gets the default evaluator.
    void Assign(const DataTable& other);
    /// Keeps the first @p rows rows; further ones are missing.
    void ResizeRows(unsigned int rows);
    /// Gives the table the columns @p params in their order. Quantities that it stored keep their
    /// values; new ones are missing. @returns whether it has these columns
    bool ChangeColumns(const std::vector<DataParamType>& params);
    /// Drops rows, columns, row kind and calculators, and frees their memory. The evaluator stays;
    /// its Invalidate is not called.
    void Clear();
    /// Bytes that the table occupies, without calculators and evaluator. Rows dropped by ResizeRows
    /// stay allocated.
    std::size_t MemoryUsed() const;

    DataParamType RowKind() const { return rowKind_; } ///< what the rows are
    /// In the order of storage.
    const std::vector<DataParamType>& Columns() const { return columns_; }
    unsigned int RowCount() const { return rowCount_; }       ///< rows are numbered from 1 to this
    unsigned int ColumnCount() const { return columnCount_; } ///< number of stored quantities
    /// Null if none were given.
    const std::shared_ptr<datatable::ICalculators>& Calculators() const { return calculators_; }

    /// The stored value if there is one, otherwise the evaluator's; the missing value without an
    /// evaluator. Loops over stored cells run up to 2.5 times faster through Row or Column, which
    /// check once; for a whole column of computed values, datatable::ReadColumn is faster.
    double GetValue(GID row, DataParamType param) const
    {
        const int column = ColumnNumber(param);
        if (IsCell(row, column)) [[likely]]
            return values_[CellNumber(row, column)];
        return Evaluate(row, param);
    }
    /// GetValue as text, "%1.8g"; T is std::string or std::wstring.
    template <class T>
    T GetAs(GID row, DataParamType param) const;
    /// Stores @p value, unless the table has no such cell. @returns whether it has
    bool SetValue(GID row, DataParamType param, double value);

    /// @{
    /// The row's values in column order; empty for a row that does not exist.
    Values Row(const GID& row) { return RowOf<Values>(values_.data(), row); }
    /// The same of a constant table.
    ConstValues Row(const GID& row) const { return RowOf<ConstValues>(values_.data(), row); }
    /// @}
    /// @{
    /// The values of @p param from the first row to the last; empty for a quantity not stored.
    Values Column(DataParamType param) { return ColumnOf<Values>(values_.data(), param); }
    /// The same of a constant table.
    ConstValues Column(DataParamType p) const { return ColumnOf<ConstValues>(values_.data(), p); }
    /// @}

    /// Whether @p param has a column.
    bool IsStored(DataParamType param) const { return ColumnNumber(param) != 0; }
    /// Whether @p param is stored or can be computed: it has a calculator, every input of which is
    /// stored or can be computed in turn, without a cycle.
    bool HasParam(DataParamType param) const;
    /// Whether there is nothing: no columns, no row kind, no calculators.
    bool IsMissing() const;
    /// Equal shape, values (a NaN equals nothing) and the same calculators object. Evaluators do
    /// not count.
    bool Equals(const DataTable& other) const;

    /// The calculator of @p param, or DataParamCalculator::InvalidCalculator().
    DataParamCalculator GetCalculator(DataParamType param) const;
    /// Calls the evaluator's Invalidate, unless called from within it.
    void Invalidate();
    /// Replaces the evaluator; null is the default evaluator. Here and in Init, an evaluator cannot
    /// be replaced from within its own Invalidate.
    void RegisterEvalulator(datatable::EvaluatorPtr evaluator);
    /// The table's evaluator; null when it has none.
    const datatable::IParamEvaluator* Evaluator() const { return evaluator_.get(); }

private:
    int ColumnNumber(DataParamType param) const
    {
        const auto index = static_cast<std::uint32_t>(param);
        return index < columnMap_.size() ? columnMap_[index] : 0;
    }
    // Row 0 wraps to the largest number.
    bool IsCell(GID row, int column) const { return column != 0 && row.value - 1 < rowCount_; }
    std::size_t CellNumber(GID row, int column) const
    {
        return std::size_t{row.value - 1} * columnCount_ + static_cast<std::size_t>(column - 1);
    }
    // Row and Column in one body for readers and writers; inline, so that loops know the step of 1.
    template <class Range, class Cells>
    Range RowOf(Cells cells, GID row) const
    {
        const std::uint32_t above = row.value - 1;
        if (above >= rowCount_)
            return {};
        const auto columns = static_cast<std::ptrdiff_t>(columnCount_);
        const std::ptrdiff_t first = static_cast<std::ptrdiff_t>(above) * columns;
        return {{cells, first, 1}, {cells, first + columns, 1}};
    }
    template <class Range, class Cells>
    Range ColumnOf(Cells cells, DataParamType param) const
    {
        const int column = ColumnNumber(param);
        if (column == 0)
            return {};
        const std::ptrdiff_t first = column - 1;
        const auto stride = static_cast<std::ptrdiff_t>(columnCount_);
        const auto size = static_cast<std::ptrdiff_t>(values_.size());
        return {{cells, first, stride}, {cells, first + size, stride}};
    }
    // Cold, so that loops over stored cells keep their sums in registers.
    [[gnu::cold]] double Evaluate(GID row, DataParamType param) const;
    void SetEvaluator(datatable::EvaluatorPtr evaluator);
    bool Shape(const std::vector<DataParamType>& params, unsigned int rows);
    void MapColumns();

    friend struct datatable::impl::TableCalculators;

    DataParamType rowKind_ = DataParamType::None;
    std::vector<DataParamType> columns_;
    // Column number of each quantity, from 1; 0 where it is not stored.
    std::array<std::int16_t, kDataParamTypeCount> columnMap_{};
    std::uint32_t rowCount_ = 0;
    std::uint32_t columnCount_ = 0;
    std::vector<double> values_; // row after row
    std::shared_ptr<datatable::ICalculators> calculators_;
    datatable::EvaluatorPtr evaluator_;
    bool isInvalidating_ = false; // the evaluator's Invalidate is running
};

/// @cond  instances
template <>
KVI_API std::string DataTable::GetAs<std::string>(GID row, DataParamType param) const;
template <>
KVI_API std::wstring DataTable::GetAs<std::wstring>(GID row, DataParamType param) const;
/// @endcond
