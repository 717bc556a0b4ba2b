/// @file
/// Files with range locks held by this process.
#pragma once

#include "platform/posix/Descriptor.h"

#include <atomic>
#include <cstdint>
#include <mutex>
#include <utility>
#include <vector>

#include <sys/types.h>

namespace platform::posix
{

/// Guards the state shared by this process's named objects. Held across a fork; never held while
/// waiting for another process.
std::mutex& NamedObjectsLock();

/// How many forks lie between this process and the one that loaded the library: data about threads
/// is invalid when the number has changed.
unsigned ForkGeneration();

/// An open file with locks of its open file description: the kernel releases them when the process
/// ends in any way.
///
/// A forked child shares the description at first. Before its other code runs it gets its own under
/// the same number, with the shared locks and without the exclusive ones: it holds none of its
/// parent's locks, and the parent's Unlock really unlocks.
///
/// Threads: any, except for construction and destruction.
class LockFile
{
public:
    explicit LockFile(Descriptor file);
    ~LockFile();
    LockFile(const LockFile&) = delete;
    LockFile& operator=(const LockFile&) = delete;

    int Number() const { return file_.Number(); }
    /// Whether the file has lost its name, so that other processes cannot find it.
    bool IsRemoved() const;

    /// Locks @p length bytes at @p start exclusively for this process; threads of one process do
    /// not exclude each other. @returns false with errno; without waiting, EAGAIN when others hold
    /// it
    bool Lock(off_t start, off_t length, bool wait) const;
    /// Releases an exclusive or shared lock.
    bool Unlock(off_t start, off_t length) const;
    /// Locks the range together with other processes that do the same.
    bool Share(off_t start, off_t length);
    /// Releases the lock of Share.
    void Unshare(off_t start, off_t length);
    /// Length of the range that another process has locked from @p start on, at most @p length (0:
    /// without limit); 0 for none. @returns false with errno
    bool FindOther(off_t start, off_t length, off_t& found) const;

    /// One thread of this process at a time, for a lock that all of them share.
    void EnterThread();
    void LeaveThread();

    /// In a forked child: makes the file its own.
    void Renew();
    /// The next of all lock files of this process.
    LockFile* Next() const { return next_; }

private:
    Descriptor file_;
    LockFile* next_ = nullptr;
    std::vector<std::pair<off_t, off_t>> shared_;
    std::atomic<std::uint32_t> threads_{0}; // 0: free, 1: one is inside, 2: others wait
};

} // namespace platform::posix
