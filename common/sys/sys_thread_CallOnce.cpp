#include "sys/sys_thread_CallOnce.h"

#include "platform/platform_park.h"

namespace sys::thread
{
namespace
{
constexpr std::uint32_t kNotDone = 0, kRunning = 1, kDone = 2;
} // namespace

void CallOnce(OnceFlag& flag, const std::function<void()>& function)
{
    const auto finish = [&](std::uint32_t state) {
        flag.state_.store(state, std::memory_order_release);
        platform::WakeAll(flag.state_);
    };
    for (std::uint32_t state = kNotDone; !flag.state_.compare_exchange_weak(state, kRunning);
         state = kNotDone)
    {
        if (state == kDone)
            return;
        platform::SleepOn(flag.state_, kRunning);
    }
    try
    {
        function();
    }
    catch (...)
    {
        finish(kNotDone);
        throw;
    }
    finish(kDone);
}

} // namespace sys::thread
