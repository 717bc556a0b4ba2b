#include "doc/doc_file_mark.h"

namespace doc::file::mark
{

StepNumber ConvertToStepNumber(const MarkStep& mark, unsigned int lastStep)
{
    if (mark == AllResults())
        return {static_cast<std::int32_t>(lastStep)};
    return mark == NoResults() ? StepNumber{0} : mark.AsStepNumber();
}

bool IsResultsAvailable(MarkStep mark, const MarkStep& available)
{
    if (mark == AllResults())
        return true;
    if (available == AllResults() || mark == NoResults() || available == NoResults())
        return false;
    return mark.AsStepNumber() >= available.AsStepNumber();
}

} // namespace doc::file::mark
