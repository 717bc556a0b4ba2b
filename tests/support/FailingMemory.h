/// @file
/// Memory that ends: replaces operator new of the whole test program, in one of its sources.
#pragma once

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <new>

namespace failing_memory
{

/// Allocations until one fails; it counts only while it is positive.
inline std::atomic<long> left{0};
/// Bytes asked for so far.
inline std::atomic<long long> taken{0};

// Not inlined: the compiler would take the pairs below for mismatched ones.
[[gnu::noinline]] inline void* Allocate(std::size_t size)
{
    if (left.load(std::memory_order_relaxed) > 0 && left.fetch_sub(1) == 1)
        return nullptr;
    taken.fetch_add(static_cast<long long>(size), std::memory_order_relaxed);
    return std::malloc(size > 0 ? size : 1);
}

/// With room for the way back in front of what is handed out.
[[gnu::noinline]] inline void* AllocateAligned(std::size_t size, std::align_val_t alignment)
{
    const auto step = std::size_t(alignment);
    void* const block = Allocate(size + step + sizeof(void*));
    if (block == nullptr)
        return nullptr;
    void** const at = reinterpret_cast<void**>(
        (reinterpret_cast<std::uintptr_t>(block) + sizeof(void*) + step - 1) / step * step);
    at[-1] = block;
    return at;
}

[[gnu::noinline]] inline void Free(void* block) { std::free(block); }

[[gnu::noinline]] inline void FreeAligned(void* at)
{
    if (at != nullptr)
        std::free(static_cast<void**>(at)[-1]);
}

template <class Block>
Block OrThrow(Block block)
{
    return block != nullptr ? block : throw std::bad_alloc();
}

} // namespace failing_memory

// NOLINTBEGIN(misc-new-delete-overloads,misc-definitions-in-headers)
void* operator new(std::size_t size)
{
    return failing_memory::OrThrow(failing_memory::Allocate(size));
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    return failing_memory::Allocate(size);
}
void* operator new(std::size_t size, std::align_val_t alignment)
{
    return failing_memory::OrThrow(failing_memory::AllocateAligned(size, alignment));
}
void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept
{
    return failing_memory::AllocateAligned(size, alignment);
}
void operator delete(void* block) noexcept { failing_memory::Free(block); }
void operator delete(void* block, std::size_t) noexcept { failing_memory::Free(block); }
void operator delete(void* block, std::align_val_t) noexcept { failing_memory::FreeAligned(block); }
void operator delete(void* block, std::size_t, std::align_val_t) noexcept
{
    failing_memory::FreeAligned(block);
}
// NOLINTEND(misc-new-delete-overloads,misc-definitions-in-headers)
