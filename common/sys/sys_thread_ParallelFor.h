/// @file
/// Loops whose iterations run on several threads.
#pragma once

#include "foundation/kvi_export.h"
#include "sys/sys_thread_task.h"

#include <cstddef>
#include <functional>

namespace sys::thread::task
{

/// Calls @p body once with every number of @p range, on up to pool::Workers() threads, the calling
/// one among them; on that one alone when pool::LocalThreads() is 1.
///
/// A loop that ends within a few microseconds never leaves its thread. Loops nest, and may run with
/// locks held. Every iteration computes in the floating-point environment of the calling thread.
/// When one throws, no further ones are begun (those in progress on other threads finish) and the
/// exception propagates from here. An iteration that ends its thread (pthread_exit) on a thread of
/// the pool counts as one that threw a std::runtime_error.
/// @returns whether every call returned true; a false result stops nothing
KVI_API bool ParallelFor(const Range& range, const std::function<bool(unsigned)>& body);

namespace impl
{
/// ParallelForPieces with its body as a function and an object.
KVI_API void RunPieces(std::size_t first, std::size_t last, std::size_t grain,
                       void (*body)(const void*, std::size_t, std::size_t), const void* object);
} // namespace impl

/// Calls body(begin, end) for pieces of first ... last - 1, none smaller than @p grain but the
/// last. As ParallelFor otherwise, but without a call for every number.
/// @code
/// ParallelForPieces(0, elements, 16, [&](std::size_t begin, std::size_t end) {
///     for (std::size_t e = begin; e < end; ++e)
///         Assemble(e);
/// });
/// @endcode
template <class Body>
void ParallelForPieces(std::size_t first, std::size_t last, std::size_t grain, const Body& body)
{
    impl::RunPieces(
        first, last, grain,
        [](const void* object, std::size_t begin, std::size_t end) {
            (*static_cast<const Body*>(object))(begin, end);
        },
        &body);
}

} // namespace sys::thread::task
