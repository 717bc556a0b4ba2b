#include "sys/sys_thread_Handle.h"

#include "platform/platform_wait.h"

namespace sys::thread
{

Handle Handle::Borrow(std::intptr_t systemHandle)
{
    return Handle(platform::BorrowHandle(systemHandle));
}

std::intptr_t Handle::SystemHandle() const
{
    return object_ ? platform::SystemHandle(*object_) : -1;
}

} // namespace sys::thread
