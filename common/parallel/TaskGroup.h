/// @file
/// Tasks that may add further tasks.
#pragma once

#include "parallel/ThreadPool.h"

#include <deque>
#include <exception>
#include <functional>

namespace parallel
{

/// Tasks run by several threads, each task once, in last-in-first-out order, which suits a tree
/// traversal from its leaves (a task just added is still in its processor's cache).
///
/// Threads: Run may be called from any thread while Wait has not returned, by tasks above all; Wait
/// by the thread that made the group.
/// @code
/// TaskGroup group;                       // a tree: children before their parent
/// std::function<void(int)> node = [&](int n) {
///     Eliminate(n);
///     if (--childrenLeft[parent[n]] == 0)
///         group.Run([&, n] { node(parent[n]); });
/// };
/// for (const int leaf : leaves)
///     group.Run([&, leaf] { node(leaf); });
/// group.Wait();
/// @endcode
class TaskGroup : private Work
{
public:
    /// @param threads  the most at once, the caller's in Wait among them; 0 for all. With one,
    /// every
    ///     task runs in Wait.
    explicit TaskGroup(int threads = 0);
    /// Tasks not yet begun are dropped; waits for the others.
    ~TaskGroup() override;
    TaskGroup(const TaskGroup&) = delete;
    TaskGroup& operator=(const TaskGroup&) = delete;

    /// Adds a task. Threads of the pool may begin it at once.
    void Run(std::function<void()> task);
    /// Runs tasks until all are done, those added meanwhile too. When one throws, no further ones
    /// are begun, and the exception propagates from here.
    void Wait();

private:
    bool HasMore() const override { return waiting_.load(std::memory_order_acquire) != 0; }
    bool IsWorthWaking() const override { return HasMore(); }
    void TakePart(unsigned slot) override;
    bool Next(std::function<void()>& task);
    void Fail(std::exception_ptr failure);

    const unsigned threads_;
    std::mutex lock_; // of the three below
    std::deque<std::function<void()>> tasks_;
    std::exception_ptr failure_;
    bool isOpen_ = false;
    std::atomic<std::size_t> waiting_{0}; // how many tasks_ holds
    ThreadPool::Registration registration_;
};

} // namespace parallel
