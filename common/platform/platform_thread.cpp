#include "platform/platform_thread.h"

#include <vector>

namespace platform
{

unsigned StartableThreads(unsigned wanted)
{
    std::vector<std::shared_ptr<Thread>> threads;
    while (threads.size() < wanted)
    {
        auto thread = Thread::Start([](void*) {}, nullptr, 0);
        if (thread == nullptr)
            break;
        threads.push_back(std::move(thread));
    }
    for (const auto& thread : threads)
    {
        thread->Resume();
        thread->Join();
    }
    return static_cast<unsigned>(threads.size());
}

} // namespace platform
