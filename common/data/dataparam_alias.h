/// @file
/// Descriptive names for the quantities that analyses use.
#pragma once

#include "data/DataParamType.h"

/// Second names of catalogue members, chosen by this library so that each member's range suits the
/// quantity.
namespace dataparam
{

/// @name What rows are; identifiers, at least 0
inline constexpr DataParamType Node = DataParamType::Param0001;     ///< a node of the mesh
inline constexpr DataParamType Element = DataParamType::Param0002;  ///< an element of the mesh
inline constexpr DataParamType Material = DataParamType::Param0003; ///< a material
inline constexpr DataParamType Region = DataParamType::Param0018;   ///< a region
inline constexpr DataParamType MaterialNumber =
    DataParamType::Param0019;                                    ///< the material of a region
inline constexpr DataParamType Point = DataParamType::Param0023; ///< a point of interest

/// @name Material parameters greater than 0
inline constexpr DataParamType UnitWeightOfWater = DataParamType::Param0016; ///< force per volume
inline constexpr DataParamType SaturatedConductivity =
    DataParamType::Param0241; ///< length per time, along x
/// Conductivity along y over the one along x.
inline constexpr DataParamType ConductivityRatio = DataParamType::Param0250;
/// The parameters a, n, m of the water-content curve; a is a pressure.
inline constexpr DataParamType CurveA = DataParamType::Param0253;
inline constexpr DataParamType CurveN = DataParamType::Param0280; ///< a plain number
inline constexpr DataParamType CurveM = DataParamType::Param0341; ///< a plain number

/// @name Material parameters at least 0

/// Suction at which the water-content curve reaches zero, a pressure.
inline constexpr DataParamType CurveLimit = DataParamType::Param0260;
/// The rate of the exponential law of relative conductivity, one over length.
inline constexpr DataParamType ConductivityAlpha = DataParamType::Param0261;
/// The least relative conductivity, a plain number.
inline constexpr DataParamType ConductivityFloor = DataParamType::Param0271;
/// The exponent of the power law of relative conductivity, a plain number.
inline constexpr DataParamType ConductivityPower = DataParamType::Param0272;
/// The suction up to which the integral law of relative conductivity gives 1, a pressure.
inline constexpr DataParamType ConductivityStart = DataParamType::Param0283;
inline constexpr DataParamType Area = DataParamType::Param0205; ///< length squared

/// @name From 0 to 0.49
inline constexpr DataParamType PoissonRatio = DataParamType::Param0078; ///< a plain number

/// @name From 0 to 1
inline constexpr DataParamType SaturatedWaterContent =
    DataParamType::Param0344; ///< water in the whole, pores full
inline constexpr DataParamType WaterContent = DataParamType::Param0351; ///< water in the whole
inline constexpr DataParamType RelativeConductivity = DataParamType::Param0448; ///< over saturated
inline constexpr DataParamType DegreeOfSaturation =
    DataParamType::Param0598; ///< water in the pores

/// @name Any number
inline constexpr DataParamType X = DataParamType::Param0004;                 ///< length
inline constexpr DataParamType Y = DataParamType::Param0005;                 ///< length, upwards
inline constexpr DataParamType Flow = DataParamType::Param0006;              ///< volume per time
inline constexpr DataParamType Flux = DataParamType::Param0008;              ///< flow per area
inline constexpr DataParamType Head = DataParamType::Param0009;              ///< length
inline constexpr DataParamType PressureHead = DataParamType::Param0010;      ///< length
inline constexpr DataParamType Pressure = DataParamType::Param0011;          ///< force per area
inline constexpr DataParamType VelocityX = DataParamType::Param0035;         ///< length per time
inline constexpr DataParamType VelocityY = DataParamType::Param0036;         ///< length per time
inline constexpr DataParamType VelocityMagnitude = DataParamType::Param0037; ///< length per time
inline constexpr DataParamType GradientX = DataParamType::Param0038;         ///< of head
inline constexpr DataParamType GradientY = DataParamType::Param0039;         ///< of head

} // namespace dataparam
