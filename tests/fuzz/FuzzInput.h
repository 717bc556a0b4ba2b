// Bytes as small numbers, coordinates near each other and near the tolerance.
#pragma once

#include "Geom/Geom_Point.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace fuzz
{

class Input
{
public:
    Input(const std::uint8_t* data, std::size_t size) : at_(data), end_(data + size) {}

    bool IsEmpty() const { return at_ == end_; }
    /// The next byte; 0 past the last.
    int Byte() { return IsEmpty() ? 0 : *at_++; }

    /// The process-wide precision, the place and the scale of the coordinates to come.
    void TakeFrame()
    {
        constexpr double kPlaces[] = {0, 0, 0, 1e3, 5e6, 1e12, 1e200, -1e-310};
        constexpr int kDigits[] = {4, 4, 4, 4, 2, 0, 7, 400};
        const int frame = Byte();
        place_ = kPlaces[frame & 7];
        Geom::Precision3D precision;
        const int digits = kDigits[frame >> 3 & 7];
        precision.Set(std::vector<int>(3, digits).data());
        SetCompPrecision(precision);
        unit_ = frame & 64 ? precision.epsilon[0] * 2 : 1;
        step_ = precision.halfEpsilon[0] / 4;
    }
    /// A whole number of units from 0 to 15, and up to two half-epsilons beside it.
    double Coordinate()
    {
        const int where = Byte();
        return place_ + (where & 15) * unit_ + ((where >> 4) - 8) * step_;
    }
    Geom::Point2D Point()
    {
        const double x = Coordinate();
        return {x, Coordinate()};
    }

private:
    const std::uint8_t *at_, *end_;
    double place_ = 0, unit_ = 1, step_ = 0;
};

/// A target on one input: what is wrong, or nothing.
/// @{
std::string CheckLines(const std::uint8_t* data, std::size_t size);
std::string CheckRings(const std::uint8_t* data, std::size_t size);
std::string CheckMesh(const std::uint8_t* data, std::size_t size);
std::string CheckProblem(const std::uint8_t* data, std::size_t size);
/// @}

} // namespace fuzz
