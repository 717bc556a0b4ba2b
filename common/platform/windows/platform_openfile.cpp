#include "platform/platform_openfile.h"

#include "platform/windows/FileHandle.h"

namespace platform
{

bool OpenFile::Close()
{
    const HANDLE handle = windows::HandleOf(*this);
    number_ = kNone;
    return handle == INVALID_HANDLE_VALUE || ::CloseHandle(handle);
}

} // namespace platform
