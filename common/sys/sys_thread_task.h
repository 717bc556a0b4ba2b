/// @file
/// The task pool: jobs over ranges of numbers, and their thread counts.
#pragma once

#include "foundation/kvi_export.h"

#include <cstdint>
#include <memory>

namespace sys::thread::task
{

/// The numbers first, first + step, first + 2 step ... up to last, which is inclusive.
struct Range
{
    unsigned first = 0; ///< where it begins
    unsigned last = 0;  ///< the last one that may be in it
    unsigned step = 1;  ///< 0 counts as 1
};

/// Numbers about ranges.
namespace range
{
/// last - first + 1, whatever the step; 0 when first is above last. Up to 2^32.
KVI_API std::uint64_t TotalRuns(const Range& range);
/// Whether first is not above last, and TotalRuns not below the step.
KVI_API bool IsValid(const Range& range);
} // namespace range

/// Restarts the pool after a Finalize. The first loop or job does so as well.
KVI_API void Initialize();
/// Ends every thread of the pool after its current work, and waits for those of deleted workers;
/// then the library may be unloaded, once no worker runs. Loops and jobs then run in their callers
/// alone. Not to be called by a task.
KVI_API void Finalize();

/// How many threads the pool uses.
namespace pool
{
/// Processors that this process may use: those of its affinity mask, at most its container's quota.
KVI_API unsigned TotalSystemWorkers();
/// The number in the environment variable OMP_NUM_THREADS (other text counts as 0), without it
/// TotalSystemWorkers; at least 1. Found once.
KVI_API unsigned LocalThreads();
/// Jobs and loops begun from now on use @p workers threads, at least 1.
KVI_API void SetFixedWorkers(unsigned workers);
/// They use LocalThreads threads, as at first.
KVI_API void SetDynamicWorkers();
/// How many jobs and loops begun now would use.
KVI_API unsigned Workers();
/// @{
/// Does nothing; kept for programs that call it.
KVI_API void SetLocalThreads(unsigned threads);
/// Does nothing.
KVI_API void BookkeepLocalThreads();
/// Does nothing.
KVI_API void Rebalance();
/// @}
} // namespace pool

/// What a job does.
class KVI_API ITask
{
public:
    virtual ~ITask();
    /// Processes the numbers of @p part, which has the job's step. Several parts run at once, each
    /// number is in one of them.
    virtual void Run(const Range& part) = 0;
};

/// Shared ownership of a task.
using TaskHandle = std::shared_ptr<ITask>;

namespace impl
{
struct Job;
}

/// Jobs: a task and a range, done by several threads of the pool. The functions for one job are for
/// one thread at a time; Wait is for any.
///
/// The task of one job may wait for another job: a job that RunAsync began and that no thread is
/// free for, while none begins another, gets a thread beyond the pool's size, after 50 ms the first
/// and after at most 400 ms each further one. Finalize gives none: let such jobs end first.
namespace job
{

/// Shared ownership of a job.
using Handle = std::shared_ptr<impl::Job>;

/// @param workers  the most threads at once; 0 for pool::Workers()
KVI_API Handle Create(TaskHandle task, const Range& range, unsigned workers);
/// For the next Run; not while the job runs.
KVI_API void SetRange(const Handle& job, const Range& range);
/// Runs the job with the caller taking part, and returns when it is done. An empty range is done at
/// once. Exceptions of the task propagate from here, as a std::runtime_error where the task ended a
/// thread of the pool (pthread_exit); parts not yet begun are then skipped.
KVI_API void Run(const Handle& job);
/// Starts the job in the pool and returns. If the pool has no thread, Wait runs it.
KVI_API void RunAsync(const Handle& job);
/// Takes part in what RunAsync began, where the job may have one more thread, and returns when it
/// is done; throws as Run does. At once for a job that was not begun.
KVI_API void Wait(const Handle& job);
/// Releases the handle; a running job continues.
KVI_API void Release(Handle& job);

} // namespace job

/// Creates, runs and releases a job.
KVI_API void Run(TaskHandle task, const Range& range, unsigned workers);

} // namespace sys::thread::task
