// Processes that are killed while they copy, and that write to the registry at once.

#include "RunChild.h"
#include "platform/platform_env.h"
#include "platform/platform_library.h"
#include "sys/sys_file.h"
#include "sys/sys_reg_Registry.h"
#include "sys/sys_reg_key.h"

#include <chrono>
#include <csignal>
#include <cstdint>
#include <thread>
#include <vector>

using namespace sys::file;
using namespace sys::reg;

namespace
{
constexpr int kValues = 25;
const wchar_t* const kFolder = L"KVI_TEST_FOLDER"; // where a child works
const wchar_t* const kKey = L"KVI_TEST_KEY";

using DyingCopy = sys_test::FolderTest;
using BusyRegistry = sys_test::RegistryTest;

/// Ends this process at once, as a kill from outside does: no library hears of it.
void Die()
{
    using Terminate = int (*)(void* process, unsigned exit);
    if (const platform::Module kernel =
            sys_test::kWindows ? platform::LoadModule(L"kernel32.dll", platform::SymbolScope::own)
                               : nullptr)
        reinterpret_cast<Terminate>(platform::Symbol(kernel, "TerminateProcess"))(
            reinterpret_cast<void*>(std::intptr_t{-1}), 9); // this process
    constexpr int kKill = 9;
    std::raise(kKill);
}

std::wstring FromParent(const wchar_t* name) { return platform::Environment(name).value_or(L""); }
} // namespace

TEST(FaultChild, DISABLED_DiesWhileCopying)
{
    const std::wstring folder = FromParent(kFolder);
    const std::jthread end([] {
        std::this_thread::sleep_for(std::chrono::microseconds(child::Number()));
        Die();
    });
    for (;;)
    {
        (void)Copy(folder + L"\\one", folder + L"\\to"); // whichever it was
        (void)Copy(folder + L"\\two", folder + L"\\to");
    }
}

TEST_F(DyingCopy, LeavesTheOldFileOrTheNew)
{
    const std::string one(400'000, '1'), two(300'000, '2');
    sys_test::Write(folder / "one", one);
    sys_test::Write(folder / "two", two);
    sys_test::Write(folder / "to", two);
    platform::SetEnvironment(kFolder, In(""));
    for (int round = 0; round < 6; ++round)
    {
        EXPECT_FALSE(child::Run("FaultChild", "DiesWhileCopying", 1000 + round * 2377 % 9000));
        const std::string to = sys_test::Read(folder / "to");
        EXPECT_TRUE(to == one || to == two) << to.size();
        EXPECT_TRUE(sys_test::Read(folder / "one") == one && sys_test::Read(folder / "two") == two);
    }
}

TEST(FaultChild, DISABLED_WritesValues)
{
    Registry32 key({CurrentUser(), FromParent(kKey)});
    for (int i = 0; i < kValues; ++i)
        EXPECT_TRUE(key.WriteInt(unsigned(child::Number() + i), i, i % 2 == 0).ok());
}

TEST_F(BusyRegistry, LosesNothingOfProcessesThatWriteAtOnce)
{
    platform::SetEnvironment(kKey, path.subkey);
    std::vector<std::jthread> writers;
    for (const int first : {100, 200, 300})
        writers.emplace_back([=] { EXPECT_TRUE(child::Run("FaultChild", "WritesValues", first)); });
    writers.clear();
    const Registry32 key(path);
    EXPECT_EQ(key.GetAllValues().size(), 3u * kValues);
    for (const int first : {100, 200, 300})
    {
        for (int i = 0; i < kValues; ++i)
            EXPECT_EQ(key.ReadInt(unsigned(first + i), -1), i);
    }
}
