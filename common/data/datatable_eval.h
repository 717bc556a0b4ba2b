/// @file
/// Evaluators: how a table gets the values that it cannot read directly.
#pragma once

#include "data/DataParamType.h"
#include "data/kvi_gid.h"
#include "foundation/kvi_export.h"

#include <memory>

class DataTable;

namespace datatable
{

/// Answers for one table, which owns it. The operations are fixed by their order.
class KVI_API IParamEvaluator
{
public:
    virtual ~IParamEvaluator();
    /// The table's shape, its calculators or its evaluator changed: what was kept is void.
    virtual void Invalidate(DataTable& table) = 0;
    /// The value of @p param in @p row, or the missing value.
    virtual double Evaluate(const DataTable& table, GID row, DataParamType param) = 0;

protected:
    IParamEvaluator() = default;
    /// @{
    /// Copies are for derived classes.
    IParamEvaluator(const IParamEvaluator&) = default;
    IParamEvaluator& operator=(const IParamEvaluator&) = default;
    /// @}
};

/// An owned evaluator with the function that gives it up, which is called with the
/// IParamEvaluator's address.
using EvaluatorPtr = std::unique_ptr<IParamEvaluator, void (*)(void*)>;

/// The evaluators differ in what they keep, not in their answers:
///
/// - A row outside the table, a quantity without calculator, and one that needs itself, directly
///   or around a circle, have the missing value. So do such inputs of a calculator, which is
///   called nevertheless.
/// - A kept value is given again only when every stored cell that it was computed from still holds
///   the same bits, so a write through any door (SetValue, the iterators of Row and Column, also
///   those fetched long before) is seen by the next read.
///
/// Threads: any number may read a table at once; none may while it changes.
namespace eval
{

/// Keeps nothing: finds the calculators and computes afresh with each call. One object serves
/// every table.
class KVI_API SimpleParamEvaluator final : public IParamEvaluator
{
public:
    /// The one instance; it has no state.
    static SimpleParamEvaluator& Instance();

    void Invalidate(DataTable& table) override;
    double Evaluate(const DataTable& table, GID row, DataParamType param) override;
};

/// The shared SimpleParamEvaluator; giving it up does nothing.
KVI_API EvaluatorPtr MakeSimpleEvaluator();

/// Keeps the calculators that a quantity needs and the order to call them in, and computes each
/// value afresh: for values that are read once.
KVI_API EvaluatorPtr MakeCachedCalculatorEvaluator();

/// Keeps the calculators and, from the first read on, each value with the cells it came from: for
/// costly values that are read again and again. Takes the memory of a map entry a value.
KVI_API EvaluatorPtr MakeLazyCachingEvaulator();

} // namespace eval
} // namespace datatable
