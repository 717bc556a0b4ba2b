/// @file
/// Who the calling thread is: identities that a program gives its threads.
#pragma once

#include "foundation/kvi_export.h"

#include <atomic>
#include <type_traits>

namespace sys::thread
{

/// Numbers of threads, and notes that are kept with each. All functions are for any thread; each
/// thread has its own record, 0 and false at first.
namespace affinity
{

/// Which thread a thing belongs to.
struct Affinity
{
    unsigned id = 0; ///< the number of the thread
};

/// @{
/// The number of the process's primary thread; 0 for none.
KVI_API void SetPrimaryId(unsigned id);
/// The number set; 0 for none.
KVI_API unsigned PrimaryId();
/// @}
/// Whether @p id is 0: in numbers from CurrentId the primary thread is 0, whatever its own is.
KVI_API bool IsPrimaryThreadId(unsigned id);
/// Whether CurrentId is 0.
KVI_API bool IsCurrentPrimary();

/// The calling thread's number: the system's until SetCurrentId gives it another; 0 for the primary
/// thread, and for every thread while no primary one is set.
KVI_API unsigned CurrentId();
/// @returns the number before, not turned into 0
KVI_API unsigned SetCurrentId(unsigned id);
/// 0 where CurrentId is 0; else the thread's place (from 1) in the order in which threads first
/// asked.
KVI_API unsigned UniqueId();
/// @{
/// The number of the thread that started the calling one's work; tasks of the pool have it set.
KVI_API unsigned ParentId();
/// Sets the number that ParentId returns in the calling thread.
KVI_API void SetParentId(unsigned id);
/// @}

/// Notes on the calling thread, and returns what was noted before.
KVI_API bool SetFutureOwnership(bool on);
/// Notes on the process, and returns what was noted before.
KVI_API bool DeclareThreadSafe(bool on);
/// Always true: the check is switched off, on purpose.
KVI_API bool TestThreadSafeModify(const Affinity& affinity, unsigned id);

namespace impl
{
/// What SetFutureOwnership noted on the calling thread.
KVI_API bool FutureOwnership();
} // namespace impl

} // namespace affinity

namespace impl
{

/// Arithmetic on a variable that several threads change. Sums wrap.
template <class T>
struct AtomicData
{
    static_assert(std::is_same_v<T, int> || std::is_same_v<T, unsigned> ||
                  std::is_same_v<T, long> || std::is_same_v<T, unsigned long>);

    /// @returns the value after adding 1
    static T Increment(T& value)
    {
        using Wide = std::make_unsigned_t<T>;
        const T before = std::atomic_ref<T>(value).fetch_add(1);
        return static_cast<T>(static_cast<Wide>(before) + 1);
    }
    /// @returns the value before
    static T Exchange(T& value, T next) { return std::atomic_ref<T>(value).exchange(next); }
};

/// The same for a pointer.
struct AtomicPointerOperations
{
    /// @returns the value before
    template <class T>
    static T* Exchange(T*& pointer, T* next)
    {
        return std::atomic_ref<T*>(pointer).exchange(next);
    }
};

} // namespace impl
} // namespace sys::thread
