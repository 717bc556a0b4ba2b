#include "data/DataParamCalculator.h"

#include "foundation/MissingValue.h"

struct DataParamCalculator::Body
{
    std::vector<DataParamType> inputs;
    Function function;
};

DataParamCalculator::DataParamCalculator(std::vector<DataParamType> inputs, Function function)
{
    if (function)
        body_ = std::make_shared<const Body>(Body{std::move(inputs), std::move(function)});
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
