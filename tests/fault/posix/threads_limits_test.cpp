// Threads and waitable objects when system resources are exhausted or names are occupied.

#include "RunChild.h"
#include "support/ForkedChild.h"
#include "sys/SharedResource.h"
#include "sys/sys_file_folder.h"
#include "sys/sys_thread_ExclusiveAccess.h"
#include "sys/sys_thread_ParallelFor.h"
#include "sys/sys_thread_Semaphore.h"
#include "sys/sys_thread_Signal.h"
#include "sys/sys_thread_Worker.h"

#include <atomic>
#include <memory>
#include <sched.h>
#include <string>
#include <vector>

#include <sys/mount.h>
#include <sys/resource.h>
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
    EXPECT_FALSE(late.TryLock());
    late.Lock(); // reported
    EXPECT_EQ(late.Depth(), 0);
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
    ASSERT_TRUE(lock.Create(L"kvi limits").ok());
    EXPECT_TRUE(lock.TryLock()) << "nothing is left of the failure";
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
    ASSERT_TRUE(late.Create(L"kvi limits too").ok()) << "all mutexes share one descriptor";
    EXPECT_TRUE(late.TryLock());
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &usual), 0);
    late.Unlock();
    lock.Unlock();
    ASSERT_EQ(::write(pipe[1], "!", 1), 1);
    EXPECT_EQ(watch(), Worker::firstHandle);
}

TEST(LimitsChild, DISABLED_HasNoThreadLeft)
{
    support::BecomeOrdinary();
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

TEST(ThreadFailures, ForWantOfDescriptorsAreReportedAndLeaveNothing)
{
    if (kSanitized)
        GTEST_SKIP() << "the sanitizer takes descriptors for its own checks";
    EXPECT_TRUE(child::Run("LimitsChild", "HasNoDescriptorLeft"));
}

TEST(ThreadFailures, ForWantOfThreadsAreReportedAndLeaveNothing)
{
    EXPECT_TRUE(child::Run("LimitsChild", "HasNoThreadLeft"));
}

/// Runs @p check with @p folder as /tmp.
template <class Check>
void ExpectWithTemporary(const fs::path& folder, Check check)
{
    const int result = support::InChild([&] {
        if (::unshare(CLONE_NEWNS) != 0 ||
            ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            ::mount(folder.c_str(), "/tmp", nullptr, MS_BIND, nullptr) != 0)
            ::_exit(77);
        check();
        return !testing::Test::HasFailure();
    });
    if (result == 77)
        GTEST_SKIP() << "only root may give a process another /tmp";
    EXPECT_EQ(result, 0);
}

TEST_F(ThreadLimits, NamesLeadNowhereElse)
{
    const std::wstring names[] = {L"",     L".",         L"..",  L"../../out",
                                  L"/abs", L"a\\..\\..", L"a\n", std::wstring(100'000, L'n')};
    ExpectWithTemporary(folder, [&] {
        const fs::path runtime = "/tmp/kvi-" + std::to_string(::geteuid());
        {
            std::vector<Semaphore> all;
            for (const std::wstring& name : names)
            {
                all.emplace_back(name, 1);
                EXPECT_TRUE(all.back().Acquire(0)) << "a semaphore of its own";
            }
            EXPECT_EQ(Count(runtime), std::ssize(names));
        }
        EXPECT_EQ(Count(runtime), 0);
        EXPECT_EQ(Count("/tmp"), 1) << "the folder alone";
        sys_test::Write(runtime / "semaphore-file", "somebody else's");
        fs::create_symlink("/tmp/out", runtime / "semaphore-link");
        fs::create_symlink("/tmp/out", runtime / "locks");
        fs::create_directory(runtime / "semaphore-folder");
        for (const std::wstring name : {L"file", L"link", L"folder"})
            EXPECT_FALSE(Semaphore(name, 1).SharedHandle());
        impl::SystemExclusiveAccess lock;
        EXPECT_FALSE(lock.Create(L"kvi limits").ok());
        EXPECT_EQ(sys_test::Read(runtime / "semaphore-file"), "somebody else's");
        EXPECT_FALSE(fs::exists("/tmp/out"));
    });
}

/// Another user who creates the user's folder first, or links it elsewhere, makes the names
/// unusable: an error, and no thread continues without the lock.
TEST_F(ThreadLimits, AFolderOfNamesThatAnotherUserHasIsRefused)
{
    ExpectWithTemporary(folder, [&] {
        const fs::path runtime = "/tmp/kvi-" + std::to_string(::geteuid());
        for (const int way : {0, 1, 2})
        {
            fs::remove_all(runtime);
            fs::create_directory("/tmp/elsewhere");
            if (way == 0)
                fs::create_directory_symlink("/tmp/elsewhere", runtime);
            else
                fs::create_directory(runtime);
            if (way == 1)
                EXPECT_EQ(::chown(runtime.c_str(), 4711, 4711), 0);
            EXPECT_EQ(::chmod(runtime.c_str(), way == 2 ? 0750 : 0700), 0);
            impl::SystemExclusiveAccess lock;
            const gtl::status refused = lock.Create(L"kvi limits");
            ASSERT_FALSE(refused.ok());
            EXPECT_EQ(refused.details()->argument(1), L"CreateMutex");
            EXPECT_FALSE(Semaphore(L"kvi limits", 1).SharedHandle());
            SharedResource resource;
            EXPECT_FALSE(SharedResource::Open(L"kvi limits", &resource, 0).ok());
            EXPECT_FALSE(SharedResource::GetExclusiveAccess(L"kvi limits", true));
            EXPECT_EQ(Count("/tmp/elsewhere"), 0);
        }
    });
}

/// A cleaner of temporary files takes the file of the locks away.
TEST_F(ThreadLimits, AMutexWhoseFileIsRemovedIsTakenInTheNewOne)
{
    ExpectWithTemporary(folder, [&] {
        impl::SystemExclusiveAccess lock;
        ASSERT_TRUE(lock.Create(L"kvi limits").ok());
        fs::remove_all("/tmp/kvi-" + std::to_string(::geteuid()));
        lock.Lock();
        EXPECT_EQ(support::InChild([&] {
                      impl::SystemExclusiveAccess same;
                      return same.Open(L"kvi limits").ok() && !same.TryLock();
                  }),
                  0);
        lock.Unlock();
    });
}

} // namespace
