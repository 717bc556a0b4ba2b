/// @file
/// The last step with results.
#pragma once

#include "doc/Step.h"
#include "foundation/kvi_export.h"

#include <cstdint>

namespace doc::file::mark
{

/// The last step that has results. The numbers are stored in documents.
/// @code
/// MarkStep done;                       // no results yet
/// done.AssignStepNumber_(7);           // the files of steps up to 7 are written
/// @endcode
class KVI_API MarkStep
{
public:
    /// No results, -1.
    constexpr MarkStep() = default;
    /// The mark that is stored as @p value, reserved values included.
    static constexpr MarkStep CreateFromInt(int value)
    {
        MarkStep mark;
        mark.value_ = value;
        return mark;
    }
    /// Becomes step @p number; 0xFFFFFFFF gives all results.
    inline void AssignStepNumber_(unsigned int number);

    /// The step; none for no and for all results.
    inline StepNumber AsStepNumber() const;
    constexpr std::int32_t raw_int() const { return value_; } ///< as it is stored

    /// Whether the stored values are equal.
    friend constexpr bool operator==(const MarkStep&, const MarkStep&) = default;

private:
    std::int32_t value_ = -1;
};

/// There are no results, -1.
constexpr MarkStep NoResults() { return {}; }
/// Every step has results, 0x7FFFFFFF.
constexpr MarkStep AllResults() { return MarkStep::CreateFromInt(0x7FFFFFFF); }

/// The step that @p mark stands for in an analysis whose last step is @p lastStep: that one for all
/// results, 0 for no results.
KVI_API StepNumber ConvertToStepNumber(const MarkStep& mark, unsigned int lastStep);

/// Whether results up to @p mark satisfy a request for results up to @p available. All results
/// satisfy every request, even one for none; otherwise a request for all or none is not satisfied,
/// and no results satisfy no request.
KVI_API bool IsResultsAvailable(MarkStep mark, const MarkStep& available);

inline void MarkStep::AssignStepNumber_(unsigned int number)
{
    *this = number == 0xFFFFFFFF ? AllResults() : CreateFromInt(static_cast<int>(number));
}

inline StepNumber MarkStep::AsStepNumber() const { return {*this == AllResults() ? -1 : value_}; }

} // namespace doc::file::mark
