#include "doc/Step.h"

#include "foundation/MissingValue.h"
#include "foundation/gtl_status.h"
#include "foundation/str_locale.h"

namespace kvi::step
{
namespace
{
/// The application's text @p code with @p argument filled in.
std::wstring Text(unsigned code, const std::wstring& argument = {})
{
    return gtl::status(code, argument).as_wstring();
}

std::wstring NumberText(auto value)
{
    std::wstring text;
    (void)str::locale::to_string(text,
                                 value); // cannot fail: neither width nor digits are given
    return text;
}
} // namespace

std::wstring PrettyPrint(const Step& step, double time)
{
    if (step == All())
        return Text(20039);
    if (step == Last())
        return Text(20854);
    const StepNumber number = step.AsStepNumber();
    if (number.value < 0)
        return Text(21632);
    if (number.value == 0)
        return Text(21207);
    std::wstring text = Text(20856, NumberText(number.value));
    if (!IsMissingValue(time))
        text += L' ' + Text(20855, NumberText(time));
    return text;
}

} // namespace kvi::step
