// The solvers where the system gives no thread, or a stack that is small: the tests of the contract
// run again as a process with that limit.
#include "RunChild.h"

#include <grp.h>
#include <system_error>
#include <thread>

#include <sys/resource.h>
#include <unistd.h>

namespace
{

/// Takes the threads away from a process that is started with KVI_TEST_THREADS=0.
class NoThreads : public testing::Environment
{
    void SetUp() override
    {
        if (std::getenv("KVI_TEST_THREADS") == nullptr)
            return;
        constexpr rlimit kNone{0, 0};
        constexpr int kFreshUser = 61234; // the limit does not hold for root
        ASSERT_EQ(::setrlimit(RLIMIT_NPROC, &kNone), 0);
        if (::geteuid() == 0)
        {
            ASSERT_EQ(::setgroups(0, nullptr), 0);
            ASSERT_EQ(::setresgid(kFreshUser, kFreshUser, kFreshUser), 0);
            ASSERT_EQ(::setresuid(kFreshUser, kFreshUser, kFreshUser), 0);
        }
        ASSERT_THROW(std::thread([] {}).join(), std::system_error);
    }
};
[[maybe_unused]] testing::Environment* const kEnvironment =
    testing::AddGlobalTestEnvironment(new NoThreads);

void RunContract(const std::string& limit)
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the sanitizers need threads and stack of their own";
#endif
    for (const char* solver : {"own", "vendor"})
        EXPECT_TRUE(child::Run("", "", 0, limit + "KVI_SOLVER=" + solver + ' ',
                               "'--gtest_filter=SolverContract.*:ISysEqnImpl*' 2>/dev/null"))
            << solver;
}

TEST(SolverLimits, WithoutThreadsTheAnswersAreTheSame) { RunContract("KVI_TEST_THREADS=0 "); }

TEST(SolverLimits, AStackOf64KiBIsEnough) { RunContract("ulimit -s 64; "); }

} // namespace
