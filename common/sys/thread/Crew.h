/// @file
/// The threads that help with work.
#pragma once

#include "sys/thread/Work.h"

#include <mutex>
#include <vector>

namespace platform
{
class Thread;
}

namespace sys::thread::impl
{

/// The threads of the pool. They are made when first needed, spin for some tens of microseconds
/// after their last work, and then sleep.
class Crew
{
public:
    static Crew& Instance();

    /// Takes work again after a Finish.
    void Begin();
    /// Ends all threads, once they have done what they are at; work then gets no help.
    void Finish();

    void Open(Work& work);
    /// Gets one more thread to work for @p work, if it may have one.
    void CallHelp(Work& work);
    /// Nobody joins @p work any more; waits for those who are at it.
    void Close(Work& work);
    /// Joins @p work in the calling thread, if it may have one more; then Leave is due.
    /// @param[out] place  the thread's among those who are in
    bool Enter(Work& work, unsigned& place);
    void Leave(Work& work);

private:
    struct Member
    {
        std::shared_ptr<platform::Thread> thread;
        platform::Parking bed;
    };

    static void Run(void* member);
    void Serve(Member& member);
    Work* Join(unsigned& openings, unsigned& place);
    bool SpinForWork(unsigned openings) const;
    void Unlink(Work& work);
    static bool MayJoin(const Work& work);
    static bool Admit(Work& work, unsigned& place);

    std::mutex finishing_; // one Finish at a time
    std::mutex lock_;
    std::atomic<unsigned> openings_{0}; // grows with every Open
    std::atomic<bool> stopping_{false};
    bool finished_ = false;
    Work* first_ = nullptr;
    std::vector<std::unique_ptr<Member>> members_;
    std::vector<Member*> idle_;
};

} // namespace sys::thread::impl
