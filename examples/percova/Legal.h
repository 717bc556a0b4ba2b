/// @file
/// The legal range of every parameter, as the library's catalogue has it.
#pragma once

#include "JsonReader.h"

namespace percova
{

enum class Quantity
{
    UnitWeightOfWater,
    SaturatedConductivity,
    Ratio, ///< of conductivities
    CurveParameter,
    SaturatedWaterContent,
    Suction,
    Fraction,
    Exponent,
    Positive
};

/// Tells when @p value, which stands under @p key, is not legal, in the catalogue's own words.
void CheckLegal(const JsonReader& reader, const char* key, Quantity quantity, double value);

} // namespace percova
