#include "platform/platform_cpu.h"

#include <gtest/gtest.h>

#include <algorithm>

TEST(ProcessorFeatures, TheLevelIsCappedNeverRaised)
{
    const int most = platform::SimdLevelCappedBy("");
    EXPECT_GE(most, 0);
    EXPECT_LE(most, 2);
    EXPECT_EQ(platform::SimdLevelCappedBy("sse2"), 0);
    EXPECT_EQ(platform::SimdLevelCappedBy("avx2"), std::min(most, 1));
    for (const char* unknown : {"avx512", "SSE2", "0", "avx2 "})
        EXPECT_EQ(platform::SimdLevelCappedBy(unknown), most) << unknown;
    EXPECT_LE(platform::SimdLevel(), most);
}
