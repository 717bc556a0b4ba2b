#include "sys/sys_thread_task.h"

#include "platform/platform_env.h"
#include "platform/platform_thread.h"
#include "sys/thread/Crew.h"
#include "sys/thread/RangeIndex.h"

#include <algorithm>
#include <atomic>
#include <limits>
#include <optional>
#include <utility>

namespace sys::thread::task
{
namespace range
{

std::uint64_t TotalRuns(const Range& range)
{
    return range.first > range.last ? 0 : std::uint64_t{range.last} - range.first + 1;
}

bool IsValid(const Range& range)
{
    return range.first <= range.last && TotalRuns(range) >= range.step;
}

} // namespace range

void Initialize() { thread::impl::Crew::Instance().Begin(); }

void Finalize() { thread::impl::Crew::Instance().Finish(); }

namespace pool
{
namespace
{

constexpr unsigned kDynamic = 0xffffffff;
std::atomic<unsigned> fixedWorkers{kDynamic};

/// The number at the beginning of @p text, as atoi reads it, but never beyond the largest.
unsigned LeadingNumber(const std::wstring& text)
{
    std::uint64_t number = 0;
    for (std::size_t i = text.find_first_not_of(L" \t+"); i < text.size(); ++i)
    {
        if (text[i] < L'0' || text[i] > L'9')
            break;
        number = std::min<std::uint64_t>(number * 10 + static_cast<unsigned>(text[i] - L'0'),
                                         std::numeric_limits<int>::max());
    }
    return static_cast<unsigned>(number);
}

} // namespace

unsigned TotalSystemWorkers()
{
    static const unsigned count = platform::ProcessorCount();
    return count;
}

unsigned LocalThreads()
{
    static const unsigned threads = [] {
        const std::optional<std::wstring> asked = platform::Environment(L"OMP_NUM_THREADS");
        return std::max(1u, asked ? LeadingNumber(*asked) : TotalSystemWorkers());
    }();
    return threads;
}

void SetFixedWorkers(unsigned workers) { fixedWorkers.store(workers, std::memory_order_relaxed); }

void SetDynamicWorkers() { SetFixedWorkers(kDynamic); }

unsigned Workers()
{
    const unsigned fixed = fixedWorkers.load(std::memory_order_relaxed);
    return std::max(1u, fixed == kDynamic ? LocalThreads() : fixed);
}

void SetLocalThreads(unsigned) {}
void BookkeepLocalThreads() {}
void Rebalance() {}

} // namespace pool

ITask::~ITask() = default;

namespace impl
{

struct Job
{
    TaskHandle task;
    Range range;
    unsigned workers;
    std::shared_ptr<thread::impl::Work> begun; // by RunAsync
};

namespace
{

/// What one run of a job needs; it outlives the job's handle.
struct JobRun : thread::impl::Work
{
    explicit JobRun(const Job& job)
        : Work(&JobRun::RunPart, this, thread::impl::CountOf(job.range),
               job.workers == 0 ? pool::Workers() : job.workers, 1),
          task(job.task), range(job.range)
    {
    }

    static void RunPart(void* run, std::uint64_t begin, std::uint64_t end)
    {
        const auto* const self = static_cast<const JobRun*>(run);
        self->task->Run({thread::impl::NumberAt(self->range, begin),
                         thread::impl::NumberAt(self->range, end - 1), self->range.step});
    }

    TaskHandle task;
    Range range;
};

} // namespace
} // namespace impl

namespace job
{

Handle Create(TaskHandle task, const Range& range, unsigned workers)
{
    return std::make_shared<impl::Job>(impl::Job{std::move(task), range, workers, nullptr});
}

void SetRange(const Handle& job, const Range& range) { job->range = range; }

void Run(const Handle& job)
{
    if (job->task != nullptr)
        impl::JobRun(*job).Run();
}

void RunAsync(const Handle& job)
{
    if (job->task == nullptr)
        return;
    job->begun = std::make_shared<impl::JobRun>(*job);
    job->begun->Start(job->begun);
}

void Wait(const Handle& job)
{
    if (const auto begun = job->begun)
        begun->Wait();
}

void Release(Handle& job) { job.reset(); }

} // namespace job

void Run(TaskHandle task, const Range& range, unsigned workers)
{
    job::Handle created = job::Create(std::move(task), range, workers);
    job::Run(created);
    job::Release(created);
}

} // namespace sys::thread::task
