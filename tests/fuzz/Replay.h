/// @file
/// Inputs on which a fuzz target failed or that give high coverage, kept as files.
#pragma once

#include "fuzz/FuzzInput.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

namespace fuzz
{

/// Tries a target on all of them.
inline void Replay(const std::string& target,
                   std::string (*check)(const std::uint8_t*, std::size_t))
{
    int files = 0;
    const std::filesystem::path folder =
        std::string(KVI_SOURCE_DIR) + "/tests/fuzz/corpus/" + target;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
    {
        std::ifstream file(entry.path(), std::ios::binary);
        const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
        const auto* data = reinterpret_cast<const std::uint8_t*>(bytes.data());
        EXPECT_EQ(check(data, bytes.size()), "") << entry.path();
        ++files;
    }
    EXPECT_GT(files, 0);
}

} // namespace fuzz
