#include "Geom/RingOracle.h"
#include "fuzz/FuzzInput.h"

#include <algorithm>

namespace fuzz
{
using namespace Geom;
namespace
{

/// What is wrong with the tests of the ring from each of its vertices; the area of one that is
/// nearly 0 may fall on either side by rounding.
std::string WrongWith(oracle::Ring ring)
{
    if (ring.empty())
        return PolygonIsEqual2D(ring, ring) ? "" : "two empty ones differ";
    ring.push_back(ring.front());
    const bool isRepeated = oracle::HasRepeatedVertex(ring);
    for (std::size_t start = 0; start + 1 < ring.size(); ++start)
    {
        const bool isValid = PolygonIsValid2D(ring.data(), ring.size(), false);
        if (isValid && isRepeated)
            return "a repeated vertex is overlooked";
        const double area = PolygonArea2D(ring.data(), ring.size()) * 2;
        const bool isClear = std::fabs(std::fabs(area) - 5e-8) > 1e-9;
        if (isClear && isValid != oracle::IsValidRing(ring))
            return "another validity";
        if (isValid && PolygonIsValid2D(ring.data(), ring.size(), true) !=
                           (std::count_if(ring.begin() + 1, ring.end(), [&](const auto& p) {
                                return IsEqual2D(p, ring.front(), Precision());
                            }) == 1))
            return "another validity as one of several";
        if (!PolygonIsEqual2D(ring, ring) && !isRepeated)
            return "not equal to itself";
        std::rotate(ring.begin(), ring.begin() + 1, ring.end() - 1);
        ring.back() = ring.front();
    }
    return {};
}

} // namespace

std::string CheckRings(const std::uint8_t* data, std::size_t size)
{
    const Precision3D before = Precision();
    Input input(data, size);
    input.TakeFrame();
    oracle::Ring ring;
    while (!input.IsEmpty() && ring.size() < 120)
        ring.push_back(input.Point());
    const std::string wrong = WrongWith(ring);
    SetCompPrecision(before);
    return wrong;
}

} // namespace fuzz
