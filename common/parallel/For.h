/// @file
/// Parallel loops over numbers.
#pragma once

#include "parallel/Loop.h"
#include "parallel/ThreadCount.h"

#include <cstddef>

namespace parallel
{

/// Calls body(begin, end) for pieces that make up 0 ... count - 1, none smaller than @p grain but
/// the last, on at most LoopThreads(threads) threads, the calling one among them.
///
/// Which numbers form a piece, and which thread runs it, differs from run to run: for the same
/// bits, results belong to numbers or to fixed blocks of them, not to pieces. A loop that ends
/// within a few microseconds never leaves its thread. Loops nest. When a body throws, no further
/// pieces are begun and the exception propagates from here once every thread has left.
template <class Body>
void For(std::size_t count, std::size_t grain, const Body& body, int threads = 0)
{
    const auto piece = [](void* object, std::uint64_t begin, std::uint64_t end,
                          const Loop::Yield&) {
        (*static_cast<const Body*>(object))(static_cast<std::size_t>(begin),
                                            static_cast<std::size_t>(end));
        return end;
    };
    Loop(piece, const_cast<Body*>(&body), {count, LoopThreads(threads), grain}).Run();
}

/// Calls body(i) for each i of 0 ... count - 1; the rest as For. For numbers whose costs differ:
/// idle threads steal numbers assigned to other threads.
template <class Body>
void ForEach(std::size_t count, const Body& body, int threads = 0)
{
    const auto piece = [](void* object, std::uint64_t begin, std::uint64_t end,
                          const Loop::Yield& yield) {
        const Body& call = *static_cast<const Body*>(object);
        while (begin != end)
        {
            const std::uint64_t stop = end - begin < yield.Stride() ? end : begin + yield.Stride();
            for (; begin != stop; ++begin)
                call(static_cast<std::size_t>(begin));
            if (yield.IsDue())
                break;
        }
        return begin;
    };
    Loop(piece, const_cast<Body*>(&body), {count, LoopThreads(threads), 1, true}).Run();
}

} // namespace parallel
