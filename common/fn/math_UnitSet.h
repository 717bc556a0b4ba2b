/// @file
/// The units that a function's numbers are in.
#pragma once

#include "foundation/MissingValue.h"

namespace math
{

/// A pressure unit. Documents hold the numbers; 1 is the kilopascal.
enum class PressureUnit
{
    Kilopascal = 1,
    Pascal = 2,
    Megapascal = 3,
    Bar = 4,
    PoundPerSquareFoot = 5,
    PoundPerSquareInch = 6
};

/// The units of one analysis; only the pressure's matters to the library's own functions.
class UnitSet
{
public:
    constexpr UnitSet() = default;
    /// @param unit  the unit of pressures; the other units follow from it
    constexpr explicit UnitSet(PressureUnit unit) : pressure_(unit) {}

    constexpr PressureUnit Pressure() const { return pressure_; } ///< the unit of pressures

    /// @p kilopascals in this set's pressure unit; the missing value when the unit is none of
    /// PressureUnit. The pound-force is 4.4482216152605 N, the foot 0.3048 m, both by definition.
    constexpr double FromKilopascal(double kilopascals) const
    {
        switch (pressure_)
        {
        case PressureUnit::Pascal:
            return kilopascals * 1000;
        case PressureUnit::Megapascal:
            return kilopascals / 1000;
        case PressureUnit::Bar:
            return kilopascals / 100;
        case PressureUnit::PoundPerSquareFoot:
            return kilopascals * (1000 * 0.3048 * 0.3048 / 4.4482216152605);
        case PressureUnit::PoundPerSquareInch:
            return kilopascals * (1000 * 0.0254 * 0.0254 / 4.4482216152605);
        case PressureUnit::Kilopascal:
            return kilopascals;
        }
        return MissingValue<double>();
    }

private:
    PressureUnit pressure_ = PressureUnit::Kilopascal;
};

} // namespace math
