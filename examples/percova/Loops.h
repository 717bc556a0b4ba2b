#pragma once
/// @file
/// The parallel loops of the analysis.

#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>

#include <cfenv>
#include <cstddef>

namespace percova
{
/// Calls body(begin, end) for pieces of first..last-1 of about `grain`, on all threads.
///
/// Every piece computes in the arithmetic of the calling thread: Windows starts threads with
/// shorter x87 registers than MinGW's main, and MinGW's exp and pow compute in those, so the last
/// bit would depend on who evaluates an element.
template <typename Body>
void ForPieces(std::size_t first, std::size_t last, std::size_t grain, const Body& body)
{
    std::fenv_t arithmetic;
    std::fegetenv(&arithmetic);
    tbb::parallel_for(tbb::blocked_range(first, last, grain), [&](const auto& piece) {
        std::fesetenv(&arithmetic);
        body(piece.begin(), piece.end());
    });
}
} // namespace percova
