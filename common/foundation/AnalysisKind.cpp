#include "foundation/AnalysisKind.h"

#include <algorithm>
#include <iterator>

namespace analysiskind
{
namespace
{
// By number.
constexpr std::string_view kNames[] = {"solvera", "tremova",  "percova", "deforma",
                                       "stabra",  "thermova", "vadova",  "aerova"};
constexpr auto kCount = static_cast<std::uint32_t>(std::size(kNames));
} // namespace

std::string LookupNameByKind(AnalysisKind kind)
{
    const auto number = static_cast<std::uint32_t>(kind);
    return number < kCount ? std::string(kNames[number]) : std::string();
}

AnalysisKind KindByLookupName(std::string_view name)
{
    const auto* const found = std::find(std::begin(kNames), std::end(kNames), name);
    return found == std::end(kNames) ? AnalysisKind::None
                                     : static_cast<AnalysisKind>(found - std::begin(kNames));
}

} // namespace analysiskind
