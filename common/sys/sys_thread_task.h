/// @file
/// The task pool: jobs over ranges of numbers, and how many threads work at them.
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

/// Takes the pool into use again after a Finalize. The first loop or job takes it into use as well.
KVI_API void Initialize();
/// Ends every thread of the pool, after what it is doing, and waits for those of workers that have
/// been deleted; then the library may be unloaded, once no worker runs. Loops and jobs go on, in
/// their callers alone. Not to be called by a task.
KVI_API void Finalize();

/// How many threads the pool uses.
namespace pool
{
/// Processors that this process may use: those it is bound to, no more than its container's share.
KVI_API unsigned TotalSystemWorkers();
/// The number in the environment variable OMP_NUM_THREADS (something else there is 0), without it
/// TotalSystemWorkers; at least 1. Found once.
KVI_API unsigned LocalThreads();
/// Jobs and loops begun from now on use @p workers threads, at least 1.
KVI_API void SetFixedWorkers(unsigned workers);
/// They use LocalThreads threads, as at first.
KVI_API void SetDynamicWorkers();
/// How many jobs and loops begun now would use.
KVI_API unsigned Workers();
/// @{
/// Does nothing; stands here for programs that call it.
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
    /// Does the numbers of @p part, which has the job's step. Several parts run at once, each
    /// number is in one of them.
    virtual void Run(const Range& part) = 0;
};

/// A share of a task; the last one deletes it.
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

/// A share of a job.
using Handle = std::shared_ptr<impl::Job>;

/// @param workers  the most threads at once; 0 for pool::Workers()
KVI_API Handle Create(TaskHandle task, const Range& range, unsigned workers);
/// For the next Run; not while the job runs.
KVI_API void SetRange(const Handle& job, const Range& range);
/// Does the job, the caller taking part, and returns when it is done. A range without numbers is
/// done at once. What the task throws comes out here; the parts not yet begun are left out then.
KVI_API void Run(const Handle& job);
/// Begins the job in the pool, and returns. Where the pool has no thread, Wait does it.
KVI_API void RunAsync(const Handle& job);
/// Takes part in what RunAsync began, where the job may have one more thread, and returns when it
/// is done; throws as Run does. At once for a job that was not begun.
KVI_API void Wait(const Handle& job);
/// Gives the share up; a job that is running goes on.
KVI_API void Release(Handle& job);

} // namespace job

/// Creates, runs and releases a job.
KVI_API void Run(TaskHandle task, const Range& range, unsigned workers);

} // namespace sys::thread::task
