/// @file
/// A separate folder for each test of files.
#pragma once

#include "foundation/str.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

namespace fs = std::filesystem;

namespace sys_test
{

constexpr bool kWindows = fs::path::preferred_separator == L'\\';

/// A path as the library writes it.
inline std::wstring Wide(const fs::path& path)
{
    std::wstring text = str::as_wstring(str::u8string(path.u8string()));
    std::replace(text.begin(), text.end(), L'/', L'\\');
    return text;
}

/// The system's path of one that the library wrote.
inline fs::path Native(std::wstring path)
{
    if (!kWindows)
        std::replace(path.begin(), path.end(), L'\\', L'/');
    return fs::path(
        std::u8string(reinterpret_cast<const char8_t*>(str::as_u8string(path).c_str())));
}

inline void Write(const fs::path& path, std::string_view bytes)
{
    std::ofstream(path, std::ios::binary).write(bytes.data(), std::ssize(bytes));
}

inline std::string Read(const fs::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// How many entries a folder has.
inline std::ptrdiff_t Count(const fs::path& folder)
{
    return std::distance(fs::directory_iterator(folder), {});
}

/// Each test has an empty folder, gone when it ends.
class FolderTest : public testing::Test
{
protected:
    void SetUp() override
    {
        const auto* const test = testing::UnitTest::GetInstance()->current_test_info();
        folder = Place() / (std::string(test->test_suite_name()) + test->name());
        Remove();
        fs::create_directories(folder);
        folder = fs::absolute(folder);
    }
    void TearDown() override { Remove(); }

    /// Where the folder lies.
    virtual fs::path Place() const { return KVI_TEST_TEMP; }

    /// The library's path of @p name in the folder.
    std::wstring In(std::string_view name) const { return Wide(folder / name); }

    fs::path folder;

private:
    void Remove() const
    {
        std::error_code error;
        fs::remove_all(folder, error);
    }
};

} // namespace sys_test
