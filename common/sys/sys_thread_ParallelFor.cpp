#include "sys/sys_thread_ParallelFor.h"

#include "parallel/Loop.h"
#include "parallel/ThreadCount.h"
#include "sys/thread/ParentScope.h"
#include "sys/thread/RangeIndex.h"

#include <algorithm>
#include <atomic>

namespace sys::thread::task
{
namespace
{

struct Loop
{
    const Range range;
    const std::function<bool(unsigned)>& body;
    std::atomic<bool> result{true};
    Origin origin;

    static std::uint64_t RunPiece(void* object, std::uint64_t begin, std::uint64_t end,
                                  const parallel::Loop::Yield& yield)
    {
        auto& loop = *static_cast<Loop*>(object);
        const ParentScope parent(loop.origin);
        const std::function<bool(unsigned)>& body = loop.body;
        const unsigned step = std::max(loop.range.step, 1u);
        unsigned number = NumberAt(loop.range, begin);
        unsigned all = 1;
        while (begin != end)
        {
            const std::uint64_t count = std::min(end - begin, yield.Stride());
            // The number after the last one may wrap around, but is not used.
            for (std::uint64_t left = count; left != 0; --left, number += step)
                all &= static_cast<unsigned>(body(number));
            begin += count;
            if (yield.IsDue())
                break;
        }
        if (all == 0)
            loop.result.store(false, std::memory_order_relaxed);
        return begin;
    }
};

struct Pieces
{
    std::size_t first;
    void (*body)(const void*, std::size_t, std::size_t);
    const void* object;
    Origin origin;

    static std::uint64_t RunPiece(void* pieces, std::uint64_t begin, std::uint64_t end,
                                  const parallel::Loop::Yield&)
    {
        const auto& self = *static_cast<const Pieces*>(pieces);
        const ParentScope parent(self.origin);
        self.body(self.object, self.first + static_cast<std::size_t>(begin),
                  self.first + static_cast<std::size_t>(end));
        return end;
    }
};

} // namespace

bool ParallelFor(const Range& range, const std::function<bool(unsigned)>& body)
{
    Loop loop{range, body, true, {}};
    parallel::Loop(&Loop::RunPiece, &loop, {CountOf(range), parallel::LoopThreads(), 1, true})
        .Run();
    return loop.result.load(std::memory_order_relaxed);
}

void impl::RunPieces(std::size_t first, std::size_t last, std::size_t grain,
                     void (*body)(const void*, std::size_t, std::size_t), const void* object)
{
    if (first >= last)
        return;
    Pieces pieces{first, body, object, {}};
    parallel::Loop(&Pieces::RunPiece, &pieces, {last - first, parallel::LoopThreads(), grain})
        .Run();
}

} // namespace sys::thread::task
