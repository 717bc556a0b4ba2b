/// @file
/// Calculators for quantities that tables do not store.
#pragma once

#include "data/DataParamType.h"
#include "foundation/kvi_export.h"

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <span>
#include <utility>
#include <vector>

/// Computes one quantity of a row from other quantities of the same row.
///
/// Copies share the function. The function must depend on its inputs alone, since evaluators may
/// keep its results, and must not throw. Threads: any, when the function allows it.
/// @code
/// const auto pressure = DataParamCalculator::FromFormula(
///     {dataparam::PressureHead, dataparam::UnitWeightOfWater},
///     [](double head, double weight) { return head * weight; });
/// @endcode
class KVI_API DataParamCalculator
{
public:
    /// Takes the inputs' values in the order of the input list; a value may be missing.
    using Function = std::function<double(std::span<const double>)>;

    /// Computes results[i] from inputs[0][i], inputs[1][i] and so on, for i < count: the same
    /// numbers as the Function, for whole columns. The results overlap no input.
    using ColumnFunction =
        std::function<void(const double* const* inputs, double* results, std::size_t count)>;

    /// A calculator that computes nothing.
    DataParamCalculator() = default;
    /// Calls @p function with the values of @p inputs, and @p columnFunction, if given, where whole
    /// columns are read. Without a function it computes nothing.
    DataParamCalculator(std::vector<DataParamType> inputs, Function function,
                        ColumnFunction columnFunction = {});
    /// Both functions from one formula of as many numbers as there are inputs. Evaluating a column
    /// then costs about twice the formula's arithmetic on plain arrays.
    template <std::size_t N, class Formula>
    static DataParamCalculator FromFormula(const DataParamType (&inputs)[N], Formula formula)
    {
        return FromFormula({inputs, inputs + N}, formula, std::make_index_sequence<N>());
    }

    /// An invalid calculator, which a map returns for an unknown quantity.
    static const DataParamCalculator& InvalidCalculator();

    bool IsValid() const { return body_ != nullptr; } ///< whether there is a function
    /// Empty for an invalid calculator.
    const std::vector<DataParamType>& Inputs() const;
    /// @param values  one for each input
    /// @returns the missing value from an invalid calculator
    double Calculate(std::span<const double> values) const;
    /// results[i] from inputs[0][i], inputs[1][i] and so on, for i < count; all missing from an
    /// invalid calculator.
    void CalculateColumn(const double* const* inputs, double* results, std::size_t count) const;

private:
    template <class Formula, std::size_t... I>
    static DataParamCalculator FromFormula(std::vector<DataParamType> params, Formula formula,
                                           std::index_sequence<I...>)
    {
        return {
            std::move(params),
            [formula](std::span<const double> v) { return double(formula(v[I]...)); },
            [formula](const double* const* inputs, double* __restrict results, std::size_t count) {
                const double* const columns[] = {inputs[I]...};
                for (std::size_t i = 0; i < count; ++i)
                    results[i] = formula(columns[I][i]...);
            }};
    }

    struct Body;
    std::shared_ptr<const Body> body_;
};

namespace datatable
{

/// The source of a table's calculators. An implementation must return the same calculators as long
/// as tables use it, or DataTable::Invalidate must be called, and may be called by several threads
/// at once.
class KVI_API ICalculators
{
public:
    virtual ~ICalculators();
    /// The calculator of @p param for tables whose rows are @p rowKind; an invalid one for none.
    virtual DataParamCalculator GetCalculator(DataParamType rowKind, DataParamType param) const = 0;
};

/// Calculators in a map. Fill it before tables use it.
class KVI_API CalculatorMap final : public ICalculators
{
public:
    /// Sets the calculator of @p param for tables whose rows are @p rowKind; replaces an earlier
    /// one.
    void Set(DataParamType rowKind, DataParamType param, DataParamCalculator calculator);
    DataParamCalculator GetCalculator(DataParamType rowKind, DataParamType param) const override;

private:
    std::map<std::pair<DataParamType, DataParamType>, DataParamCalculator> map_;
};

} // namespace datatable
