#include "foundation/gtl_status_exception.h"

#include "platform/platform_text.h"

#include <utility>

namespace gtl
{

status_exception::status_exception(gtl::status status)
    : status_(std::move(status)), what_(platform::Narrow(status_.as_wstring()))
{
}

status_exception::~status_exception() = default;

const char* status_exception::what() const noexcept { return what_.c_str(); }

} // namespace gtl
