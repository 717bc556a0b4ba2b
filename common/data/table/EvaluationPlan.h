/// @file
/// How a computed quantity follows from stored ones.
#pragma once

#include "data/DataParamCalculator.h"
#include "data/DataParamType.h"
#include "data/kvi_gid.h"

#include <memory>
#include <vector>

class DataTable;

namespace data
{

/// The dependencies of one quantity of a table, each once, in evaluation order. Valid for all rows,
/// as long as the table's columns, row kind and calculators are unchanged.
///
/// A quantity that needs itself, directly or through others, is never computed: it is missing.
class EvaluationPlan
{
public:
    EvaluationPlan(const DataTable& table, DataParamType wanted);

    /// Whether the wanted quantity follows from stored ones without a gap or a cycle.
    bool IsComplete() const;
    /// Whether @p table still has the calculators and the row kind that the plan was made for.
    bool IsFor(const DataTable& table) const;
    /// The quantities that are not computed: stored ones, and those that have neither column nor
    /// calculator or need themselves. Each once, in the order of the calculators' inputs.
    std::vector<DataParamType> Leaves() const;
    /// Appends the stored values of @p row that the quantity follows from.
    void Gather(const DataTable& table, GID row, std::vector<double>& stored) const;
    /// The quantity from those values.
    double Compute(const double* stored) const;
    /// The quantity in @p count rows of @p table, from the row after the first @p above ones. A
    /// cost of a few operations a row and quantity on top of the calculators'.
    void ComputeRows(const DataTable& table, std::size_t above, std::size_t count,
                     double* results) const;
    /// The calculator of @p param, invalid if that is stored, unknown or part of a cycle; null if
    /// the plan does not contain @p param.
    const DataParamCalculator* FindCalculator(DataParamType param) const;

private:
    enum class Source
    {
        Stored,
        Computed,
        Unknown,
        Cycle
    };
    struct Need
    {
        DataParamType param;
        Source source;
        DataParamCalculator calculator = {}; // of a computed need
        std::vector<int> inputs = {};        // places in needs_
    };
    struct Search;

    void ComputeBlock(const DataTable& table, std::size_t above, std::size_t count,
                      const std::vector<double*>& columns) const;

    std::vector<Need> needs_; // as found; the wanted quantity first
    std::vector<int> stored_; // places of stored needs, in the order of Gather
    std::vector<int> order_;  // places of computed needs, each after its inputs
    std::size_t mostInputs_ = 0;
    DataParamType rowKind_;
    std::weak_ptr<datatable::ICalculators> calculators_;
};

} // namespace data
