/// @file
/// Identities that a program assigns to its threads.
#pragma once

#include "foundation/kvi_export.h"

#include <atomic>
#include <type_traits>

namespace sys::thread
{

/// Numbers and flags of threads. All functions are for any thread; each thread has its own record,
/// 0 and false at first.
namespace affinity
{

/// The thread to which an object belongs.
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
/// Whether @p id is 0: CurrentId reports the primary thread as 0, whatever its own number.
KVI_API bool IsPrimaryThreadId(unsigned id);
/// Whether CurrentId is 0.
KVI_API bool IsCurrentPrimary();

/// The calling thread's number: the system's until SetCurrentId gives it another; 0 for the primary
/// thread, and for every thread while no primary one is set.
KVI_API unsigned CurrentId();
/// @returns the previous number, not mapped to 0
KVI_API unsigned SetCurrentId(unsigned id);
/// 0 where CurrentId is 0; else the thread's place (from 1) in the order in which threads first
/// asked.
KVI_API unsigned UniqueId();
/// @{
/// The number of the thread that started the calling one's work; set for tasks of the pool.
KVI_API unsigned ParentId();
/// Sets the number that ParentId returns in the calling thread.
KVI_API void SetParentId(unsigned id);
/// @}

/// Sets a flag of the calling thread and returns its previous value.
KVI_API bool SetFutureOwnership(bool on);
/// Sets a flag of the process and returns its previous value.
KVI_API bool DeclareThreadSafe(bool on);
/// Always true: the check is disabled on purpose.
KVI_API bool TestThreadSafeModify(const Affinity& affinity, unsigned id);

namespace impl
{
/// The flag that SetFutureOwnership set for the calling thread.
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
    /// @returns the previous value
    static T Exchange(T& value, T next) { return std::atomic_ref<T>(value).exchange(next); }
};

/// The same for a pointer.
struct AtomicPointerOperations
{
    /// @returns the previous value
    template <class T>
    static T* Exchange(T*& pointer, T* next)
    {
        return std::atomic_ref<T*>(pointer).exchange(next);
    }
};

} // namespace impl
} // namespace sys::thread
