#include "Geom/FPOINT.h"

#include <gtest/gtest.h>

#include <limits>

TEST(FPOINT, OrdersByXThenYAndLeavesZOut)
{
    EXPECT_TRUE((FPOINT{1, 2, 3} < FPOINT{1, 3, 0}));
    EXPECT_FALSE((FPOINT{1, 2, 9} < FPOINT{1, 2, 0}));
    EXPECT_FALSE((FPOINT{1, 2, 0} < FPOINT{1, 2, 9}));
    EXPECT_FALSE((FPOINT{1, 2, 3} == FPOINT{1, 2, 4}));
}

TEST(FPOINT, IsComparedAndCopiedForUndo)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    FPOINT a{1, 2, 3}, odd{nan, nan, nan};
    const FPOINT b{1, 2, 4};
    EXPECT_EQ(a.UndoEquality(b), 0);
    EXPECT_EQ(&a.UndoAssignment(b), &a);
    EXPECT_EQ(a.UndoEquality(b), 1);
    EXPECT_EQ(a.UndoAssignment(a).z, 4);
    EXPECT_EQ(odd.UndoEquality(odd), 1); // the same object, though it equals nothing
    EXPECT_EQ(odd.UndoEquality(FPOINT{nan, nan, nan}), 0);
    EXPECT_EQ(a.UndoFreeMemory(), 0);
    EXPECT_TRUE(IsMissingValue(MissingValue<FPOINT>().z));
}
