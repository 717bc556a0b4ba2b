/// @file
/// Long-lived threads that are addressed by a number.
#pragma once

#include "foundation/kvi_export.h"
#include "sys/sys_thread_Handle.h"

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace platform
{
class Thread;
}

namespace sys::thread
{

/// A thread with a body, Run, that others can wake and ask to end.
///
/// A started worker belongs to its thread, which deletes it when Run returns. Others keep only its
/// handle; with the handle of a worker that has ended every call does nothing. The destructor runs
/// under the lock of the registry of workers, which its thread may take again: it may call the
/// functions here, but must not wait for another worker.
///
/// Threads: the static functions are for any thread, Sleep is for the worker's own body. An
/// exception out of Run ends the worker and goes to the log.
/// @code
/// class Poller : public sys::thread::Worker
/// {
///     void Run() override
///     {
///         while (Sleep(500) != exitRequested)
///             Poll();
///     }
/// };
/// const auto poller = Worker::RunInstance(new Poller, 0);
/// Worker::NotifyExit(poller);
/// Worker::Join(poller, sys::thread::kInfinite);
/// @endcode
class KVI_API Worker
{
public:
    /// The number of a worker; -1 for none.
    class Handle
    {
    public:
        Handle() = default;
        explicit Handle(int value) : value_(value) {} ///< the worker of that number
        int Value() const { return value_; }          ///< the number
        bool IsValid() const { return value_ != -1; } ///< whether it is not -1
        /// Whether both are of one worker.
        friend bool operator==(Handle a, Handle b) { return a.value_ == b.value_; }

    private:
        int value_ = -1;
    };

    /// Why Sleep returned. From firstHandle on: the number of the extra handle, counted from it.
    enum WakeupType : int
    {
        failed = 0,
        woken = 1,
        exitRequested = 2,
        timeOut = 3,
        firstHandle = 4
    };

    virtual ~Worker();
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    /// Starts a thread that runs @p worker and then deletes it.
    /// @param stackSize  in bytes; 0 for the system's usual one
    /// @returns its handle, even if it has already ended; -1 when no thread could be started, and
    /// @p worker stays with the caller
    static Handle RunInstance(Worker* worker, unsigned stackSize);
    /// Starts a thread that calls @p body.
    static Handle RunInstance(std::function<void()> body, unsigned stackSize);

    /// Makes the worker's Sleep return, now or next time.
    static void NotifyWake(Handle handle);
    /// Makes every Sleep of the worker return from now on.
    static void NotifyExit(Handle handle);
    /// Whether the worker's thread runs.
    static bool IsRunning(Handle handle);
    /// Waits until the worker has been deleted; not when it is the calling thread's own.
    /// @returns whether there is nothing left to wait for; false on timeout or when waiting was
    /// impossible
    static bool Join(Handle handle, unsigned long ms);
    /// Waits for all of them, any number, no longer than @p ms altogether.
    static bool Join(const std::vector<Handle>& handles, unsigned long ms);

    /// The handle that RunInstance gave.
    Handle InstanceHandle() const { return Handle(value_); }
    /// The thread's number in the system; 0 before the start.
    unsigned long ID() const;
    /// Waits until the threads of workers that have been deleted run no code of the library any
    /// more. task::Finalize does it.
    static void JoinEnded();

protected:
    Worker();
    /// What the worker does, on its thread.
    virtual void Run() = 0;

    /// Waits up to @p ms milliseconds: for a request to exit, before a wake, before the extra
    /// handles in their order. A wake is consumed by the Sleep that reports it, an exit never.
    WakeupType Sleep(unsigned long ms);
    /// Lets Sleep wait for @p handle too; at most 62 of them.
    void AddWaitHandle(thread::Handle handle);

private:
    struct Registry;
    struct End;
    static Registry& TheRegistry();
    static void ThreadFunc(void* object);
    static std::optional<thread::Handle> JoinEvent(Handle handle);

    int value_ = -1;
    std::shared_ptr<platform::Thread> thread_;
    thread::Handle wake_, exit_;
    std::vector<thread::Handle> joining_; // set by the destructor
    std::vector<thread::Handle> extra_;
};

/// Starts a worker that calls @p onExit once the process with number @p processId has ended (at
/// once when there is none); NotifyExit makes it stop watching.
/// @returns -1 when the process may not be watched
KVI_API Worker::Handle MonitorProcess(int processId, std::function<void()> onExit);

} // namespace sys::thread
