#include "platform/platform_thread.h"

#include "platform/platform_logfile.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <fstream>
#include <new>
#include <sched.h>
#include <string>

#include <pthread.h>
#include <unistd.h>

namespace platform
{
namespace
{

class PosixThread : public Thread, public std::enable_shared_from_this<PosixThread>
{
public:
    PosixThread(Entry entry, void* argument) : entry_(entry), argument_(argument) {}
    ~PosixThread() override
    {
        if (started_ && !joined_)
            ::pthread_detach(thread_);
    }

    bool Create(unsigned stackSize)
    {
        pthread_attr_t attributes;
        ::pthread_attr_init(&attributes);
        const auto least = static_cast<std::size_t>(std::max(::sysconf(_SC_THREAD_STACK_MIN), 0L));
        const auto page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
        const std::size_t wanted = std::max<std::size_t>(stackSize, least);
        if (stackSize != 0)
            ::pthread_attr_setstacksize(&attributes, (wanted + page - 1) / page * page);
        self_ = shared_from_this(); // the thread's own reference
        const int error = ::pthread_create(&thread_, &attributes, &PosixThread::Run, this);
        ::pthread_attr_destroy(&attributes);
        started_ = error == 0;
        if (!started_)
            self_.reset();
        errno = error;
        return started_;
    }

    void Resume() override
    {
        resumed_.store(true, std::memory_order_release);
        resumed_.notify_one();
    }
    unsigned long Number() override
    {
        number_.wait(0, std::memory_order_acquire); // set in the thread's first instructions
        return number_.load(std::memory_order_relaxed);
    }
    bool IsActive() override { return !ended_.load(std::memory_order_acquire); }
    void Join() override
    {
        joined_ = true;
        ::pthread_join(thread_, nullptr);
    }

private:
    static void* Run(void* object)
    {
        auto* const self = static_cast<PosixThread*>(object);
        self->number_.store(ThreadNumber(), std::memory_order_release);
        self->number_.notify_all();
        self->resumed_.wait(false, std::memory_order_acquire);
        const std::shared_ptr<PosixThread> share = std::move(self->self_);
        share->entry_(share->argument_);
        share->ended_.store(true, std::memory_order_release);
        return nullptr;
    }

    const Entry entry_;
    void* const argument_;
    pthread_t thread_{};
    bool started_ = false, joined_ = false;
    std::shared_ptr<PosixThread> self_;
    std::atomic<unsigned long> number_{0};
    std::atomic<bool> resumed_{false}, ended_{false};
};

/// The processors allowed by a container's quota; 0 without one.
unsigned QuotaIn(const std::string& folder)
{
    // Version 2: "max 100000" or "150000 100000" microseconds; version 1 has a file for each.
    double quota = 0, period = 0;
    if (std::ifstream both(folder + "/cpu.max"); both)
        both >> quota >> period;
    else
    {
        std::ifstream(folder + "/cpu.cfs_quota_us") >> quota;
        std::ifstream(folder + "/cpu.cfs_period_us") >> period;
    }
    return quota > 0 && period > 0 ? static_cast<unsigned>((quota + period - 1) / period) : 0;
}

unsigned Quota()
{
    unsigned least = 0;
    const auto consider = [&](const std::string& folder) {
        const unsigned quota = QuotaIn(folder);
        if (quota != 0 && (least == 0 || quota < least))
            least = quota;
    };
    consider("/sys/fs/cgroup");
    consider("/sys/fs/cgroup/cpu");
    // Lines such as "0::/user.slice/a" and "4:cpu,cpuacct:/b"; every level may set a limit.
    std::ifstream groups("/proc/self/cgroup");
    for (std::string line; std::getline(groups, line);)
    {
        const std::size_t path = line.find('/');
        const std::string head = line.substr(0, std::min(path, line.size()));
        const bool processors =
            head.find(":cpu") != std::string::npos || head.find(",cpu") != std::string::npos;
        if (path == std::string::npos || (!head.starts_with("0::") && !processors))
            continue;
        const std::string root = head.starts_with("0::") ? "/sys/fs/cgroup" : "/sys/fs/cgroup/cpu";
        for (std::string group = line.substr(path); group.size() > 1;
             group.resize(group.rfind('/')))
            consider(root + group);
    }
    return least;
}

} // namespace

std::shared_ptr<Thread> Thread::Start(Entry entry, void* argument, unsigned stackSize)
{
    auto thread = std::make_shared<PosixThread>(entry, argument);
    return thread->Create(stackSize) ? thread : nullptr;
}

unsigned ProcessorCount()
{
    // More processors than a cpu_set_t holds count as all of them.
    cpu_set_t bound;
    const long all = std::max(::sysconf(_SC_NPROCESSORS_ONLN), 1L);
    const auto usable = ::sched_getaffinity(0, sizeof bound, &bound) == 0
                            ? static_cast<unsigned>(CPU_COUNT(&bound))
                            : static_cast<unsigned>(all);
    unsigned quota = 0;
    try
    {
        quota = Quota();
    }
    catch (const std::bad_alloc&) // a pool's thread asks too, which nothing may be thrown out of
    {
    }
    return std::max(1u, quota == 0 ? usable : std::min(quota, usable));
}

} // namespace platform
