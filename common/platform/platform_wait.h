/// @file
/// Objects of the system that a thread can wait for: events, semaphores, the end of a process.
#pragma once

#include "platform/platform_park.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace platform
{

/// One such object with shared ownership; the last owner closes it.
struct Waitable;
using WaitHandle = std::shared_ptr<Waitable>;

/// The factory functions return null on failure; LastErrorNumber has the reason. Child programs
/// inherit nothing.
WaitHandle MakeEvent(bool manualReset);
/// A counter that a wait decrements, blocking while it is 0.
/// @param count  the initial value and the maximum
WaitHandle MakeSemaphore(std::int32_t count);
/// The named semaphore @p name, shared by all processes of this user. It exists while any process
/// holds it; the process that creates it sets the count. Linux: at most 500000 (the system's limit
/// for a pipe).
WaitHandle MakeNamedSemaphore(const std::wstring& name, std::int32_t count);
/// Signalled once the process with number @p id has ended; at once when there is none.
WaitHandle OpenProcessEnd(int id);
/// A handle owned by the caller (Linux: a file descriptor, signalled when it can be read), not
/// closed.
WaitHandle BorrowHandle(std::intptr_t systemHandle);
/// The HANDLE of Windows; elsewhere the descriptor, or -1 for what has none.
std::intptr_t SystemHandle(const Waitable& object);

/// @{
/// Of events. A manual-reset event releases all waiting threads, even when it is cleared at once;
/// an auto-reset event releases one and clears itself.
bool SetSignal(Waitable& event);
bool ClearSignal(Waitable& event);
/// @}
/// Adds @p count to a semaphore.
/// @returns false, and changes nothing, if that exceeds its maximum
bool ReleaseCount(Waitable& semaphore, std::int32_t count);

/// Results of Wait beside the number of an object.
inline constexpr int kWaitTimeout = -1;
inline constexpr int kWaitFailed = -2;
/// The most objects that one Wait takes.
inline constexpr std::size_t kWaitLimit = 64;

/// Waits for one of @p objects.
/// @returns its number, the lowest of those that are signalled; or one of the results above
int WaitAny(const WaitHandle* objects, std::size_t count, std::uint32_t milliseconds);
/// Waits until all of @p objects, events or unnamed semaphores, are signalled at once.
/// @returns 0 or one of the results above
int WaitAll(const WaitHandle* objects, std::size_t count, std::uint32_t milliseconds);

/// Sleeps for a time.
void SleepFor(std::uint32_t milliseconds);

} // namespace platform
