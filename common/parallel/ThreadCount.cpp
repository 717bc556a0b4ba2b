#include "parallel/ThreadCount.h"

#include "platform/platform_env.h"
#include "platform/platform_thread.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <limits>
#include <optional>

namespace parallel
{
namespace
{

std::atomic<unsigned> fixedThreads{kDynamicThreads};
thread_local unsigned limit = 0; // of the loops; 0 for none

/// The number at the beginning of @p text, as atoi reads it, but never beyond the largest.
unsigned LeadingNumber(const std::wstring& text)
{
    std::uint64_t number = 0;
    for (std::size_t i = text.find_first_not_of(L" \t+"); i < text.size(); ++i)
    {
        if (text[i] < L'0' || text[i] > L'9')
            break;
        number = std::min<std::uint64_t>(number * 10 + static_cast<unsigned>(text[i] - L'0'),
                                         std::numeric_limits<int>::max());
    }
    return static_cast<unsigned>(number);
}

/// The value computed first. Not a local static: a fork while another thread computes it would
/// leave its guard locked in the child.
unsigned FoundOnce(std::atomic<unsigned>& found, unsigned (*find)())
{
    unsigned value = found.load(std::memory_order_relaxed);
    if (value == 0)
    {
        const unsigned now = find();
        value = found.compare_exchange_strong(value, now) ? now : value;
    }
    return value;
}

} // namespace

unsigned ProcessorCount()
{
    static constinit std::atomic<unsigned> found{0};
    return FoundOnce(found, &platform::ProcessorCount);
}

unsigned LocalThreads()
{
    static constinit std::atomic<unsigned> found{0};
    return FoundOnce(found, [] {
        const std::optional<std::wstring> asked = platform::Environment(L"OMP_NUM_THREADS");
        return std::max(1u, asked ? LeadingNumber(*asked) : ProcessorCount());
    });
}

void SetFixedThreads(unsigned threads) { fixedThreads.store(threads, std::memory_order_relaxed); }

unsigned JobThreads()
{
    const unsigned fixed = fixedThreads.load(std::memory_order_relaxed);
    return std::max(1u, fixed == kDynamicThreads ? LocalThreads() : fixed);
}

unsigned LoopThreads(int most)
{
    unsigned threads = LocalThreads() > 1 ? JobThreads() : 1;
    if (limit != 0)
        threads = std::min(threads, limit);
    return most > 0 ? std::min(threads, static_cast<unsigned>(most)) : threads;
}

ThreadLimit::ThreadLimit(int most) : before_(limit)
{
    if (most > 0)
        limit = before_ == 0 ? static_cast<unsigned>(most)
                             : std::min(before_, static_cast<unsigned>(most));
}

ThreadLimit::~ThreadLimit() { limit = before_; }

unsigned ThreadLimit::Current() { return limit; }

} // namespace parallel
