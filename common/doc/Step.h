/// @file
/// The steps of an analysis.
#pragma once

#include "foundation/kvi_export.h"

#include <compare>
#include <cstdint>
#include <string>

/// The number of one step, as for indexing.
struct StepNumber
{
    std::int32_t value = -1; ///< from 0; -1: there is no such step

    /// Order of the values.
    friend constexpr auto operator<=>(const StepNumber&, const StepNumber&) = default;
};

/// A step of an analysis or of a document's data file: one step by its number, or a word such as
/// "the last step" (see kvi::step). The numbers are stored in documents.
class KVI_API Step
{
public:
    /// The unset step, 0x7FFFFFFF.
    constexpr Step() = default;
    /// The step that is stored as @p value, reserved values included.
    static constexpr Step CreateFromInt(int value)
    {
        Step step;
        step.value_ = value;
        return step;
    }
    /// Becomes step @p number; 0xFFFFFFFF gives the unset step.
    inline void AssignStepNumber_(unsigned int number);

    /// The number of the step; 0 for both initial steps; none for all, last, unset and for values
    /// that no step has.
    inline StepNumber AsStepNumber() const;
    constexpr std::int32_t raw_int() const { return value_; } ///< as it is stored

    /// Order of the stored values.
    friend constexpr auto operator<=>(const Step&, const Step&) = default;

private:
    std::int32_t value_ = 0x7FFFFFFF;
};

/// The reserved steps, and steps as text.
namespace kvi::step
{

/// The step before the first one, 0.
constexpr Step Init() { return Step::CreateFromInt(0); }
/// The last step, whatever its number, 0x7FFFFFFE.
constexpr Step Last() { return Step::CreateFromInt(0x7FFFFFFE); }
/// Every step, -2.
constexpr Step All() { return Step::CreateFromInt(-2); }

namespace deprecated
{
/// The initial step as older documents have it, -1.
constexpr Step Init() { return Step::CreateFromInt(-1); }
} // namespace deprecated

/// Whether @p step is unset, all, last or one of the initial steps.
constexpr bool IsSpecialStep(const Step& step)
{
    return step == Step() || step == All() || step == Last() || step == Init() ||
           step == deprecated::Init();
}

/// @p step in the application's language: "step 3 (time 12.5)". The time follows a blank, with 8
/// digits in the user's locale; it is omitted for a missing value and for a step without a number.
/// Values that no step has are written as the unset step.
KVI_API std::wstring PrettyPrint(const Step& step, double time);

} // namespace kvi::step

inline void Step::AssignStepNumber_(unsigned int number)
{
    *this = number == 0xFFFFFFFF ? Step() : CreateFromInt(static_cast<int>(number));
}

inline StepNumber Step::AsStepNumber() const
{
    if (*this == kvi::step::deprecated::Init())
        return {0};
    return {value_ >= 0 && *this != Step() && *this != kvi::step::Last() ? value_ : -1};
}
