#include "platform/platform_fork.h"

#include <mutex>

#include <pthread.h>

namespace platform
{
namespace
{
constexpr int kRanks = static_cast<int>(ForkRank::platform) + 1;

constinit std::mutex oneFork; // held from Before to InParent or InChild
constinit std::atomic<ForkHandler*> newest{nullptr};

template <class Call>
void ForRank(int rank, Call call)
{
    for (ForkHandler* handler = newest; handler != nullptr; handler = handler->next)
        if (static_cast<int>(handler->rank) == rank)
            call(*handler);
}

void Before()
{
    oneFork.lock();
    for (int rank = 0; rank < kRanks; ++rank)
        ForRank(rank, [](ForkHandler& handler) {
            if (handler.before != nullptr)
                handler.before();
            handler.entered = true;
        });
}

void After(void (*ForkHandler::*function)())
{
    for (int rank = kRanks; rank-- > 0;)
        ForRank(rank, [function](ForkHandler& handler) {
            if (handler.entered && handler.*function != nullptr)
                (handler.*function)();
            handler.entered = false;
        });
    oneFork.unlock();
}

void InParent() { After(&ForkHandler::inParent); }

void InChild() { After(&ForkHandler::inChild); }
} // namespace

bool AddForkHandler(ForkHandler& handler)
{
    // If this fails for want of memory, children are left with the locks as they were.
    static const int registered = ::pthread_atfork(Before, InParent, InChild);
    (void)registered;
    if (handler.added.exchange(true))
        return true;
    handler.next = newest;
    while (!newest.compare_exchange_weak(handler.next, &handler))
    {
    }
    return true;
}

} // namespace platform
