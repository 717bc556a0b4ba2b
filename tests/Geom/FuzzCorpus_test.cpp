// Inputs on which a fuzz target failed or that give high coverage, kept as files.
#include "fuzz/FuzzInput.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

namespace
{

int Replay(const std::string& target, std::string (*check)(const std::uint8_t*, std::size_t))
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
    return files;
}

TEST(FuzzCorpus, OfLinesPasses) { EXPECT_GT(Replay("lines", fuzz::CheckLines), 0); }

TEST(FuzzCorpus, OfRingsPasses) { EXPECT_GT(Replay("rings", fuzz::CheckRings), 0); }

} // namespace
