/// @file
/// @internal How many threads a computation runs on.
#pragma once

#include <tbb/task_arena.h>

#include <algorithm>

namespace numerics
{

/// Threads to use where a caller asks for @p wanted, 0 meaning all; never more than processors and
/// at least one (a system that hides its processors is told as having none).
inline int ThreadCount(int wanted)
{
    const int most = std::max(1, tbb::this_task_arena::max_concurrency());
    return wanted > 0 ? std::min(wanted, most) : most;
}

/// Calls f() where its parallel loops run on ThreadCount(wanted) threads.
template <class F>
void OnThreads(int wanted, F f)
{
    if (wanted <= 0)
        return f();
    tbb::task_arena arena(ThreadCount(wanted));
    arena.execute(f);
}

} // namespace numerics
