/// @file
/// How a computed quantity follows from stored ones. Not installed.
#pragma once

#include "data/DataParamCalculator.h"
#include "data/DataParamType.h"
#include "data/kvi_gid.h"

#include <memory>
#include <vector>

class DataTable;

namespace datatable::impl
{

/// Everything that one quantity of a table needs, each once, in the order to compute it. It holds
/// for all rows, while the table's columns, row kind and calculators stay.
///
/// A quantity that needs itself, directly or around a circle, is never computed: it is missing.
class Plan
{
public:
    Plan(const DataTable& table, DataParamType wanted);

    /// Whether the wanted quantity follows from stored ones without a gap or a circle.
    bool IsComplete() const;
    /// Whether @p table still has the calculators and the row kind that the plan was made for.
    bool IsFor(const DataTable& table) const;
    /// What the quantity follows from in the end: the stored quantities, and those that have
    /// neither column nor calculator or need themselves. Each once, in the order of the
    /// calculators' inputs.
    std::vector<DataParamType> Leaves() const;
    /// Appends the stored values of @p row that the quantity follows from.
    void Gather(const DataTable& table, GID row, std::vector<double>& stored) const;
    /// The quantity from those values.
    double Compute(const double* stored) const;
    /// The calculator of the wanted quantity itself; invalid when it is stored, unknown or part of
    /// a circle.
    const DataParamCalculator& Wanted() const { return needs_[0].calculator; }

private:
    enum class Source
    {
        Stored,
        Computed,
        Unknown,
        Circle
    };
    struct Need
    {
        DataParamType param;
        Source source;
        DataParamCalculator calculator = {}; // of a computed need
        std::vector<int> inputs = {};        // places in needs_
    };
    struct Search;

    std::vector<Need> needs_; // as found; the wanted quantity first
    std::vector<int> stored_; // places of stored needs, in the order of Gather
    std::vector<int> order_;  // places of computed needs, each behind its inputs
    std::size_t mostInputs_ = 0;
    DataParamType rowKind_;
    std::weak_ptr<ICalculators> calculators_;
};

} // namespace datatable::impl
