// Threads and what they wait for where the system has nothing left to give, or something in the
// way.

#include "RunChild.h"
#include "fault/posix/tests_fault_posix.h"
#include "sys/sys_thread_ExclusiveAccess.h"
#include "sys/sys_thread_ParallelFor.h"
#include "sys/sys_thread_Semaphore.h"
#include "sys/sys_thread_Signal.h"
#include "sys/sys_thread_Worker.h"

#include <atomic>
#include <cstddef>
#include <cstring>
#include <memory>
#include <string>

#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

using namespace sys::thread;
using sys_test::Count;
using ThreadLimits = sys_test::FolderTest;

namespace
{

bool LoopsAreWhole()
{
    std::atomic<int> calls{0};
    task::pool::SetFixedWorkers(4);
    task::ParallelFor({0, 99'999}, [&](unsigned) { return ++calls > 0; });
    return calls == 100'000;
}

/// Sleeps for a descriptor.
class Watcher : public Worker
{
public:
    Watcher(std::intptr_t descriptor, std::atomic<int>& reason) : reason_(reason)
    {
        AddWaitHandle(Handle(sys::thread::Handle::Borrow(descriptor)));
    }

private:
    using Handle = sys::thread::Handle;
    void Run() override { reason_ = Sleep(20'000); }
    std::atomic<int>& reason_;
};

TEST(LimitsChild, DISABLED_HasNoDescriptorLeft)
{
    impl::SystemExclusiveAccess lock, late;
    ASSERT_TRUE(lock.Create(L"kvi limits").ok());
    int pipe[2];
    ASSERT_EQ(::pipe(pipe), 0);
    std::atomic<int> reason{-1};
    const auto watch = [&] {
        const auto watcher = Worker::RunInstance(new Watcher(pipe[0], reason), 0);
        return Worker::Join(watcher, kInfinite) ? reason.load() : -1;
    };
    rlimit usual{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &usual), 0);
    const rlimit none{3, usual.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);

    const gtl::status refused = late.Create(L"kvi limits too");
    ASSERT_FALSE(refused.ok());
    EXPECT_EQ(refused.details()->argument(1), L"CreateMutex");
    EXPECT_FALSE(lock.TryLock());
    lock.Lock(); // reported
    EXPECT_EQ(lock.Depth(), 0);
    Semaphore named(L"kvi limits", 1);
    EXPECT_FALSE(named.SharedHandle());
    EXPECT_FALSE(named.Acquire(0));
    EXPECT_FALSE(MonitorProcess(::getpid(), [] {}).IsValid());
    EXPECT_EQ(watch(), Worker::failed);
    // What lives in memory needs none.
    Signal signal(Signal::autoReset);
    EXPECT_TRUE(Worker::Join(Worker::RunInstance([&] { signal.Set(); }, 0), kInfinite));
    EXPECT_TRUE(signal.Wait(0));
    EXPECT_TRUE(LoopsAreWhole());

    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &usual), 0);
    EXPECT_TRUE(lock.TryLock()) << "nothing is left of the failure";
    lock.Unlock();
    ASSERT_EQ(::write(pipe[1], "!", 1), 1);
    EXPECT_EQ(watch(), Worker::firstHandle);
}

TEST(LimitsChild, DISABLED_HasNoThreadLeft)
{
    fault_test::BecomeOrdinary();
    rlimit usual{};
    ASSERT_EQ(::getrlimit(RLIMIT_NPROC, &usual), 0);
    const rlimit none{0, usual.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NPROC, &none), 0);
    const auto captured = std::make_shared<int>(1);
    EXPECT_FALSE(Worker::RunInstance([captured] {}, 0).IsValid());
    EXPECT_EQ(captured.use_count(), 1) << "the body is gone";
    EXPECT_FALSE(MonitorProcess(::getpid(), [captured] {}).IsValid());
    EXPECT_EQ(captured.use_count(), 1);
    EXPECT_TRUE(LoopsAreWhole());
    EXPECT_EQ(::setrlimit(RLIMIT_NPROC, &usual), 0);
}

#ifdef __SANITIZE_ADDRESS__
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif

TEST(ThreadFailures, ForWantOfDescriptorsAreToldAndLeaveNothing)
{
    if (kSanitized)
        GTEST_SKIP() << "the sanitizer takes descriptors for its own checks";
    EXPECT_TRUE(child::Run("LimitsChild", "HasNoDescriptorLeft"));
}

TEST(ThreadFailures, ForWantOfThreadsAreToldAndLeaveNothing)
{
    EXPECT_TRUE(child::Run("LimitsChild", "HasNoThreadLeft"));
}

TEST(LimitsChild, DISABLED_NamesSemaphores)
{
    const fs::path runtime = std::getenv("XDG_RUNTIME_DIR"); // NOLINT(concurrency-mt-unsafe)
    const std::wstring names[] = {L"",     L".",         L"..",  L"../../out",
                                  L"/abs", L"a\\..\\..", L"a\n", std::wstring(100'000, L'n')};
    {
        std::vector<Semaphore> all;
        for (const std::wstring& name : names)
        {
            all.emplace_back(name, 1);
            EXPECT_TRUE(all.back().Acquire(0)) << "a semaphore of its own";
        }
        EXPECT_EQ(Count(runtime / "kvi"), std::ssize(names));
    }
    EXPECT_EQ(Count(runtime / "kvi"), 0);
    EXPECT_EQ(Count(runtime), 1);
    sys_test::Write(runtime / "kvi" / "semaphore-file", "somebody else's");
    fs::create_symlink(runtime / "out", runtime / "kvi" / "semaphore-link");
    fs::create_directory(runtime / "kvi" / "semaphore-folder");
    for (const std::wstring name : {L"file", L"link", L"folder"})
        EXPECT_FALSE(Semaphore(name, 1).SharedHandle());
    EXPECT_EQ(sys_test::Read(runtime / "kvi" / "semaphore-file"), "somebody else's");
    EXPECT_FALSE(fs::exists(runtime / "out"));
    // A folder that leads elsewhere is not used.
    fs::remove_all(runtime / "kvi");
    fs::create_directory(runtime / "elsewhere");
    fs::create_directory_symlink(runtime / "elsewhere", runtime / "kvi");
    Semaphore moved(L"kvi limits moved", 1);
    EXPECT_TRUE(moved.SharedHandle());
    EXPECT_EQ(Count(runtime / "elsewhere"), 0);
}

TEST_F(ThreadLimits, NamesLeadNowhereElse)
{
    EXPECT_TRUE(child::Run("LimitsChild", "NamesSemaphores", 0,
                           "XDG_RUNTIME_DIR=\"" + folder.string() + "\" "));
}

TEST_F(ThreadLimits, AMutexNameThatAnotherUserHasIsRefused)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root may become another user";
    int ready[2];
    ASSERT_EQ(::pipe(ready), 0);
    const pid_t squatter = ::fork();
    if (squatter == 0)
    {
        fault_test::BecomeOrdinary();
        constexpr char kName[] = "\0kvi-0-taken";
        sockaddr_un address{AF_UNIX, {}};
        std::memcpy(address.sun_path, kName, sizeof kName - 1);
        const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
        const bool there = ::bind(socket, reinterpret_cast<const sockaddr*>(&address),
                                  offsetof(sockaddr_un, sun_path) + sizeof kName - 1) == 0 &&
                           ::listen(socket, 5) == 0 && ::write(ready[1], "!", 1) == 1;
        ::alarm(60);
        while (there)
            ::pause();
        ::_exit(1);
    }
    char ok = 0;
    EXPECT_EQ(::read(ready[0], &ok, 1), 1);
    impl::SystemExclusiveAccess lock;
    ASSERT_TRUE(lock.Create(L"taken").ok());
    lock.Lock(); // does not wait for a stranger
    EXPECT_EQ(lock.Depth(), 0);
    ::kill(squatter, SIGKILL);
    ::waitpid(squatter, nullptr, 0);
    lock.Lock();
    EXPECT_EQ(lock.Depth(), 1);
    lock.Unlock();
}

} // namespace
