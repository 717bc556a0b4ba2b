/// @file
/// Helpers of the table tests: short names, quantities, calculators.
#pragma once

#include "data/DataTable.h"
#include "foundation/MissingValue.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numeric>
#include <vector>

namespace table_parts
{
using Params = std::vector<DataParamType>;
using Numbers = std::vector<double>;

constexpr double kMissing = MissingValue<double>();

constexpr DataParamType Param(int number) { return static_cast<DataParamType>(number); }
constexpr DataParamType kKind = Param(1), kA = Param(10), kB = Param(20), kC = Param(30),
                        kD = Param(40), kE = Param(50);

inline Params FirstParams(int count)
{
    Params params;
    for (int i = 0; i < count; ++i)
        params.push_back(Param(i));
    return params;
}

template <class Range>
Numbers AsVector(const Range& range)
{
    return {range.begin(), range.end()};
}

/// @p start and the inputs, added up.
inline DataParamCalculator Sum(Params inputs, double start = 0)
{
    return {std::move(inputs),
            [start](auto v) { return std::accumulate(v.begin(), v.end(), start); }};
}

inline datatable::EvaluatorPtr NoEvaluator()
{
    return {nullptr, [](void*) {}};
}

} // namespace table_parts
