// The settings that runs keep go to a folder of the tests' own, not to the user's.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

namespace
{

class OwnRegistry : public testing::Environment
{
public:
    void SetUp() override
    {
        const std::string folder = std::string(KVI_TEST_TEMP) + "/registry";
        std::filesystem::remove_all(folder);
        // NOLINTNEXTLINE(concurrency-mt-unsafe): before there are threads
        ASSERT_EQ(::setenv("KVI_REGISTRY", folder.c_str(), 1), 0);
    }
};

const testing::Environment* const kOwnRegistry =
    testing::AddGlobalTestEnvironment(new OwnRegistry); // gtest deletes it

TEST(RegistryFolder, IsTheTestsOwn) { EXPECT_NE(kOwnRegistry, nullptr); }

} // namespace
