#include "Geom/FPOINT.h"

#include <gtest/gtest.h>

TEST(FPOINT, OrdersByXThenYAndLeavesZOut)
{
    EXPECT_TRUE((FPOINT{1, 2, 3} < FPOINT{1, 3, 0}));
    EXPECT_FALSE((FPOINT{1, 2, 9} < FPOINT{1, 2, 0}));
    EXPECT_FALSE((FPOINT{1, 2, 0} < FPOINT{1, 2, 9}));
    EXPECT_FALSE((FPOINT{1, 2, 3} == FPOINT{1, 2, 4}));
}
