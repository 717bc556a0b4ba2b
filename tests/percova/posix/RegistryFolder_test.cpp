// The settings that runs keep go to a folder of the tests' own, not to the user's.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

namespace
{

const bool kIsSet = [] {
    std::error_code ignored;
    std::filesystem::remove_all(KVI_TEST_TEMP "/registry", ignored);
    // NOLINTNEXTLINE(concurrency-mt-unsafe): before there are threads
    return ::setenv("KVI_REGISTRY", KVI_TEST_TEMP "/registry", 1) == 0;
}();

TEST(RegistryFolder, IsTheTestsOwn) { EXPECT_TRUE(kIsSet); }

} // namespace
