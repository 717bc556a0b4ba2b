#include "sys/sys_thread_CallOnce.h"

namespace sys::thread
{
namespace
{
constexpr int kNotDone = 0, kRunning = 1, kDone = 2;
} // namespace

void CallOnce(OnceFlag& flag, const std::function<void()>& function)
{
    const auto finish = [&](int state) {
        flag.state_.store(state, std::memory_order_release);
        flag.state_.notify_all();
    };
    for (int state = kNotDone; !flag.state_.compare_exchange_weak(state, kRunning);
         state = kNotDone)
    {
        if (state == kDone)
            return;
        flag.state_.wait(kRunning, std::memory_order_acquire);
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
