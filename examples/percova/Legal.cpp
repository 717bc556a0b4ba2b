#include "Legal.h"

#include "NumberText.h"

#include <array>
#include <limits>

namespace percova
{
namespace
{

constexpr double kNoLimit = std::numeric_limits<double>::infinity();

struct Range
{
    double lower;
    bool lowerAllowed;
    double upper; ///< allowed itself
};

/// By Quantity.
constexpr std::array<Range, 9> kRanges{{
    {0, false, kNoLimit},
    {0, false, kNoLimit},
    {0, false, kNoLimit},
    {0, false, kNoLimit},
    {0, true, 1},
    {0, false, kNoLimit},
    {0, true, 1},
    {0, true, kNoLimit},
    {0, false, kNoLimit},
}};

} // namespace

void CheckLegal(const JsonReader& reader, const char* key, Quantity quantity, double value)
{
    const Range& range = kRanges[static_cast<std::size_t>(quantity)];
    if ((value > range.lower || (range.lowerAllowed && value == range.lower)) &&
        value <= range.upper)
        return;
    reader.Error(key, "is " + Short(value, 8) + ", but should be " +
                          (range.lowerAllowed ? "at least " : "greater than ") +
                          Short(range.lower) +
                          (range.upper < kNoLimit ? " and at most " + Short(range.upper) : ""));
}

} // namespace percova
