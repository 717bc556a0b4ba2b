#include "data/datatable_Properties.h"

#include <algorithm>

namespace datatable
{
namespace
{
auto Find(auto& computed, DataParamType param)
{
    return std::find_if(computed.begin(), computed.end(),
                        [param](const auto& entry) { return entry.first == param; });
}
} // namespace

Properties::Properties(DataParamType key, KeyCase keyCase) : key_(key), keyCase_(keyCase) {}

void Properties::RegisterStoredParam(DataParamType param, PersistenceCase persistence)
{
    stored_.insert({param, persistence});
    if (persistence != PersistenceCase::Persisted)
        return;
    if (persisted_.empty() && keyCase_ == KeyCase::Persisted)
        persisted_.insert(key_);
    persisted_.insert(param);
}

void Properties::RegisterComputedParam(DataParamType param, const DataParamCalculator& calculator)
{
    if (const auto found = Find(computed_, param); found != computed_.end())
        found->second = calculator;
    else
        computed_.emplace_back(param, calculator);
}

bool Properties::HasParameter(DataParamType param) const
{
    return HasStoredParameter(param) || HasComputedParameter(param);
}

bool Properties::HasStoredParameter(DataParamType param) const
{
    return std::any_of(stored_.begin(), stored_.end(),
                       [param](const auto& entry) { return entry.first == param; });
}

bool Properties::HasComputedParameter(DataParamType param) const
{
    return Find(computed_, param) != computed_.end();
}

bool Properties::HasPersistedParameter(DataParamType param) const
{
    return persisted_.contains(param);
}

std::vector<DataParamType> Properties::Parameters() const
{
    return dataparamtype::ListUnion(StoredParameters(), ComputedParameters());
}

std::vector<DataParamType> Properties::StoredParameters() const
{
    std::vector<DataParamType> params;
    for (const auto& [param, persistence] : stored_)
    {
        if (params.empty() || params.back() != param) // with another persistence case
            params.push_back(param);
    }
    return params;
}

std::vector<DataParamType> Properties::ComputedParameters() const
{
    std::vector<DataParamType> params;
    for (const auto& [param, calculator] : computed_)
        params.push_back(param);
    return params;
}

std::vector<DataParamType> Properties::PersistedParameters() const
{
    return {persisted_.begin(), persisted_.end()};
}

DataParamCalculator Properties::GetCalculator(DataParamType param) const
{
    const auto found = Find(computed_, param);
    return found != computed_.end() ? found->second : DataParamCalculator::InvalidCalculator();
}

} // namespace datatable
