#include "data/DataTable.h"

#include "data/table/EvaluationPlan.h"
#include "foundation/MissingValue.h"
#include "foundation/str_fmt.h"

#include <algorithm>
#include <limits>
#include <new>
#include <utility>

namespace
{
constexpr double kMissing = MissingValue<double>();
constexpr std::size_t kMostColumns = std::numeric_limits<std::int16_t>::max();
// Systems that overcommit memory would grant such a table and then fail.
constexpr std::uint64_t kMostCells = std::uint64_t{1} << 36;

datatable::EvaluatorPtr NoEvaluator()
{
    return {nullptr, [](void*) {}};
}

/// Whether @p params can be columns: members of the catalogue, none twice, not too many.
bool AreValidColumns(const std::vector<DataParamType>& params)
{
    if (params.size() > kMostColumns)
        return false;
    std::array<bool, kDataParamTypeCount> seen{};
    for (const DataParamType param : params)
    {
        const auto index = static_cast<std::uint32_t>(param);
        if (index >= seen.size() || std::exchange(seen[index], true))
            return false;
    }
    return true;
}

/// Resizes @p cells to @p rows times @p columns, new ones missing.
/// @returns false, and nothing changed, when memory cannot hold as many
bool Resize(std::vector<double>& cells, std::uint64_t rows, std::uint64_t columns)
{
    const std::uint64_t count = rows * columns; // of 32-bit numbers: does not wrap
    if (count > kMostCells || count > cells.max_size())
        return false;
    try
    {
        cells.resize(static_cast<std::size_t>(count), kMissing);
    }
    catch (const std::bad_alloc&)
    {
        return false;
    }
    return true;
}
} // namespace

DataTable::DataTable() : evaluator_(NoEvaluator()) {}

DataTable::DataTable(DataParamType rowKind, const std::vector<DataParamType>& params,
                     unsigned int rows)
    : DataTable(rowKind, params, rows, nullptr, NoEvaluator())
{
}

DataTable::DataTable(DataParamType rowKind, const std::vector<DataParamType>& params,
                     unsigned int rows, const std::shared_ptr<datatable::ICalculators>& calculators,
                     datatable::EvaluatorPtr evaluator)
    : DataTable()
{
    Init(rowKind, params, rows, calculators, std::move(evaluator));
}

DataTable::DataTable(const DataTable& other) : DataTable() { Assign(other); }

DataTable::DataTable(DataTable&& other) noexcept : DataTable() { swap(other); }

// NOLINTNEXTLINE(bugprone-unhandled-self-assignment): Assign sees to it
DataTable& DataTable::operator=(const DataTable& other)
{
    Assign(other);
    return *this;
}

DataTable& DataTable::operator=(DataTable&& other) noexcept
{
    DataTable taken(std::move(other));
    swap(taken);
    return *this;
}

DataTable::~DataTable() { Clear(); }

void DataTable::swap(DataTable& other) noexcept
{
    std::swap(rowKind_, other.rowKind_);
    columns_.swap(other.columns_);
    columnMap_.swap(other.columnMap_);
    std::swap(rowCount_, other.rowCount_);
    std::swap(columnCount_, other.columnCount_);
    values_.swap(other.values_);
    calculators_.swap(other.calculators_);
    evaluator_.swap(other.evaluator_);
}

void DataTable::Init(DataParamType rowKind, const std::vector<DataParamType>& params,
                     unsigned int rows, const std::shared_ptr<datatable::ICalculators>& calculators,
                     datatable::EvaluatorPtr evaluator)
{
    if (!Shape(params, rows))
        return;
    rowKind_ = rowKind;
    SetEvaluator(std::move(evaluator));
    if (calculators != nullptr)
        calculators_ = calculators;
    Invalidate();
}

/// Gives the table @p rows missing rows of the columns @p params; false, and nothing changed, when
/// that is impossible.
bool DataTable::Shape(const std::vector<DataParamType>& params, unsigned int rows)
{
    const bool same = params == columns_;
    if (!same && !AreValidColumns(params))
        return false;
    std::vector<DataParamType> columns(params);
    // The old cells are released only once the new ones exist.
    std::vector<double> cells;
    if (std::uint64_t{rows} * params.size() <= values_.capacity())
        cells.swap(values_);
    cells.clear();
    if (!Resize(cells, rows, params.size()))
        return false;
    values_.swap(cells);
    rowCount_ = rows;
    columnCount_ = static_cast<std::uint32_t>(columns.size());
    if (!same)
    {
        columns_.swap(columns);
        MapColumns();
    }
    return true;
}

void DataTable::MapColumns()
{
    columnMap_.fill(0);
    for (std::size_t i = 0; i < columns_.size(); ++i)
        columnMap_[static_cast<std::size_t>(columns_[i])] = static_cast<std::int16_t>(i + 1);
}

void DataTable::Assign(const DataTable& other)
{
    if (this != &other)
    {
        std::vector<DataParamType> columns;
        std::vector<double> values;
        try
        {
            columns = other.columns_;
            values = other.values_;
        }
        catch (const std::bad_alloc&)
        {
            return;
        }
        rowKind_ = other.rowKind_;
        columns_.swap(columns);
        columnMap_ = other.columnMap_;
        rowCount_ = other.rowCount_;
        columnCount_ = other.columnCount_;
        values_.swap(values);
        calculators_ = other.calculators_;
    }
    if (evaluator_ == nullptr)
        evaluator_ = datatable::eval::MakeSimpleEvaluator();
    Invalidate();
}

void DataTable::ResizeRows(unsigned int rows)
{
    if (!Resize(values_, rows, columnCount_))
        return;
    rowCount_ = rows;
    Invalidate();
}

bool DataTable::ChangeColumns(const std::vector<DataParamType>& params)
{
    if (params == columns_)
        return true;
    std::vector<double> cells;
    if (!AreValidColumns(params) || !Resize(cells, rowCount_, params.size()))
        return false;
    // Positions in a new row and in an old one of each quantity that stays.
    std::vector<std::pair<std::size_t, std::size_t>> kept;
    for (std::size_t i = 0; i < params.size(); ++i)
    {
        if (const int column = ColumnNumber(params[i]); column != 0)
            kept.emplace_back(i, column - 1);
    }
    for (std::size_t row = 0; row < rowCount_; ++row)
    {
        for (const auto& [to, from] : kept)
            cells[row * params.size() + to] = values_[row * columnCount_ + from];
    }
    std::vector<DataParamType> columns(params);
    columns_.swap(columns);
    columnCount_ = static_cast<std::uint32_t>(columns_.size());
    values_.swap(cells);
    MapColumns();
    Invalidate();
    return true;
}

void DataTable::Clear()
{
    columnMap_.fill(0);
    std::vector<DataParamType>().swap(columns_); // assigning {} would keep the memory
    rowKind_ = DataParamType::None;
    calculators_.reset();
    std::vector<double>().swap(values_);
    rowCount_ = 0;
    columnCount_ = 0;
}

std::size_t DataTable::MemoryUsed() const
{
    return sizeof *this + values_.capacity() * sizeof(double) +
           columns_.capacity() * sizeof(DataParamType);
}

double DataTable::Evaluate(GID row, DataParamType param) const
{
    return evaluator_ != nullptr ? evaluator_->Evaluate(*this, row, param) : kMissing;
}

template <>
std::string DataTable::GetAs<std::string>(GID row, DataParamType param) const
{
    return str::sprintf("%1.8g", GetValue(row, param));
}

template <>
std::wstring DataTable::GetAs<std::wstring>(GID row, DataParamType param) const
{
    return str::sprintf(L"%1.8g", GetValue(row, param));
}

bool DataTable::SetValue(GID row, DataParamType param, double value)
{
    const int column = ColumnNumber(param);
    if (!IsCell(row, column))
        return false;
    values_[CellNumber(row, column)] = value;
    return true;
}

bool DataTable::HasParam(DataParamType param) const
{
    return IsStored(param) || data::EvaluationPlan(*this, param).IsComplete();
}

bool DataTable::IsMissing() const
{
    return columns_.empty() && rowKind_ == DataParamType::None && calculators_ == nullptr &&
           (rowCount_ == 0 || columnCount_ == 0);
}

bool DataTable::Equals(const DataTable& other) const
{
    return rowKind_ == other.rowKind_ && columns_ == other.columns_ &&
           columnMap_ == other.columnMap_ && rowCount_ == other.rowCount_ &&
           columnCount_ == other.columnCount_ && calculators_ == other.calculators_ &&
           values_ == other.values_;
}

DataParamCalculator DataTable::GetCalculator(DataParamType param) const
{
    return calculators_ != nullptr ? calculators_->GetCalculator(rowKind_, param)
                                   : DataParamCalculator::InvalidCalculator();
}

void DataTable::Invalidate()
{
    if (evaluator_ == nullptr || isInvalidating_)
        return;
    struct Running
    {
        explicit Running(bool& isRunning) : flag(isRunning) { flag = true; }
        ~Running() { flag = false; }
        bool& flag;
    };
    // An evaluator that resizes the table from here would be called recursively without end.
    const Running running(isInvalidating_);
    evaluator_->Invalidate(*this);
}

/// Null is the default evaluator. The present one must outlive its own Invalidate.
void DataTable::SetEvaluator(datatable::EvaluatorPtr evaluator)
{
    if (!isInvalidating_)
        evaluator_ =
            evaluator != nullptr ? std::move(evaluator) : datatable::eval::MakeSimpleEvaluator();
}

void DataTable::RegisterEvalulator(datatable::EvaluatorPtr evaluator)
{
    SetEvaluator(std::move(evaluator));
    Invalidate();
}
