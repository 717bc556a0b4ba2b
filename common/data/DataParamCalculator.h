/// @file
/// How tables answer for quantities that they do not store.
#pragma once

#include "data/DataParamType.h"
#include "foundation/kvi_export.h"

#include <functional>
#include <map>
#include <memory>
#include <span>
#include <utility>
#include <vector>

/// Computes one quantity of a row from other quantities of the same row.
///
/// A handle: copies share what they compute. The function must depend on its inputs alone, since
/// evaluators may keep its results, and must not throw.
/// Threads: any, when the function allows it.
/// @code
/// DataParamCalculator pressure({dataparam::PressureHead, dataparam::UnitWeightOfWater},
///                              [](std::span<const double> v) { return v[0] * v[1]; });
/// @endcode
class KVI_API DataParamCalculator
{
public:
    /// Takes the inputs' values in the order of the input list; a value may be missing.
    using Function = std::function<double(std::span<const double>)>;

    /// A calculator that computes nothing.
    DataParamCalculator() = default;
    /// One that calls @p function with the values of @p inputs; one that computes nothing where
    /// there is no function.
    DataParamCalculator(std::vector<DataParamType> inputs, Function function);

    /// The calculator that a map gives where it has none: IsValid() is false.
    static const DataParamCalculator& InvalidCalculator();

    bool IsValid() const { return body_ != nullptr; } ///< whether there is a function
    /// Empty for an invalid calculator.
    const std::vector<DataParamType>& Inputs() const;
    /// @param values  one for each input
    /// @returns the missing value from an invalid calculator
    double Calculate(std::span<const double> values) const;

private:
    struct Body;
    std::shared_ptr<const Body> body_;
};

namespace datatable
{

/// Where tables look for calculators.
/// An implementation must give the same answers as long as tables use it (or the tables must be
/// told with DataTable::Invalidate), and may be asked by several threads at once.
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
    /// Sets the calculator of @p param for tables whose rows are @p rowKind, over an earlier one.
    void Set(DataParamType rowKind, DataParamType param, DataParamCalculator calculator);
    DataParamCalculator GetCalculator(DataParamType rowKind, DataParamType param) const override;

private:
    std::map<std::pair<DataParamType, DataParamType>, DataParamCalculator> map_;
};

} // namespace datatable
