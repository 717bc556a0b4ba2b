/// @file
/// @internal Vectors without initialisation, for large data that is then written.
#pragma once

#include "platform/platform_memory.h"

#include <cstddef>
#include <limits>
#include <new>
#include <utility>
#include <vector>

namespace numerics
{

/// Allocates large arrays, and leaves default-inserted entries uninitialised.
template <class T>
struct RawAllocator
{
    using value_type = T;

    RawAllocator() = default;
    template <class U>
    RawAllocator(const RawAllocator<U>&) noexcept // NOLINT(google-explicit-constructor): a copy
    {
    }
    T* allocate(std::size_t count)
    {
        if (count > std::numeric_limits<std::size_t>::max() / sizeof(T))
            throw std::bad_alloc();
        void* const memory = platform::AllocateArray(count * sizeof(T));
        if (memory == nullptr)
            throw std::bad_alloc();
        return static_cast<T*>(memory);
    }
    void deallocate(T* memory, std::size_t) noexcept { platform::FreeArray(memory); }
    bool operator==(const RawAllocator&) const { return true; }
    template <class U, class... Arguments>
    void construct(U* at, Arguments&&... arguments)
    {
        if constexpr (sizeof...(Arguments) == 0)
            ::new (static_cast<void*>(at)) U;
        else
            ::new (static_cast<void*>(at)) U(std::forward<Arguments>(arguments)...);
    }
};

/// A vector that resize() does not clear.
template <class T>
using RawVector = std::vector<T, RawAllocator<T>>;

/// Makes @p v hold at least @p size entries. Growing loses the values, so that they need not be in
/// memory twice.
template <class T>
void Reserve(RawVector<T>& v, std::size_t size)
{
    if (v.size() >= size)
        return;
    v = RawVector<T>();
    v.resize(size);
}

} // namespace numerics
