// Threads that end, and forked processes without them.
#include "parallel/For.h"
#include "parallel/TaskGroup.h"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <set>
#include <stdexcept>
#include <thread>

#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace parallel;
using namespace std::chrono_literals;

namespace
{

struct ForkTest : testing::Test
{
    ForkTest() { SetFixedThreads(4); }
    ~ForkTest() override
    {
        SetFixedThreads(kDynamicThreads);
        ThreadPool::Instance().Finish(); // joins threads that passes have ended
        ThreadPool::Instance().Start();
    }
};

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif

/// How many threads take part in a loop whose passes wait for each other, up to @p wanted.
std::size_t ThreadsOfALoop(std::size_t wanted = 4)
{
    std::mutex lock;
    std::condition_variable joined;
    std::set<std::thread::id> seen;
    const auto limit = std::chrono::steady_clock::now() + 5s;
    ForEach(16, [&](std::size_t) {
        std::unique_lock guard(lock);
        seen.insert(std::this_thread::get_id());
        joined.notify_all();
        joined.wait_until(guard, limit, [&] { return seen.size() >= wanted; });
    });
    return seen.size();
}

/// Forks and returns what @p child returns as the exit code there; -1 after ten seconds.
template <class F>
int InChild(F child)
{
    const pid_t process = ::fork();
    if (process == 0)
    {
        ::alarm(10);
        ::_exit(child());
    }
    int status = 0;
    ::waitpid(process, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST_F(ForkTest, AChildHasAPoolOfItsOwnWhateverItsParentDoes)
{
    if (kSanitized)
        GTEST_SKIP() << "the locks of the sanitizer's run time may be held at a fork";
    std::vector<std::jthread> callers; // their locks are held at some of the forks
    for (int i = 0; i < 2; ++i)
        callers.emplace_back([](const std::stop_token& over) {
            while (!over.stop_requested())
                ForEach(300, [](std::size_t) { (void)std::chrono::steady_clock::now(); });
        });
    for (int round = 0; round < 40; ++round)
        ASSERT_EQ(InChild([] {
                      TaskGroup group;
                      std::atomic<int> ran{0};
                      group.Run([&] { group.Run([&] { ++ran; }); });
                      group.Wait();
                      return ran == 1 ? int(ThreadsOfALoop()) : 0;
                  }),
                  4)
            << round;
}

TEST_F(ForkTest, AChildBornInsideALoopLosesItsOtherPasses)
{
    if (kSanitized)
        GTEST_SKIP() << "the locks of the sanitizer's run time may be held at a fork";
    std::atomic<int> thrown{0};
    ForEach(4, [&](std::size_t) {
        std::this_thread::sleep_for(5ms); // all four are at work
        thrown += InChild([] { return int(ThreadsOfALoop()); }) == 4 ? 1 : 0;
        std::this_thread::sleep_for(50ms);
    });
    EXPECT_EQ(thrown, 4);
    const pid_t parent = ::getpid();
    pid_t process = 0;
    try
    {
        const auto caller = std::this_thread::get_id();
        std::atomic<bool> isHelped{false}, isForked{false};
        ForEach(4, [&](std::size_t) {
            if (std::this_thread::get_id() != caller)
                isHelped = true;
            while (std::this_thread::get_id() == caller ? !isHelped : !isForked)
                std::this_thread::sleep_for(1ms);
            if (std::this_thread::get_id() == caller && !isForked)
                process = ::fork(); // another thread is inside a pass
            if (::getpid() != parent)
                ::alarm(10);
            isForked = true;
        });
        if (::getpid() != parent)
            ::_exit(1);
    }
    catch (const std::runtime_error&)
    {
        if (::getpid() != parent)
            ::_exit(7);
        throw;
    }
    int status = 0;
    ::waitpid(process, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 7) << status;
}

TEST_F(ForkTest, APassMayEndItsThread)
{
    for (int round = 0; round < 20; ++round)
    {
        const auto caller = std::this_thread::get_id();
        const auto endAThread = [&] {
            ForEach(16, [&](std::size_t) {
                std::this_thread::sleep_for(1ms);
                if (std::this_thread::get_id() != caller)
                    ::pthread_exit(nullptr);
            });
        };
        EXPECT_THROW(endAThread(), std::runtime_error);
        pthread_t thread{};
        const auto body = [](void*) -> void* {
            ForEach(200'000, [own = std::this_thread::get_id()](std::size_t) {
                if (std::this_thread::get_id() == own)
                    ::pthread_exit(nullptr);
            });
            return nullptr;
        };
        ASSERT_EQ(::pthread_create(&thread, nullptr, body, nullptr), 0);
        ::pthread_join(thread, nullptr);
        TaskGroup group;
        group.Run([&] { EXPECT_GE(ThreadsOfALoop(3), 3u); });
        group.Wait();
    }
}

} // namespace
