#include "parallel/TaskGroup.h"

#include "parallel/ThreadCount.h"

#include <cxxabi.h>
#include <stdexcept>
#include <utility>

namespace parallel
{

TaskGroup::TaskGroup(int threads) : threads_(LoopThreads(threads)) {}

TaskGroup::~TaskGroup()
{
    {
        const std::lock_guard lock(lock_);
        tasks_.clear();
        waiting_ = 0;
    }
    registration_.Close();
}

void TaskGroup::Run(std::function<void()> task)
{
    {
        const std::lock_guard lock(lock_);
        if (failure_)
            return;
        tasks_.push_back(std::move(task));
        waiting_.fetch_add(1, std::memory_order_release);
        if (threads_ > 1 && !isOpen_)
            isOpen_ = registration_.Open(*this, threads_ - 1, nullptr);
    }
    registration_.NotifyWork();
    registration_.RequestHelper();
}

bool TaskGroup::Next(std::function<void()>& task)
{
    const std::lock_guard lock(lock_);
    if (tasks_.empty())
        return false;
    task = std::move(tasks_.back());
    tasks_.pop_back();
    waiting_.fetch_sub(1, std::memory_order_release);
    return true;
}

// A thread that ends unwinds without an exception object, which the sanitizer takes for null.
__attribute__((no_sanitize("null"))) void TaskGroup::TakePart(unsigned)
{
    std::function<void()> task;
    while (Next(task))
        try
        {
            task();
            task = nullptr;
        }
        catch (const abi::__forced_unwind&)
        {
            Fail(std::make_exception_ptr(std::runtime_error("a task ended its thread")));
            throw;
        }
        catch (...)
        {
            Fail(std::current_exception());
        }
}

void TaskGroup::Fail(std::exception_ptr failure)
{
    const std::lock_guard lock(lock_);
    if (!failure_)
        failure_ = std::move(failure);
    tasks_.clear();
    waiting_ = 0;
}

void TaskGroup::Wait()
{
    do
        TakePart(0);
    while (registration_.AwaitMore());
    if (registration_.LostWork())
        throw std::runtime_error("the process was forked inside a group of tasks");
    const std::lock_guard lock(lock_);
    if (failure_)
        std::rethrow_exception(std::exchange(failure_, nullptr));
}

} // namespace parallel
