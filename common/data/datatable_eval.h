/// @file
/// Evaluators: how a table computes values that it does not store.
#pragma once

#include "data/DataParamType.h"
#include "data/kvi_gid.h"
#include "foundation/kvi_export.h"

#include <memory>

class DataTable;

namespace datatable
{

/// Computes values for one table, which owns it. The order of the virtual functions is fixed.
class KVI_API IParamEvaluator
{
public:
    virtual ~IParamEvaluator();
    /// The table's shape, its calculators or its evaluator changed, so drop cached values. It may
    /// change the table's cells, rows and columns, and is not called again for that; it must not
    /// move, swap or destroy the table.
    virtual void Invalidate(DataTable& table) = 0;
    /// The value of @p param in @p row, or the missing value.
    virtual double Evaluate(const DataTable& table, GID row, DataParamType param) = 0;

protected:
    IParamEvaluator() = default;
    /// @{
    /// Copies are for derived classes.
    IParamEvaluator(const IParamEvaluator&) = default;
    /// Assignment is for derived classes.
    IParamEvaluator& operator=(const IParamEvaluator&) = default;
    /// @}
};

/// An owned evaluator with the function that releases it, which is called with the
/// IParamEvaluator's address.
using EvaluatorPtr = std::unique_ptr<IParamEvaluator, void (*)(void*)>;

/// The evaluators differ in what they cache, not in their results:
///
/// - A row outside the table, a quantity without calculator, and one that needs itself, directly
///   or through others, have the missing value. So do such inputs of a calculator, which is
///   called nevertheless.
/// - A kept value is returned only while every stored cell that it was computed from holds the same
///   bits, so the next read sees every write, by SetValue or by iterators of Row and Column.
///
/// Threads: any number may read a table at once; none may while it changes.
namespace eval
{

/// Caches nothing: looks up the calculators and computes at each call. One object serves every
/// table.
///
/// An evaluator of the host may delegate to it: Evaluate reads each input through the table's own
/// evaluator. Within the outermost delegated read of a row, each quantity is computed once.
class KVI_API SimpleParamEvaluator final : public IParamEvaluator
{
public:
    /// The one instance; it has no state.
    static SimpleParamEvaluator& Instance();

    void Invalidate(DataTable& table) override;
    double Evaluate(const DataTable& table, GID row, DataParamType param) override;
};

/// The shared SimpleParamEvaluator; releasing it does nothing.
KVI_API EvaluatorPtr MakeSimpleEvaluator();

/// Keeps the calculators that a quantity needs and the order to call them in, and recomputes each
/// value: for values that are read once.
KVI_API EvaluatorPtr MakeCachedCalculatorEvaluator();

/// Keeps the calculators and, from the first read on, each value with the cells it came from: for
/// costly values that are read repeatedly. Memory: about 130 bytes a value, and 8 for each stored
/// cell that it follows from.
KVI_API EvaluatorPtr MakeLazyCachingEvaulator();

} // namespace eval
} // namespace datatable
