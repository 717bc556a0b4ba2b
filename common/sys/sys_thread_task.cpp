#include "sys/sys_thread_task.h"

#include "foundation/kvidbg.h"
#include "parallel/Loop.h"
#include "parallel/ThreadCount.h"
#include "sys/sys_thread_Worker.h"
#include "sys/thread/ParentScope.h"
#include "sys/thread/RangeIndex.h"

#include <exception>
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

void Initialize() { parallel::ThreadPool::Instance().Start(); }

void Finalize()
{
    parallel::ThreadPool::Instance().Finish();
    Worker::JoinEnded();
}

namespace pool
{

unsigned TotalSystemWorkers() { return parallel::ProcessorCount(); }

unsigned LocalThreads() { return parallel::LocalThreads(); }

void SetFixedWorkers(unsigned workers) { parallel::SetFixedThreads(workers); }

void SetDynamicWorkers() { parallel::SetFixedThreads(parallel::kDynamicThreads); }

unsigned Workers() { return parallel::JobThreads(); }

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
    std::shared_ptr<parallel::Loop> begun; // by RunAsync
};

namespace
{

/// What one run of a job needs; it outlives the job's handle.
struct JobRun : parallel::Loop
{
    explicit JobRun(const Job& job)
        : Loop(&JobRun::RunPart, this,
               {CountOf(job.range), job.workers == 0 ? pool::Workers() : job.workers}),
          task(job.task), range(job.range)
    {
    }
    ~JobRun() override
    {
        if (const std::exception_ptr failure = UnreportedFailure())
            LogFailure(failure);
    }
    JobRun(const JobRun&) = delete;
    JobRun& operator=(const JobRun&) = delete;

    static std::uint64_t RunPart(void* run, std::uint64_t begin, std::uint64_t end, const Yield&)
    {
        const auto* const self = static_cast<const JobRun*>(run);
        const ParentScope parent(self->origin);
        self->task->Run(
            {NumberAt(self->range, begin), NumberAt(self->range, end - 1), self->range.step});
        return end;
    }

    /// No thread waited for the job; its exception is logged.
    static void LogFailure(const std::exception_ptr& failure)
    {
        try
        {
            std::rethrow_exception(failure);
        }
        catch (const std::exception& thrown)
        {
            KVI_LOG(kvi::diag::error, 0, "a job without a waiting thread threw: %s", thrown.what());
        }
        catch (...)
        {
            KVI_LOG(kvi::diag::error, 0, "a job without a waiting thread threw an exception");
        }
    }

    TaskHandle task;
    Range range;
    Origin origin;
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
    job->begun->Begin(job->begun);
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
