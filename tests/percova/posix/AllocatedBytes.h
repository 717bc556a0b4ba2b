/// @file
/// How much memory a piece of code takes from operator new, which a program that includes this
/// (in one source alone) replaces by one that counts.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <malloc.h>
#include <new>

namespace percova
{

class AllocatedBytes
{
public:
    AllocatedBytes() : before_(live_), totalBefore_(total_) { peak_ = live_.load(); }

    /// The most at one time above what there was at the beginning.
    double Peak() const { return double(peak_ - before_); }
    /// All that was allocated since then, also what was freed again.
    double Total() const { return double(total_ - totalBefore_); }

    static void* Allocate(std::size_t size)
    {
        void* const memory = std::malloc(std::max<std::size_t>(size, 1));
        if (memory == nullptr)
            throw std::bad_alloc();
        const auto bytes = static_cast<std::ptrdiff_t>(::malloc_usable_size(memory));
        total_ += bytes;
        const std::ptrdiff_t now = live_ += bytes;
        for (std::ptrdiff_t peak = peak_; peak < now && !peak_.compare_exchange_weak(peak, now);)
            ;
        return memory;
    }
    static void Free(void* memory)
    {
        live_ -= static_cast<std::ptrdiff_t>(::malloc_usable_size(memory));
        std::free(memory);
    }

private:
    static inline std::atomic<std::ptrdiff_t> live_{0}, peak_{0}, total_{0};
    std::ptrdiff_t before_, totalBefore_;
};

} // namespace percova

void* operator new(std::size_t size) { return percova::AllocatedBytes::Allocate(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept
try
{
    return percova::AllocatedBytes::Allocate(size);
}
catch (const std::bad_alloc&)
{
    return nullptr;
}
void operator delete(void* memory) noexcept { percova::AllocatedBytes::Free(memory); }
void operator delete(void* memory, std::size_t) noexcept { percova::AllocatedBytes::Free(memory); }
