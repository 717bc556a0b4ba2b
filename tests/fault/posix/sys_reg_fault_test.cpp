#include "fault/posix/tests_fault_posix.h"
#include "foundation/kvidbg_EventSink.h"
#include "sys/sys_reg_Registry.h"
#include "sys/sys_reg_key.h"

#include <vector>

#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/stat.h>

using namespace sys::reg;
using fault_test::InChild;
using sys_test::Read;
using sys_test::Write;
using Rights = REGKEY_ACCESS_RIGHTS;

namespace
{
class RegistryFaults : public sys_test::RegistryTest
{
protected:
    fs::path StoreFile() const { return folder / "user.sqlite"; }
};

/// Runs @p work in a child and kills it at its system call number @p call, entry and return each
/// counted. @returns whether the child was still at work
template <class Work>
bool KilledAt(int call, Work work)
{
    const pid_t child = ::fork();
    if (child == 0)
    {
        ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
        ::raise(SIGSTOP);
        work();
        ::_exit(0);
    }
    int state = 0;
    ::waitpid(child, &state, 0);
    for (int i = 0; i < call && WIFSTOPPED(state); ++i)
    {
        ::ptrace(PTRACE_SYSCALL, child, nullptr, nullptr);
        ::waitpid(child, &state, 0);
    }
    if (!WIFSTOPPED(state))
        return false;
    ::kill(child, SIGKILL);
    ::waitpid(child, &state, 0);
    return true;
}
} // namespace

TEST_F(RegistryFaults, AProcessKilledAnywhereInAWriteLeavesTheOldOrTheNewValue)
{
    const std::wstring before(3000, L'a'), after(6000, L'b');
    ASSERT_TRUE(Registry32(path).WriteString(L"v", before).ok());
    ASSERT_TRUE(Registry32(path).WriteInt(L"other", 5, false).ok());
    int call = 0, changed = 0;
    while (KilledAt(++call, [&] { (void)Registry32(path).WriteString(L"v", after); }))
    {
        const Registry32 key(path);
        const std::wstring now = key.ReadStringW(L"v");
        ASSERT_TRUE(now == before || now == after) << "call " << call;
        ASSERT_EQ(key.ReadInt(L"other", 0), 5) << "call " << call;
        ASSERT_EQ(key.GetAllValues().size(), 2u);
        changed += now == after ? 1 : 0;
        // From the same state again: what a killed writer leaves makes the next one's way longer.
        ASSERT_TRUE(Registry32(path).WriteString(L"v", before).ok());
    }
    EXPECT_GT(call, 50); // of a write with its journal
    EXPECT_GT(changed, 0);
    RecordProperty("calls", call);
    EXPECT_FALSE(fs::exists(StoreFile().native() + ".damaged-1"));
}

TEST_F(RegistryFaults, ProcessesThatWriteAtOnceLoseNothing)
{
    constexpr int kProcesses = 4, kValues = 25;
    std::vector<pid_t> children;
    for (int p = 0; p < kProcesses; ++p)
    {
        children.push_back(::fork());
        if (children.back() != 0)
            continue;
        Registry32 key(path);
        bool right = true;
        for (int i = 0; i < kValues; ++i)
            right = key.WriteInt(static_cast<unsigned>(p * kValues + i), p, false).ok() && right;
        ::_exit(right ? 0 : 1);
    }
    for (const pid_t child : children)
    {
        int state = -1;
        ::waitpid(child, &state, 0);
        EXPECT_EQ(state, 0);
    }
    const Registry32 key(path);
    EXPECT_EQ(key.GetAllValues().size(), std::size_t{kProcesses * kValues});
    for (unsigned i = 0; i < kProcesses * kValues; ++i)
        EXPECT_EQ(key.ReadInt(i, -1), int(i) / kValues);
}

TEST_F(RegistryFaults, ADamagedStoreIsSetAsideAndTold)
{
    const std::string logName = (folder / "log").native();
    kvi::diag::SinkFilePath(str::as_wstring(logName));
    ASSERT_TRUE(Registry32(path).WriteInt(L"n", 5, false).ok());
    const std::string sound = Read(StoreFile());
    const std::string ruins[] = {
        "this is no store at all, but some other text that is long enough", // no header
        sound.substr(0, 512) + std::string(sound.size() - 512, '\xA5'),     // pages of nonsense
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
        EXPECT_TRUE(Registry32(path).WriteInt(L"n", 6, false).ok());
        EXPECT_EQ(Registry32(path).ReadInt(L"n", 7), 6);
    }
    kvi::diag::SinkFilePath(L"stderr");
}

TEST_F(RegistryFaults, AnOpenKeyGoesOnAfterItsStoreWasReplaced)
{
    Registry32 key(path);
    ASSERT_TRUE(key.WriteInt(L"n", 5, false).ok());
    fs::remove(StoreFile());
    EXPECT_EQ(key.ReadInt(L"n", 7), 7);
    EXPECT_TRUE(key.WriteInt(L"n", 6, false).ok());
    EXPECT_EQ(Registry32(path).ReadInt(L"n", 7), 6);
}

TEST_F(RegistryFaults, ARootThatMayOnlyBeReadIsRead)
{
    ASSERT_TRUE(Registry32(path).WriteInt(L"n", 5, false).ok());
    ASSERT_EQ(::chmod(StoreFile().c_str(), 0644), 0);
    ASSERT_EQ(::chmod(folder.c_str(), 0555), 0);
    const int result = InChild([&] {
        fault_test::BecomeOrdinary();
        Registry32 key(path);
        const gtl::status written = key.WriteInt(L"n", 6, false);
        const gtl::status deleted = key.DeleteValue(L"n");
        RegistryPath other = path;
        other.subkey += L"\\Below";
        Registry32 absent(other);
        const gtl::status made = absent.WriteInt(L"n", 6, false);
        const std::wstring denied = L"Permission denied";
        return key.GetAccessRights() == Rights::read_only && key.ReadInt(L"n", 7) == 5 &&
               !written.ok() && written.details()->argument(2) == denied && !deleted.ok() &&
               deleted.details()->argument(2) == denied &&
               absent.GetAccessRights() == Rights::none && !made.ok() &&
               made.details()->argument(2) == denied;
    });
    ::chmod(folder.c_str(), 0755);
    EXPECT_EQ(result, 0);
    EXPECT_EQ(Registry32(path).ReadInt(L"n", 7), 5);
}

TEST_F(RegistryFaults, ViewsAreApartForTheMachinesSoftwareOnly)
{
    for (const wchar_t* subkey : {L"sOFTWARE\\KORVANE\\x", L"System\\x"})
    {
        const RegistryPath place{LocalMachine(), subkey};
        ASSERT_TRUE(Registry32(place).WriteInt(L"n", 32, false).ok());
        ASSERT_TRUE(Registry64(place).WriteInt(L"n", 64, false).ok());
        EXPECT_EQ(Registry32(place).ReadInt(L"n", 0), subkey[0] == L's' ? 32 : 64);
        EXPECT_EQ(Registry(place, REGKEY_ACCESS_VIEW::of_process).ReadInt(L"n", 0), 64);
    }
    EXPECT_TRUE(fs::exists(folder / "machine.sqlite"));
    EXPECT_FALSE(fs::exists(StoreFile()));
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
