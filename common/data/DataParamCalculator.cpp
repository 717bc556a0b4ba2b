#include "data/DataParamCalculator.h"

#include "foundation/MissingValue.h"

struct DataParamCalculator::Body
{
    std::vector<DataParamType> inputs;
    Function function;
    ColumnFunction columnFunction;
};

DataParamCalculator::DataParamCalculator(std::vector<DataParamType> inputs, Function function,
                                         ColumnFunction columnFunction)
{
    if (function)
        body_ = std::make_shared<const Body>(
            Body{std::move(inputs), std::move(function), std::move(columnFunction)});
}

const DataParamCalculator& DataParamCalculator::InvalidCalculator()
{
    static const DataParamCalculator invalid;
    // NOLINTNEXTLINE(clang-analyzer-core.uninitialized.UndefReturn): never null, being static
    return invalid;
}

const std::vector<DataParamType>& DataParamCalculator::Inputs() const
{
    static const std::vector<DataParamType> none;
    // NOLINTNEXTLINE(clang-analyzer-core.uninitialized.UndefReturn): never null, being static
    return body_ != nullptr ? body_->inputs : none;
}

double DataParamCalculator::Calculate(std::span<const double> values) const
{
    return body_ != nullptr ? body_->function(values) : MissingValue<double>();
}

void DataParamCalculator::CalculateColumn(const double* const* inputs, double* results,
                                          std::size_t count) const
{
    if (body_ != nullptr && body_->columnFunction)
        return body_->columnFunction(inputs, results, count);
    std::vector<double> values(Inputs().size());
    for (std::size_t i = 0; i < count; ++i)
    {
        for (std::size_t k = 0; k < values.size(); ++k)
            values[k] = inputs[k][i];
        results[i] = Calculate(values);
    }
}

namespace datatable
{

ICalculators::~ICalculators() = default;

void CalculatorMap::Set(DataParamType rowKind, DataParamType param, DataParamCalculator calculator)
{
    map_[{rowKind, param}] = std::move(calculator);
}

DataParamCalculator CalculatorMap::GetCalculator(DataParamType rowKind, DataParamType param) const
{
    const auto found = map_.find({rowKind, param});
    return found != map_.end() ? found->second : DataParamCalculator::InvalidCalculator();
}

} // namespace datatable
