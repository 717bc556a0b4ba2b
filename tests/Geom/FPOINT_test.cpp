#include "Geom/FPOINT.h"
#include "Geom/GeomTest.h"

using namespace geomtest;

TEST(FPOINT, OrdersByXThenYAndLeavesZOut)
{
    EXPECT_TRUE((FPOINT{1, 2, 3} < FPOINT{1, 3, 0}));
    EXPECT_FALSE((FPOINT{1, 2, 9} < FPOINT{1, 2, 0} || FPOINT{1, 2, 0} < FPOINT{1, 2, 9}));
    EXPECT_FALSE((FPOINT{1, 2, 3} == FPOINT{1, 2, 4}));
}

TEST(FPOINT, IsComparedAndCopiedForUndo)
{
    FPOINT a{1, 2, 3}, odd{kNaN, kNaN, kNaN};
    const FPOINT b{1, 2, 4};
    EXPECT_EQ(a.UndoEquality(b), 0);
    EXPECT_EQ(&a.UndoAssignment(b), &a);
    EXPECT_EQ(a.UndoEquality(b), 1);
    EXPECT_EQ(a.UndoAssignment(a).z, 4);
    EXPECT_EQ(odd.UndoEquality(odd), 1); // the same object, though it equals nothing
    EXPECT_EQ(odd.UndoEquality(FPOINT{odd}), 0);
    EXPECT_EQ(a.UndoFreeMemory(), 0);
    EXPECT_TRUE(IsMissingValue(MissingValue<FPOINT>().z));
}

TEST(equalX, ComparesAbscissaeWithinEightDigits)
{
    const std::tuple<FPOINT, FPOINT, bool> rows[] = {
        {{1.00000001, 2, 3}, {1.00000004, 9, 9}, true}, {{1.0, 2, 3}, {1.0000001, 2, 3}, false},
        {{123456780, 0, 0}, {123456784, 0, 0}, true},   {{1, 2, kMissing}, {1, 2, 3}, false},
        {{1, 2, 3}, {1, kMissing, 3}, false},           {{kNaN, 2, 3}, {kNaN, 2, 3}, false},
    };
    for (const auto& [a, b, areEqual] : rows)
        EXPECT_EQ(gtl::equalX<FPOINT>()(a, b), areEqual) << a.x;
}
