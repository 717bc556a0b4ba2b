#include "sys/sys_thread_Worker.h"

#include "foundation/KviError.h"
#include "foundation/kvidbg.h"
#include "platform/platform_thread.h"
#include "platform/platform_unload.h"
#include "platform/platform_wait.h"
#include "sys/sys_thread_ExclusiveAccess.h"
#include "sys/thread/ReportFailure.h"

#include <algorithm>
#include <chrono>
#include <cxxabi.h>
#include <exception>
#include <map>
#include <mutex>
#include <utility>

namespace sys::thread
{
namespace
{

thread_local const Worker* currentWorker = nullptr;

/// The registry's lock for a std::lock_guard.
struct Lockable
{
    void lock() { access.Lock(); }
    void unlock() { access.Unlock(); }
    impl::ProcessExclusiveAccess access;
};

thread::Handle NewEvent()
{
    thread::Handle event(platform::MakeEvent(true));
    if (!event)
        ReportFailure(L"CreateEvent");
    return event;
}

void SetEvent(const thread::Handle& event)
{
    if (event)
        (void)platform::SetSignal(*event.Object()); // an event we have open can be set
}

void LogEscaped(const char* what)
{
    static const kvi::diag::DeclareCategoryMask kCategory("Thread");
    const gtl::status failure = KviError::unexpected_exception(std::string_view(what));
    KVI_LOG(kvi::diag::critical, kCategory, failure.as_wstring());
}

class FunctionWorker : public Worker
{
public:
    explicit FunctionWorker(std::function<void()> body) : body_(std::move(body)) {}

private:
    void Run() override { body_(); }

    std::function<void()> body_;
};

class ProcessMonitor : public Worker
{
public:
    ProcessMonitor(thread::Handle process, std::function<void()> onExit)
        : onExit_(std::move(onExit))
    {
        AddWaitHandle(std::move(process));
    }

private:
    void Run() override
    {
        WakeupType reason;
        do
            reason = Sleep(kInfinite);
        while (reason == woken);
        if (reason == firstHandle)
            onExit_();
    }

    std::function<void()> onExit_;
};

} // namespace

/// The running workers by number. It is never destroyed: threads may end after the statics.
struct Worker::Registry
{
    Lockable lock;
    std::map<int, Worker*> workers;
    std::shared_ptr<platform::Thread> ended; // the last one, not yet joined: it may still run code
    std::atomic<int> lastValue{0};

    Worker* Find(Handle handle) const
    {
        const auto found = workers.find(handle.Value());
        return found == workers.end() ? nullptr : found->second;
    }
};

Worker::Registry& Worker::TheRegistry()
{
    static Registry& registry = platform::UntilUnload<Registry>();
    return registry;
}

Worker::Worker() : wake_(NewEvent()), exit_(NewEvent()) {}

Worker::~Worker()
{
    for (const thread::Handle& event : joining_)
        SetEvent(event);
}

Worker::Handle Worker::RunInstance(Worker* worker, unsigned stackSize)
{
    Registry& registry = TheRegistry();
    const auto thread = platform::Thread::Start(&Worker::ThreadFunc, worker, stackSize);
    if (thread == nullptr)
    {
        ReportFailure(L"_beginthreadex");
        return Handle();
    }
    const Handle handle(registry.lastValue.fetch_add(1) + 1);
    {
        const std::lock_guard lock(registry.lock);
        worker->thread_ = thread;
        worker->value_ = handle.Value();
        registry.workers[handle.Value()] = worker;
    }
    thread->Resume(); // from here on the worker may be gone
    return handle;
}

Worker::Handle Worker::RunInstance(std::function<void()> body, unsigned stackSize)
{
    auto worker = std::make_unique<FunctionWorker>(std::move(body));
    const Handle handle = RunInstance(worker.get(), stackSize);
    if (handle.IsValid())
        (void)worker.release(); // owned by its thread now
    return handle;
}

/// The end of a thread: it joins the one that ended before it, so that one is left for JoinEnded.
struct Worker::End
{
    Worker& worker;
    ~End()
    {
        Registry& registry = TheRegistry();
        std::shared_ptr<platform::Thread> before;
        {
            const std::lock_guard lock(registry.lock);
            before = std::exchange(registry.ended, worker.thread_);
            registry.workers.erase(worker.value_);
            delete &worker;
            currentWorker = nullptr;
        }
        if (before != nullptr)
            before->Join();
    }
};

// A thread that ends unwinds without an exception object, which the sanitizer takes for null.
__attribute__((no_sanitize("null"))) void Worker::ThreadFunc(void* object)
{
    auto* const worker = static_cast<Worker*>(object);
    currentWorker = worker;
    const End end{*worker}; // also when the body ends its thread
    try
    {
        worker->Run();
    }
    catch (const abi::__forced_unwind&)
    {
        throw;
    }
    catch (const std::exception& exception)
    {
        LogEscaped(exception.what());
    }
    catch (...)
    {
        LogEscaped("");
    }
}

void Worker::JoinEnded()
{
    Registry& registry = TheRegistry();
    std::shared_ptr<platform::Thread> ended;
    {
        const std::lock_guard lock(registry.lock);
        ended.swap(registry.ended);
    }
    if (ended != nullptr)
        ended->Join();
}

void Worker::NotifyWake(Handle handle)
{
    Registry& registry = TheRegistry();
    const std::lock_guard lock(registry.lock);
    if (const Worker* worker = registry.Find(handle))
        SetEvent(worker->wake_);
}

void Worker::NotifyExit(Handle handle)
{
    Registry& registry = TheRegistry();
    const std::lock_guard lock(registry.lock);
    if (const Worker* worker = registry.Find(handle))
        SetEvent(worker->exit_);
}

bool Worker::IsRunning(Handle handle)
{
    Registry& registry = TheRegistry();
    const std::lock_guard lock(registry.lock);
    const Worker* const worker = registry.Find(handle);
    return worker != nullptr && worker->thread_->IsActive();
}

/// An event that is set when the worker is deleted, an empty one when it could not be created;
/// nothing when there is nothing to wait for. The worker shares it, so it may be set long after the
/// waiting thread has gone. An event left by one wait is reused by the next.
std::optional<thread::Handle> Worker::JoinEvent(Handle handle)
{
    Registry& registry = TheRegistry();
    const std::lock_guard lock(registry.lock);
    Worker* const worker = registry.Find(handle);
    if (worker == nullptr || worker == currentWorker)
        return std::nullopt;
    for (const thread::Handle& left : worker->joining_)
        if (left.Object().use_count() == 1) // the worker's own share
            return left;
    thread::Handle event = NewEvent();
    if (event)
        worker->joining_.push_back(event);
    return event;
}

bool Worker::Join(Handle handle, unsigned long ms) { return Join(std::vector<Handle>{handle}, ms); }

bool Worker::Join(const std::vector<Handle>& handles, unsigned long ms)
{
    using Clock = std::chrono::steady_clock;
    std::vector<std::shared_ptr<platform::Waitable>> events;
    for (const Handle handle : handles)
        if (const auto event = JoinEvent(handle))
        {
            if (!*event)
                return false;
            events.push_back(event->Object());
        }
    const auto start = Clock::now();
    // One wait handles 64 of them; the groups share the time limit.
    for (std::size_t i = 0; i < events.size(); i += platform::kWaitLimit)
    {
        const auto spent =
            std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
        const auto left = static_cast<long long>(Milliseconds(ms)) - spent;
        const std::uint32_t time =
            ms >= kInfinite ? platform::kForever : static_cast<std::uint32_t>(std::max(left, 0LL));
        const std::size_t count = std::min(platform::kWaitLimit, events.size() - i);
        if (platform::WaitAll(&events[i], count, time) < 0)
            return false;
    }
    return true;
}

unsigned long Worker::ID() const { return thread_ == nullptr ? 0 : thread_->Number(); }

Worker::WakeupType Worker::Sleep(unsigned long ms)
{
    std::vector<std::shared_ptr<platform::Waitable>> objects;
    std::vector<int> meanings;
    const auto add = [&](const thread::Handle& handle, int meaning) {
        if (!handle)
            return;
        objects.push_back(handle.Object());
        meanings.push_back(meaning);
    };
    add(exit_, exitRequested);
    add(wake_, woken);
    for (std::size_t k = 0; k < extra_.size(); ++k)
        add(extra_[k], firstHandle + static_cast<int>(k));
    if (objects.empty())
    {
        platform::SleepFor(Milliseconds(ms));
        return timeOut;
    }
    const int signalled = platform::WaitAny(objects.data(), objects.size(), Milliseconds(ms));
    if (signalled == platform::kWaitTimeout)
        return timeOut;
    if (signalled < 0)
        return failed;
    const int meaning = meanings[static_cast<std::size_t>(signalled)];
    if (meaning == woken)
        (void)platform::ClearSignal(*wake_.Object());
    return static_cast<WakeupType>(meaning);
}

void Worker::AddWaitHandle(thread::Handle handle) { extra_.push_back(std::move(handle)); }

Worker::Handle MonitorProcess(int processId, std::function<void()> onExit)
{
    thread::Handle process(platform::OpenProcessEnd(processId));
    if (!process)
    {
        ReportFailure(L"OpenProcess");
        return {};
    }
    auto monitor = std::make_unique<ProcessMonitor>(std::move(process), std::move(onExit));
    const Worker::Handle handle = Worker::RunInstance(monitor.get(), 0);
    if (handle.IsValid())
        (void)monitor.release(); // owned by its thread now
    return handle;
}

} // namespace sys::thread
