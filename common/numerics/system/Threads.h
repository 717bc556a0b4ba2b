/// @file
/// @internal The number of threads of a computation.
#pragma once

#include "parallel/ThreadCount.h"

namespace numerics
{

/// Threads to use where a caller asks for @p wanted, 0 meaning all; at least one.
inline int ThreadCount(int wanted) { return static_cast<int>(parallel::LoopThreads(wanted)); }

/// Calls f() where its parallel loops run on at most ThreadCount(wanted) threads.
template <class F>
void OnThreads(int wanted, F f)
{
    const parallel::ThreadLimit limit(wanted);
    f();
}

} // namespace numerics
