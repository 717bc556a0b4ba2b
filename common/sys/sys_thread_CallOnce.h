/// @file
/// Actions performed once per process.
#pragma once

#include "foundation/kvi_export.h"

#include <atomic>
#include <cstdint>
#include <functional>

namespace sys::thread
{

/// Remembers whether something has been done. Made at compile time, so a static one is ready before
/// any thread.
class OnceFlag
{
public:
    constexpr OnceFlag() = default;
    OnceFlag(const OnceFlag&) = delete;
    OnceFlag& operator=(const OnceFlag&) = delete;

private:
    friend KVI_API void CallOnce(OnceFlag& flag, const std::function<void()>& function);

    std::atomic<std::uint32_t> state_{0};
};

/// Calls @p function unless a call with this flag has returned. Concurrent callers wait for it;
/// when it throws, the exception propagates and the next caller tries. It must not use its own
/// flag.
KVI_API void CallOnce(OnceFlag& flag, const std::function<void()>& function);

} // namespace sys::thread
