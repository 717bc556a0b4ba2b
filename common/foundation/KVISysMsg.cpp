#include "foundation/KVISysMsg.h"

#include "foundation/gtl_status.h"
#include "platform/platform_error.h"

std::wstring KVISysMsg(unsigned long number)
{
    if (auto text = platform::SystemText(number))
        return *std::move(text);
    const std::string digits = std::to_string(number);
    return gtl::status(27505, std::wstring(digits.begin(), digits.end())).as_wstring();
}
