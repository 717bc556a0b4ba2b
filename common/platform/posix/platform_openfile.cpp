#include "platform/platform_openfile.h"

#include <unistd.h>

namespace platform
{

bool OpenFile::Close()
{
    const std::intptr_t number = std::exchange(number_, kNone);
    return number == kNone || ::close(static_cast<int>(number)) == 0;
}

} // namespace platform
