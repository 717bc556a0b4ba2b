#include "fault/posix/tests_fault_disturb.h"
#include "foundation/kvidbg_EventSink.h"
#include "support/ForkedChild.h"
#include "sys/sys_file_folder.h"
#include "sys/sys_reg_Registry.h"
#include "sys/sys_reg_key.h"

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <random>
#include <thread>
#include <vector>

#include <sys/resource.h>
#include <sys/stat.h>

using namespace sys::reg;
using support::InChild;
using sys_test::Count;
using sys_test::Read;
using sys_test::Write;
using Rights = REGKEY_ACCESS_RIGHTS;

namespace
{
class RegistryFaults : public fault_test::InMemory<sys_test::RegistryTest>
{
protected:
    void SetUp() override
    {
        InMemory::SetUp();
        kvi::diag::SinkFilePath(L"/dev/null");
    }
    void TearDown() override
    {
        kvi::diag::SinkFilePath(L"stderr");
        InMemory::TearDown();
    }

    fs::path StoreFile() const { return folder / "user.sqlite"; }

    /// What @p check gives for an ordinary user, who may only read here.
    template <class Check>
    bool ForAReader(Check check)
    {
        EXPECT_EQ(::chmod(StoreFile().c_str(), 0644), 0);
        EXPECT_EQ(::chmod(folder.c_str(), 0555), 0);
        const int result = InChild([&] {
            support::BecomeOrdinary();
            return check();
        });
        EXPECT_EQ(::chmod(folder.c_str(), 0755), 0);
        return result == 0;
    }

    /// Kills and fails @p work at each of its calls, beginning with a store of the bytes @p store.
    /// The value v is then the old or the new one, and the new one if the work reported success.
    template <class Work>
    void Disturb(const std::string& store, const std::wstring& before, const std::wstring& after,
                 Work work)
    {
        for (const int error : {0, EIO})
        {
            int done = 0;
            const int calls = fault_test::DisturbAtEachCall(
                error,
                [&] {
                    fs::remove_all(folder);
                    fs::create_directory(folder);
                    if (!store.empty())
                        Write(StoreFile(), store);
                },
                work,
                [&](const fault_test::Outcome& outcome) {
                    Registry32 key(path);
                    const std::wstring now = key.ReadStringW(L"v");
                    const bool ruin = store.starts_with('?');
                    EXPECT_TRUE(ruin || !fs::exists(StoreFile().native() + ".damaged-1"));
                    ASSERT_TRUE(now == after || (now == before && outcome.result != 0));
                    EXPECT_GE(outcome.result, error == 0 ? -SIGKILL : 0);
                    EXPECT_EQ(key.ReadInt(L"other", 5), 5);
                    done += now == after ? 1 : 0;
                    EXPECT_TRUE(key.WriteString(L"v", L"next").ok());
                    EXPECT_EQ(key.ReadStringW(L"v"), L"next");
                });
            if (calls == 0)
                GTEST_SKIP() << "processes may not be watched here";
            EXPECT_GT(calls, 10 / fault_test::kStep);
            EXPECT_GT(done + fault_test::kStep, 1);
            RecordProperty("calls" + std::to_string(error), calls);
        }
    }
};

const std::wstring kOld(3000, L'a'), kNew(6000, L'b');
} // namespace

TEST_F(RegistryFaults, AWriteThatIsCutShortLeavesTheOldOrTheNewValue)
{
    ASSERT_TRUE(Registry32(path).WriteString(L"v", kOld).ok());
    ASSERT_TRUE(Registry32(path).WriteInt(L"other", 5, false).ok());
    Disturb(Read(StoreFile()), kOld, kNew,
            [&] { return Registry32(path).WriteString(L"v", kNew).ok(); });
}

TEST_F(RegistryFaults, TheFirstWriteThatIsCutShortLeavesNothingOrTheValue)
{
    Disturb("", L"", kNew, [&] { return Registry32(path).WriteString(L"v", kNew).ok(); });
}

TEST_F(RegistryFaults, ADeletionThatIsCutShortLeavesTheValueOrNone)
{
    ASSERT_TRUE(Registry32(path).WriteString(L"v", kOld).ok());
    Disturb(Read(StoreFile()), kOld, L"", [&] {
        Registry32 key(path); // of a key that is not open nothing is deleted, which is no failure
        return key.GetAccessRights() == Rights::read_write && key.DeleteValue(L"v").ok();
    });
}

TEST_F(RegistryFaults, SettingAsideThatIsCutShortIsTakenUpByTheNext)
{
    Disturb(std::string(5000, '?'), L"", kNew,
            [&] { return Registry32(path).WriteString(L"v", kNew).ok(); });
}

TEST_F(RegistryFaults, ProcessesThatWriteAtOnceLoseNothingNorTwoStores)
{
    Write(StoreFile(), std::string(5000, '?')); // damaged: all of them meet it
    constexpr int kProcesses = 6, kKilled = 2, kValues = 50;
    std::vector<pid_t> children;
    for (int p = 0; p < kProcesses; ++p)
    {
        children.push_back(::fork());
        if (children.back() != 0)
            continue;
        Registry32 key(path);
        bool right = true;
        for (int i = 0; i < kValues || p < kKilled; ++i)
            right = key.WriteInt(unsigned(p * kValues + i % kValues), p, false).ok() && right;
        ::_exit(right ? 0 : 1);
    }
    for (int p = 0; p < kProcesses; ++p)
    {
        if (p < kKilled)
        {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            ::kill(children[std::size_t(p)], SIGKILL);
        }
        int state = -1;
        ::waitpid(children[std::size_t(p)], &state, 0);
        EXPECT_EQ(state, p < kKilled ? SIGKILL : 0);
    }
    const Registry32 key(path);
    for (int i = kKilled * kValues; i < kProcesses * kValues; ++i)
        EXPECT_EQ(key.ReadInt(unsigned(i), -1), i / kValues);
    EXPECT_TRUE(fs::exists(StoreFile().native() + ".damaged-1"));
    EXPECT_FALSE(fs::exists(StoreFile().native() + ".damaged-2"));
}

TEST_F(RegistryFaults, ADamagedStoreIsSetAsideAndReported)
{
    const std::string logName = (folder / "log").native();
    kvi::diag::SinkFilePath(str::as_wstring(logName));
    ASSERT_TRUE(Registry32(path).WriteInt(L"n", 5, false).ok());
    const std::string sound = Read(StoreFile());
    const std::string ruins[] = {
        "this is no store at all, but some other text that is long enough", // no header
        sound.substr(0, 512) + std::string(sound.size() - 512, '\xA5'),     // invalid pages
        sound.substr(0, sound.size() / 2)};                                 // cut off
    int told = 0;
    for (const std::string& ruin : ruins)
    {
        Write(StoreFile(), ruin);
        const fs::path aside = StoreFile().native() + ".damaged-" + std::to_string(++told);
        {
            const Registry32 key(path);
            EXPECT_EQ(key.ReadInt(L"n", 7), 7);
            EXPECT_EQ(key.GetAllValues().size(), 0u);
        }
        EXPECT_EQ(Read(aside), ruin);
        EXPECT_NE(Read(folder / "log").find("user.sqlite.damaged-" + std::to_string(told)),
                  std::string::npos);
        EXPECT_EQ(fs::status(aside).permissions(), fs::perms(0600)); // as it was made
        EXPECT_TRUE(Registry32(path).WriteInt(L"n", 6, false).ok());
        EXPECT_EQ(Registry32(path).ReadInt(L"n", 7), 6);
    }
}

TEST_F(RegistryFaults, TheUsersStoreLiesInTheConfigurationFolderAndIsPrivate)
{
    const fs::path config = folder / "deep" / "config", store = config / "kvi" / "registry.sqlite";
    ::unsetenv("KVI_REGISTRY"); // one thread runs
    ::setenv("XDG_CONFIG_HOME", config.c_str(), 1);
    const mode_t usual = ::umask(0);
    EXPECT_EQ(Registry32(path).ReadInt(L"n", 7), 7);
    EXPECT_EQ(Count(folder), 0);
    EXPECT_TRUE(Registry32(path).WriteInt(L"n", 5, false).ok());
    ::umask(usual);
    ::unsetenv("XDG_CONFIG_HOME");
    EXPECT_EQ(fs::status(store).permissions(), fs::perms(0600));
    EXPECT_EQ(fs::status(store.parent_path()).permissions(), fs::perms(0700));
}

TEST_F(RegistryFaults, AnOpenKeyGoesOnAfterItsStoreWasReplaced)
{
    Registry32 key(path);
    ASSERT_TRUE(key.WriteInt(L"n", 5, false).ok());
    fs::remove(StoreFile());
    EXPECT_EQ(key.ReadInt(L"n", 7), 7);
    EXPECT_FALSE(fs::exists(StoreFile())) << "reading makes none";
    EXPECT_TRUE(key.WriteInt(L"n", 6, false).ok());
    EXPECT_EQ(Registry32(path).ReadInt(L"n", 7), 6);
}

TEST_F(RegistryFaults, ADamagedStoreThatMustStayGivesDefaults)
{
    Write(StoreFile(), std::string(5000, '?'));
    EXPECT_TRUE(ForAReader([&] {
        Registry32 key(path);
        return key.ReadInt(L"n", 7) == 7 && !key.WriteInt(L"n", 6, false).ok();
    }));
    EXPECT_EQ(Count(folder), 1);
}

TEST_F(RegistryFaults, ARootThatMayOnlyBeReadIsRead)
{
    ASSERT_TRUE(Registry32(path).WriteInt(L"n", 5, false).ok());
    EXPECT_TRUE(ForAReader([&] {
        const auto denied = [](const gtl::status& status) {
            return !status.ok() && status.details()->argument(2) == L"Permission denied";
        };
        Registry32 key(path), absent({path.root, path.subkey + L"\\Below"});
        return denied(key.WriteInt(L"n", 6, false)) && denied(key.DeleteValue(L"n")) &&
               denied(absent.WriteInt(L"n", 6, false)) &&
               key.GetAccessRights() == Rights::read_only &&
               absent.GetAccessRights() == Rights::none && key.ReadInt(L"n", 7) == 5;
    }));
    EXPECT_EQ(Registry32(path).ReadInt(L"n", 7), 5);
}

TEST_F(RegistryFaults, AReaderNeitherWaitsNorWrites)
{
    ASSERT_TRUE(Registry32(path).WriteString(L"v", kOld).ok());
    ASSERT_EQ(::chmod(StoreFile().c_str(), 0644), 0);
    // A writer that is stopped for ever, wherever it is, holds its turn.
    const pid_t writer = ::fork();
    for (int i = 0; writer == 0; ++i)
        (void)Registry32(path).WriteString(L"v", i % 2 == 0 ? kNew : kOld);
    for (int stop = 0; stop < 20; ++stop)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(2 + stop % 5));
        ::kill(writer, SIGSTOP);
        ::waitpid(writer, nullptr, WUNTRACED);
        const auto start = std::chrono::steady_clock::now();
        EXPECT_TRUE(ForAReader([&] {
            std::wstring value;
            return Registry32(path).GetString(L"v", value).ok() && (value == kOld || value == kNew);
        }));
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
        ::kill(writer, SIGCONT);
    }
    ::kill(writer, SIGKILL);
    ::waitpid(writer, nullptr, 0);
}

TEST_F(RegistryFaults, AStoreInAnotherUsersFolderIsNotUsed)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root may give a folder away";
    const fs::path home = folder / "home", outside = folder / "outside";
    ::unsetenv("KVI_REGISTRY"); // one thread runs
    ::unsetenv("XDG_CONFIG_HOME");
    const std::string before = std::getenv("HOME") != nullptr ? std::getenv("HOME") : "/";
    ::setenv("HOME", home.c_str(), 1);
    const auto foreign = [](const fs::path& name) {
        return ::lchown(name.c_str(), 4711, 4711) == 0;
    };
    for (const int way : {0, 1, 2, 3})
    {
        fs::remove_all(home);
        fs::create_directories(home / ".config" / "kvi");
        ASSERT_TRUE(Registry32(path).WriteInt(L"n", 5, false).ok());
        if (way == 0) // an empty home of another user
        {
            fs::remove_all(home / ".config");
            ASSERT_TRUE(foreign(home));
        }
        else if (way == 1) // the store is another user's
            ASSERT_TRUE(foreign(home / ".config" / "kvi" / "registry.sqlite"));
        else // links, one of another user's, lead elsewhere
        {
            const fs::path link = home / ".config" / "kvi" / (way == 2 ? "registry.sqlite" : "");
            fs::remove_all(home / ".config" / "kvi" / "registry.sqlite");
            if (way == 3)
                fs::remove_all(home / ".config" / "kvi");
            const fs::path name = way == 2 ? link : home / ".config" / "kvi";
            fs::create_symlink(outside, name);
            ASSERT_TRUE(foreign(name));
        }
        EXPECT_EQ(Registry32(path).ReadInt(L"n", 7), 7) << way;
        const bool written = Registry32(path).WriteInt(L"n", 6, false).ok();
        EXPECT_FALSE(written) << way;
        EXPECT_FALSE(fs::exists(outside)) << way;
        EXPECT_TRUE(way != 0 || fs::is_empty(home));
    }
    ::setenv("HOME", before.c_str(), 1);
}

TEST_F(RegistryFaults, ADiskThatIsFullLeavesTheOldValue)
{
    ASSERT_TRUE(Registry32(path).WriteInt(L"n", 5, false).ok());
    EXPECT_EQ(InChild([&] {
                  const rlimit limit{40000, 40000};
                  ::signal(SIGXFSZ, SIG_IGN);
                  return ::setrlimit(RLIMIT_FSIZE, &limit) == 0 &&
                         !Registry32(path).WriteString(L"n", std::wstring(100000, L'x')).ok();
              }),
              0);
    EXPECT_EQ(Registry32(path).ReadInt(L"n", 7), 5);
}

TEST_F(RegistryFaults, KeysComeAndGoWithoutATrace)
{
    const auto descriptors = [] { return Count("/proc/self/fd"); };
    ASSERT_TRUE(Registry32(path).WriteInt(L"n", 0, false).ok());
    const std::ptrdiff_t before = descriptors();
    for (int i = 1; i <= 500; ++i)
    {
        Registry32 key(path);
        ASSERT_EQ(key.ReadInt(L"n", -1), i - 1);
        ASSERT_TRUE(key.WriteInt(L"n", i, i % 2 == 0).ok());
        ASSERT_EQ(key.GetAllValues().size(), 1u);
    }
    EXPECT_EQ(descriptors(), before);
    EXPECT_EQ(Count(folder), 2) << "the store, and the lock of its writers";
}
