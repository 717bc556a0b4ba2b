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

/// One such object. Whoever holds a share may use it; the last share closes it.
struct Waitable;
using WaitHandle = std::shared_ptr<Waitable>;

/// The makers give null on failure; LastErrorNumber tells why. No child program inherits anything.
WaitHandle MakeEvent(bool manualReset);
/// A counter that a wait takes one from, and waits for while it is 0.
/// @param count  what it starts with, and the most it takes
WaitHandle MakeSemaphore(std::int32_t count);
/// The semaphore that every process of this user knows as @p name. It lives as long as somebody
/// holds it; whoever makes it sets the count, which later ones leave as it is.
/// Linux: at most 500000 (the system's limit for a pipe).
WaitHandle MakeNamedSemaphore(const std::wstring& name, std::int32_t count);
/// Signalled once the process with number @p id has ended; at once when there is none.
WaitHandle OpenProcessEnd(int id);
/// Somebody else's handle (Linux: a file descriptor, signalled when it can be read), not closed.
WaitHandle BorrowHandle(std::intptr_t systemHandle);
/// The HANDLE of Windows; elsewhere the descriptor, or -1 for what has none.
std::intptr_t SystemHandle(const Waitable& object);

/// @{
/// Of events. A manual-reset event releases everyone who waits, even when it is cleared at once;
/// an auto-reset event releases one and is clear again.
bool SetSignal(Waitable& event);
bool ClearSignal(Waitable& event);
/// @}
/// Gives @p count back to a semaphore.
/// @returns false, and nothing is given, beyond what it takes
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

/// Does nothing for a time.
void SleepFor(std::uint32_t milliseconds);

} // namespace platform
