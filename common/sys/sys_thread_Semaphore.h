/// @file
/// Counting semaphores.
#pragma once

#include "foundation/kvi_export.h"
#include "sys/sys_thread_Handle.h"

#include <string>

namespace sys::thread
{

/// A counter that starts at its maximum; Acquire takes one and waits while there is none.
///
/// A named semaphore is one and the same for all processes of the user that have it open; the first
/// one sets the count, and it is destroyed with the last one. Counts held by a process that dies
/// are not released. Linux: a named count is at most 500000.
///
/// Failures go to the log. A semaphore that could not be created grants nothing. Threads: any.
/// Copies share the semaphore.
class KVI_API Semaphore
{
public:
    /// One for this process alone, with @p count to acquire.
    explicit Semaphore(unsigned count);
    /// The semaphore @p name, with @p count to acquire if it is not open yet.
    Semaphore(const std::wstring& name, unsigned count);

    /// @returns false when @p ms milliseconds went by, or when the wait failed
    bool Acquire(unsigned ms = kInfinite);
    /// Releases @p count. Exceeding the maximum is a failure and changes nothing.
    void Release(unsigned count = 1);

    /// Shares the semaphore; it lives as long as the handle. Empty when it could not be created.
    Handle SharedHandle() const { return handle_; }

private:
    Handle handle_;
};

} // namespace sys::thread
