// Processes that write to the registry at once.

#include "RunChild.h"
#include "platform/platform_env.h"
#include "sys/sys_reg_Registry.h"
#include "sys/sys_reg_key.h"

#include <thread>
#include <vector>

using namespace sys::reg;

namespace
{
constexpr int kValues = 25;
const wchar_t* const kKey = L"KVI_TEST_KEY"; // where a child works

using BusyRegistry = sys_test::RegistryTest;
} // namespace

TEST(FaultChild, DISABLED_WritesValues)
{
    Registry32 key({CurrentUser(), platform::Environment(kKey).value_or(L"")});
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
