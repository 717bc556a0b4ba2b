#include "sys/sys_thread_ParallelFor.h"

#include "sys/thread/Crew.h"
#include "sys/thread/RangeIndex.h"

#include <algorithm>
#include <atomic>

namespace sys::thread::task
{
namespace
{

unsigned LoopWorkers() { return pool::LocalThreads() > 1 ? pool::Workers() : 1; }

struct Loop
{
    const Range range;
    const std::function<bool(unsigned)>& body;
    std::atomic<bool> result{true};

    static void RunPiece(void* object, std::uint64_t begin, std::uint64_t end)
    {
        auto& loop = *static_cast<Loop*>(object);
        const std::function<bool(unsigned)>& body = loop.body;
        const unsigned step = std::max(loop.range.step, 1u);
        unsigned number = thread::impl::NumberAt(loop.range, begin);
        unsigned all = 1;
        // The number behind the last one may wrap, but is not used.
        for (std::uint64_t left = end - begin; left != 0; --left, number += step)
            all &= static_cast<unsigned>(body(number));
        if (all == 0)
            loop.result.store(false, std::memory_order_relaxed);
    }
};

struct Pieces
{
    std::size_t first;
    void (*body)(const void*, std::size_t, std::size_t);
    const void* object;

    static void RunPiece(void* pieces, std::uint64_t begin, std::uint64_t end)
    {
        const auto& self = *static_cast<const Pieces*>(pieces);
        self.body(self.object, self.first + static_cast<std::size_t>(begin),
                  self.first + static_cast<std::size_t>(end));
    }
};

} // namespace

bool ParallelFor(const Range& range, const std::function<bool(unsigned)>& body)
{
    Loop loop{range, body};
    thread::impl::Work(&Loop::RunPiece, &loop, thread::impl::CountOf(range), LoopWorkers(), 1)
        .Run();
    return loop.result.load(std::memory_order_relaxed);
}

void impl::RunPieces(std::size_t first, std::size_t last, std::size_t grain,
                     void (*body)(const void*, std::size_t, std::size_t), const void* object)
{
    if (first >= last)
        return;
    Pieces pieces{first, body, object};
    thread::impl::Work(&Pieces::RunPiece, &pieces, last - first, LoopWorkers(), grain).Run();
}

} // namespace sys::thread::task
