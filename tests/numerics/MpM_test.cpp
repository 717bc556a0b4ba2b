#include "numerics/Inverse.h"
#include "numerics/MpM.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace
{

using Vec = std::vector<double>;

/// Six elements after an operation on them.
template <class Operation>
Vec After(Operation operation)
{
    Vec a = {1, 2, 3, 4, 5, 6};
    operation(a.data());
    return a;
}

} // namespace

TEST(SmallMatrices, ElementByElement)
{
    const double B[] = {10, 20, 30, 40, 50, 60};
    EXPECT_EQ(After([&](double* A) { MpM(A, B, 2, 3); }), (Vec{11, 22, 33, 44, 55, 66}));
    EXPECT_EQ(After([&](double* A) { MmM(A, B, 3, 2); }), (Vec{-9, -18, -27, -36, -45, -54}));
    EXPECT_EQ(After([](double* A) { MpC(A, 0.5, 1, 5); }), (Vec{1.5, 2.5, 3.5, 4.5, 5.5, 6}));
    EXPECT_EQ(After([](double* A) { MpM(A, A, 2, 2); }), (Vec{2, 4, 6, 8, 5, 6}));
    EXPECT_EQ(After([&](double* a) { VpV(a, B, 2); }), (Vec{11, 22, 3, 4, 5, 6}));
    EXPECT_EQ(After([](double* a) { VxC(a, -2, 3); }), (Vec{-2, -4, -6, 4, 5, 6}));
    EXPECT_EQ(After([](double* A) { NULLM(A, 2, 2); }), (Vec{0, 0, 0, 0, 5, 6}));
    EXPECT_EQ(After([](double* a) { NULLV(a, 5); }), (Vec{0, 0, 0, 0, 0, 6}));
    // The source comes first; the transpose of 2 x 3 is 3 x 2.
    EXPECT_EQ(After([&](double* D) { MFCopy(B, D, 2, 2); }), (Vec{10, 20, 30, 40, 5, 6}));
    EXPECT_EQ(After([&](double* T) { MtM(T, B, 2, 3); }), (Vec{10, 40, 20, 50, 30, 60}));
}

TEST(SmallMatrices, SizesOfZeroOrLessDoNothing)
{
    const Vec before = {1, 2, 3, 4, 5, 6};
    for (const auto& size : {std::pair{0, 3}, {3, 0}, {-2, -3}, {-1, 6}})
    {
        const int r = size.first, c = size.second;
        EXPECT_EQ(After([&](double* A) { MpM(A, A, r, c); }), before);
        EXPECT_EQ(After([&](double* A) { MmM(A, A, r, c); }), before);
        EXPECT_EQ(After([&](double* A) { MpC(A, 1, r, c); }), before);
        EXPECT_EQ(After([&](double* A) { NULLM(A, r, c); }), before);
        EXPECT_EQ(After([&](double* A) { MFCopy(before.data() + 1, A, r, c); }), before);
        EXPECT_EQ(After([&](double* A) { MtM(A, before.data() + 1, r, c); }), before);
    }
    EXPECT_EQ(After([](double* a) { VxC(a, 3, -1), NULLV(a, 0), VpV(a, a, -4); }), before);
}

TEST(Inverse3x3, TimesTheMatrixIsTheIdentityAndASingularMatrixWritesNothing)
{
    const double A[3][3] = {{2, 1, 0}, {1, 3, 1}, {0, -1, 4}};
    const double singular[3][3] = {{1, 2, 3}, {2, 4, 6}, {1, 0, 1}};
    double inverse[3][3], det = 0;
    std::copy(&A[0][0], &A[0][0] + 9, &inverse[0][0]);
    ASSERT_EQ(iInv3x3Matrix(inverse, inverse, &det), 1) << "in place";
    EXPECT_EQ(iInv3x3Matrix(singular, inverse, &det), 0);
    EXPECT_EQ(det, 22);
    // 22 times the inverse, worked by hand
    const double adjugate[3][3] = {{13, -4, 1}, {-4, 8, -2}, {-1, 2, 5}};
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            EXPECT_EQ(inverse[i][j], adjugate[i][j] * (1.0 / 22)) << i << j;
}

TEST(Inverse2x2, GuardsItsDivisionAndReturnsTheDeterminant)
{
    const double singular[2][2] = {{1, 2}, {2, 4}}, zero[2][2] = {};
    double inverse[2][2] = {{4, 7}, {2, 6}};
    EXPECT_EQ(fMiM2x2(inverse, inverse), 10) << "in place";
    EXPECT_DOUBLE_EQ(inverse[0][0], 0.6);
    EXPECT_DOUBLE_EQ(inverse[0][1], -0.7);
    EXPECT_DOUBLE_EQ(inverse[1][0], -0.2);
    EXPECT_DOUBLE_EQ(inverse[1][1], 0.4);
    EXPECT_EQ(fMiM2x2(inverse, singular), 0);
    EXPECT_DOUBLE_EQ(inverse[0][0], 4e20);
    EXPECT_DOUBLE_EQ(inverse[0][1], -2e20);
    EXPECT_EQ(fMiM2x2(inverse, zero), 0);
    for (const auto& row : inverse)
        for (double element : row)
            EXPECT_EQ(element, 0);
}
