/// @file
/// A folder for the files of one test.
#pragma once

#include "support/ReadFile.h"

#include <gtest/gtest.h>

namespace support
{

/// An empty folder of the running test's own below @p place.
inline fs::path ScratchFolder(const fs::path& place = KVI_TEST_TEMP)
{
    const testing::TestInfo* const test = testing::UnitTest::GetInstance()->current_test_info();
    const fs::path folder = place / (std::string(test->test_suite_name()) + test->name());
    std::error_code busy; // on Windows a process that has just ended may still have a file open
    fs::remove_all(folder, busy);
    fs::create_directories(folder);
    return fs::absolute(folder);
}

/// Each test has an empty folder, gone when it ends.
class FolderTest : public testing::Test
{
protected:
    explicit FolderTest(const fs::path& place = KVI_TEST_TEMP) : folder(ScratchFolder(place)) {}
    ~FolderTest() override
    {
        std::error_code busy;
        fs::remove_all(folder, busy);
        fs::remove(folder.parent_path(), busy); // unless it holds more
    }

    /// Makes files that contain their names, and folders where a name ends with a slash.
    void Make(std::initializer_list<const char*> names) const
    {
        for (const fs::path name : names)
        {
            fs::create_directories((folder / name).parent_path());
            if (name.has_filename())
                Write(folder / name, name.filename().string());
        }
    }
    /// The library's path of @p name in the folder.
    std::wstring In(std::string_view name) const { return Wide(folder / name); }

    const fs::path folder;
};

} // namespace support
