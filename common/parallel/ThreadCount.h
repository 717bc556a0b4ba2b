/// @file
/// How many threads loops and jobs use.
#pragma once

namespace parallel
{

/// Processors that this process may use: those of its affinity mask, at most its container's quota.
unsigned ProcessorCount();
/// The number in the environment variable OMP_NUM_THREADS (text that is no number counts as 0),
/// without it ProcessorCount; at least 1. Read once.
unsigned LocalThreads();

/// SetFixedThreads of this value returns to LocalThreads threads.
inline constexpr unsigned kDynamicThreads = 0xffffffff;
/// Loops and jobs begun from now on use @p threads threads; 0 counts as 1.
void SetFixedThreads(unsigned threads);
/// The threads of a job begun now: the fixed number, without one LocalThreads.
unsigned JobThreads();

/// The threads of a loop begun now for a caller that asks for at most @p most; 0 or less means all.
/// JobThreads or the thread's ThreadLimit, but 1 where LocalThreads is 1.
unsigned LoopThreads(int most = 0);

/// For its lifetime, the loops begun in the calling thread, and in others by functions that these
/// loops call, use at most so many threads.
class ThreadLimit
{
public:
    /// @param most  0 or less leaves the limit as it is
    explicit ThreadLimit(int most);
    ~ThreadLimit();
    ThreadLimit(const ThreadLimit&) = delete;
    ThreadLimit& operator=(const ThreadLimit&) = delete;

    /// The calling thread's; 0 for none.
    static unsigned Current();

private:
    const unsigned before_;
};

} // namespace parallel
