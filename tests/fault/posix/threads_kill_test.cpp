// Processes that are killed at any instant while they share a mutex and a semaphore.

#include "RunChild.h"
#include "support/Numbers.h"
#include "sys/sys_thread_ExclusiveAccess.h"
#include "sys/sys_thread_Semaphore.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace sys::thread;
using namespace std::chrono_literals;

namespace
{

const std::wstring kName = child::Name(L"kvi fault killed");
constexpr unsigned kCounts = 1 << 14;

/// Data shared by the processes.
struct Board
{
    std::atomic<int> started;
    std::atomic<pid_t> owner; ///< of the mutex, as its owner notes it; 0 for none
    std::atomic<pid_t> victim;
    std::atomic<int> intruders; ///< who found another owner there
    std::atomic<int> taken;     ///< how often it was locked
};

/// @param fresh  whether to begin with an empty one
Board& TheBoard(bool fresh)
{
    std::filesystem::create_directories(KVI_TEST_TEMP);
    const int file = ::open(KVI_TEST_TEMP "/threads_kill_board",
                            O_RDWR | O_CREAT | O_CLOEXEC | (fresh ? O_TRUNC : 0), 0600);
    if (file < 0 || ::ftruncate(file, sizeof(Board)) != 0)
        std::abort();
    void* const board = ::mmap(nullptr, sizeof(Board), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    ::close(file);
    return *static_cast<Board*>(board);
}

/// A process that acquires and releases endlessly.
class Taker
{
public:
    Taker() : pid_(::fork())
    {
        if (pid_ != 0)
            return;
        ::execl("/proc/self/exe", "test_fault", "--gtest_also_run_disabled_tests",
                "--gtest_filter=KillChild.DISABLED_TakesAndGives", "--gtest_brief=1", nullptr);
        ::_exit(127);
    }
    ~Taker()
    {
        ::kill(pid_, SIGKILL);
        ::waitpid(pid_, nullptr, 0);
    }
    Taker(const Taker&) = delete;
    Taker& operator=(const Taker&) = delete;
    pid_t Pid() const { return pid_; }

private:
    pid_t pid_;
};

TEST(KillChild, DISABLED_TakesAndGives)
{
    Board& board = TheBoard(false);
    impl::SystemExclusiveAccess lock;
    Semaphore semaphore(kName, 1);
    ASSERT_TRUE(lock.Create(kName).ok());
    ++board.started;
    for (;;)
    {
        lock.Lock();
        ++board.taken;
        const pid_t before = board.owner.exchange(::getpid());
        if (before != 0 && before != board.victim)
            ++board.intruders;
        if (semaphore.Acquire(0))
            semaphore.Release();
        board.owner = 0;
        lock.Unlock();
    }
}

TEST(NamedMutex, PassesOnFromWhoeverIsKilled)
{
    const int kills = support::Rounds("KVI_TEST_KILLS", 20);
    Board& board = TheBoard(true);
    impl::SystemExclusiveAccess lock;
    ASSERT_TRUE(lock.Create(kName).ok());
    auto semaphore = std::make_unique<Semaphore>(kName, kCounts);
    std::mt19937 random(11);
    int owners = 0;
    std::vector<int> overtaken;
    {
        std::vector<std::unique_ptr<Taker>> takers(3);
        for (int kill = 0; kill < kills; ++kill)
        {
            for (auto& taker : takers)
                if (!taker)
                    taker = std::make_unique<Taker>();
            const auto limit = std::chrono::steady_clock::now() + 30s;
            while (board.started < 3 + kill && std::chrono::steady_clock::now() < limit)
                std::this_thread::sleep_for(100us);
            ASSERT_EQ(board.started, 3 + kill);
            std::this_thread::sleep_for(std::chrono::microseconds(random() % 2000));
            auto& victim = takers[random() % takers.size()];
            const pid_t pid = victim->Pid();
            board.victim = pid;
            victim.reset();
            const auto start = std::chrono::steady_clock::now();
            const int taken = board.taken;
            lock.Lock();
            overtaken.push_back(board.taken - taken);
            EXPECT_LT(std::chrono::steady_clock::now() - start, 5s) << "kill " << kill;
            const pid_t owner = board.owner.exchange(0);
            EXPECT_TRUE(owner == 0 || owner == pid) << owner << " is inside";
            owners += owner == pid ? 1 : 0;
            lock.Unlock();
        }
        lock.Lock(); // the last ones end with nobody inside: they are no victims
        takers.clear();
        lock.Unlock();
    }
    EXPECT_EQ(board.intruders, 0);
    std::sort(overtaken.begin(), overtaken.end());
    EXPECT_LE(overtaken[overtaken.size() / 2], 20)
        << "who comes back waits for who was there first";
    RecordProperty("killed as owners and first seen by the parent", owners);
    // A count held by a process that died is lost, all others are available.
    int granted = 0;
    while (semaphore->Acquire(0))
        ++granted;
    EXPECT_LE(granted, int(kCounts));
    EXPECT_GE(granted, int(kCounts) - kills - 3);
    semaphore.reset();
    Semaphore fresh(kName, 1);
    EXPECT_TRUE(fresh.Acquire(0));
    EXPECT_FALSE(fresh.Acquire(0)) << "stale counts";
}

} // namespace
