/// @file
/// A folder for the files of one test.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace support
{

/// An empty folder of the running test's own below @p place.
inline std::filesystem::path ScratchFolder(const std::filesystem::path& place = KVI_TEST_TEMP)
{
    const testing::TestInfo* const test = testing::UnitTest::GetInstance()->current_test_info();
    const std::filesystem::path folder =
        place / (std::string(test->test_suite_name()) + test->name());
    std::error_code busy; // on Windows a process that has just ended may still have a file open
    std::filesystem::remove_all(folder, busy);
    std::filesystem::create_directories(folder);
    return std::filesystem::absolute(folder);
}

} // namespace support
