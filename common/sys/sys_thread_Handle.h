/// @file
/// Shared ownership of a system object that threads wait for.
#pragma once

#include "foundation/kvi_export.h"

#include <cstdint>
#include <memory>

namespace platform
{
struct Waitable;
}

namespace sys::thread
{

/// No time limit, for arguments in milliseconds; the value of Windows.
inline constexpr unsigned long kInfinite = 0xffffffff;

/// Shares an event, a semaphore or another object of the system with whoever made it; the last
/// share closes it. Empty when the object could not be made.
class KVI_API Handle
{
public:
    Handle() = default;
    /// A share of @p object; empty without one.
    explicit Handle(std::shared_ptr<platform::Waitable> object) : object_(std::move(object)) {}
    /// A handle owned by the caller: a HANDLE of Windows, or a file descriptor, which counts as
    /// signalled while it can be read. It is not closed here.
    static Handle Borrow(std::intptr_t systemHandle);

    explicit operator bool() const { return object_ != nullptr; } ///< whether it is not empty
    /// The HANDLE on Windows. Elsewhere the file descriptor; -1 for an event or an unnamed
    /// semaphore, which have none.
    std::intptr_t SystemHandle() const;

    /// For the library's own waits.
    const std::shared_ptr<platform::Waitable>& Object() const { return object_; }

private:
    std::shared_ptr<platform::Waitable> object_;
};

} // namespace sys::thread
