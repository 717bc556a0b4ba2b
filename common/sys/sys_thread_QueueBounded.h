/// @file
/// A bounded queue of byte items: many writers, one reader.
#pragma once

#include "foundation/kvi_export.h"

#include <cstddef>
#include <memory>

namespace sys::thread
{

/// Hands byte items from several writer threads to one reader thread.
///
/// Every writer owns a ring, so writers never contend; items keep their order within a writer, and
/// the reader takes from the writers in turn. A ring of capacity C holds C - 1 items: the free slot
/// distinguishes a full ring from an empty one. A side that has to wait spins, then yields (some
/// hundred microseconds in all, and not on an oversubscribed machine), then sleeps until the other
/// side wakes it. A writer that found its ring full continues when half of it is free; if the
/// reader stops before that, it uses any free slot after about a millisecond.
///
/// Threads: one thread at a time per writer number, one reader; IsEmpty and IsFull are for any
/// thread. Add writers before either side starts, and destroy the queue after both have left it.
/// @code
/// QueueBounded steps(64, sizeof(Step), 2);    // writers 0 and 1
/// steps.Push(0, &step, sizeof step);          // on writer 0's thread
/// steps.Pop(&step, sizeof step);              // on the reader's thread
/// @endcode
class KVI_API QueueBounded
{
public:
    /// No writers yet.
    QueueBounded();
    /// @param capacity  slots per writer, at least 2
    /// @param itemSize  bytes set aside per slot; a larger item enlarges its slot
    /// @param writers   how many
    QueueBounded(unsigned capacity, unsigned itemSize, unsigned writers);
    ~QueueBounded();
    QueueBounded(const QueueBounded&) = delete;
    QueueBounded& operator=(const QueueBounded&) = delete;

    /// @returns the new writer's number, counted from 0
    unsigned AddWriter(unsigned capacity, unsigned itemSize);
    /// Copies @p size bytes in; waits without limit while that writer's ring is full.
    void Push(unsigned writer, const void* data, std::size_t size);
    /// Copies the next item out, of its slot up to @p size bytes; waits while every ring is empty.
    /// A queue without writers returns at once without an item, which is logged.
    void Pop(void* out, std::size_t size);
    bool IsEmpty() const;               ///< whether Pop would wait at this moment
    bool IsFull(unsigned writer) const; ///< whether that writer's Push would

private:
    struct Rings;
    std::unique_ptr<Rings> rings_; // also makes the queue uncopyable
};

} // namespace sys::thread
