#include "numerics/math_matrix.h"
#include "numerics/math_matrix_Multiply.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <utility>
#include <vector>

using namespace math::matrix;
using impl::Dispatch;
using orientation::Type;

namespace
{

/// A well-behaved matrix without structure.
template <class T>
Matrix<T> Wavy(int rows, int columns, double phase)
{
    Matrix<T> A(rows, columns);
    for (int i = 0; i < rows; ++i)
        for (int j = 0; j < columns; ++j)
            A(i, j) = T(std::sin(i * 3.1 + j * j * 1.7 + phase) + (i == j ? 3 : 0));
    return A;
}

template <class T>
double LargestDifference(const Matrix<T>& A, const Matrix<T>& B)
{
    double largest = A.Rows() == B.Rows() && A.Columns() == B.Columns() ? 0 : INFINITY;
    for (int i = 0; i < A.Rows(); ++i)
        for (int j = 0; j < A.Columns(); ++j)
            largest = std::fmax(largest, std::fabs(A(i, j) - B(i, j)));
    return largest;
}

template <class T>
Matrix<T> Identity(int n)
{
    Matrix<T> I(n, n);
    for (int i = 0; i < n; ++i)
        I(i, i) = 1;
    return I;
}

} // namespace

TEST(Matrix, SumsDifferencesAndProducts)
{
    const Matrix<double> A(2, 3, {1, 2, 3, 4, 5, 6}), B(2, 3, {6, 5, 4, 3, 2, 1});
    const Matrix<double> C(3, 1, {1, 10, 100});
    EXPECT_EQ(A + B, (Matrix<double>(2, 3, {7, 7, 7, 7, 7, 7})));
    EXPECT_EQ(A - B, (Matrix<double>(2, 3, {-5, -3, -1, 1, 3, 5})));
    EXPECT_EQ(A * C, (Matrix<double>(2, 1, {321, 654})));
    EXPECT_EQ((Matrix<float>(1, 2, {1.5f, 2}) * Matrix<float>(2, 1, {2, 4})),
              (Matrix<float>(1, 1, {11})));
    EXPECT_EQ(A * B, Matrix<double>()); // shapes that do not fit
    EXPECT_EQ(A + C, Matrix<double>());
}

TEST(Matrix, RefusesSizesWhoseProductDoesNotFit)
{
    constexpr int kMost = std::numeric_limits<int>::max();
    // In 32 bits, the element counts of the first two wrap to 65536 and 0.
    for (const auto& [rows, columns] : {std::pair(65537, 65536), {65536, 65536}, {kMost, kMost}})
        if (sizeof(std::size_t) == 4 || rows == kMost)
            EXPECT_EQ(Matrix<double>(rows, columns), Matrix<double>());
    for (const auto& [rows, columns] : {std::pair(-1, -1), {-1, 1}, {1, -1}, {0, -1}})
        EXPECT_EQ(Matrix<float>(rows, columns), Matrix<float>());
    EXPECT_EQ(Matrix<double>(0, 5).Columns(), 5);
    if (sizeof(std::size_t) == 4)
        EXPECT_EQ(Matrix<double>(65537, 1) * Matrix<double>(1, 65536), Matrix<double>());
}

TEST(Matrix, ViewsOfEveryOrientationGiveOneProduct)
{
    const Matrix<double> A = Wavy<double>(5, 4, 0.1), B = Wavy<double>(4, 3, 0.7), right = A * B;
    for (const Type order : {Type::RowMajor, Type::ColumnMajor})
        for (const int gap : {0, 3})
        {
            // The operands copied into memory of this order, with a gap behind each row or column.
            std::vector<double> a(100), b(100), c(100, -9);
            const int extra = order == Type::RowMajor ? 1 : 0;
            const storage::DenseRef<double> a1(a.data(), 5, 4, order, (extra ? 4 : 5) + gap);
            const storage::DenseRef<double> b1(b.data(), 4, 3, order, (extra ? 3 : 4) + gap);
            const storage::DenseRef<double> c1(c.data(), 5, 3, order, (extra ? 3 : 5) + gap);
            ASSERT_TRUE(Dispatch<double>::sub(a1, A.Ref(), Matrix<double>(5, 4).Ref()));
            ASSERT_TRUE(Dispatch<double>::sub(b1, B.Ref(), Matrix<double>(4, 3).Ref()));
            Matrix<double> copy(5, 3), mixed(5, 3);
            ASSERT_TRUE(Dispatch<double>::mm(c1, a1, b1));
            ASSERT_TRUE(Dispatch<double>::add(copy.Ref(), c1, Matrix<double>(5, 3).Ref()));
            ASSERT_TRUE(Dispatch<double>::mm(mixed.Ref(), a1, B.Ref()));
            EXPECT_LT(LargestDifference(copy, right), 1e-14);
            EXPECT_LT(LargestDifference(mixed, right), 1e-14);
            EXPECT_EQ(c.back(), -9);
        }
}

TEST(Matrix, GemmScalesAddsAndMayWriteOverAnOperand)
{
    Matrix<double> A(2, 2, {1, 2, 3, 4}), C(2, 2, {1, 1, 1, NAN});
    ASSERT_TRUE(Dispatch<double>::gemm(2, A.Ref(), A.Ref(), 0, C.Ref())); // C is not read
    EXPECT_EQ(C, (Matrix<double>(2, 2, {14, 20, 30, 44})));
    ASSERT_TRUE(Dispatch<double>::gemm(1, A.Ref(), A.Ref(), -1, C.Ref()));
    EXPECT_EQ(C, (Matrix<double>(2, 2, {-7, -10, -15, -22})));
    ASSERT_TRUE(Dispatch<double>::mm(A.Ref(), A.Ref(), A.Ref()));
    EXPECT_EQ(A, (Matrix<double>(2, 2, {7, 10, 15, 22})));
    EXPECT_FALSE(Dispatch<double>::gemm(1, A.Ref(), A.Ref(), 0, Matrix<double>(2, 3).Ref()));
}

TEST(Matrix, LargeProductsAgreeWithMxM)
{
    const Matrix<double> A = Wavy<double>(210, 230, 0.1), B = Wavy<double>(230, 220, 0.7);
    const Matrix<double> right = A * B, given = Wavy<double>(210, 220, 0.4);
    std::vector<double> turned(230 * 210);
    const storage::DenseRef<double> A2(turned.data(), 210, 230, Type::ColumnMajor);
    ASSERT_TRUE(Dispatch<double>::add(A2, A.Ref(), Matrix<double>(210, 230).Ref()));
    Matrix<double> C = given, D(210, 220), E(210, 220);
    ASSERT_TRUE(Dispatch<double>::gemm(2, A.Ref(), B.Ref(), -3, C.Ref()));
    ASSERT_TRUE(Dispatch<double>::add(D.Ref(), right.Ref(), right.Ref()));
    for (int i = 0; i < 3; ++i)
        ASSERT_TRUE(Dispatch<double>::sub(D.Ref(), D.Ref(), given.Ref()));
    EXPECT_LT(LargestDifference(C, D), 1e-11);
    ASSERT_TRUE(Dispatch<double>::mm(E.Ref(), A2, B.Ref()));
    EXPECT_LT(LargestDifference(E, right), 1e-11);
    Matrix<double> square = Wavy<double>(210, 210, 0.2);
    const Matrix<double> squared = square * square;
    ASSERT_TRUE(Dispatch<double>::gemm(1, square.Ref(), square.Ref(), 0, square.Ref()));
    EXPECT_LT(LargestDifference(square, squared), 1e-11);
    const Matrix<float> half = Wavy<float>(210, 230, 0.1) * Wavy<float>(230, 220, 0.7);
    double largest = 0;
    for (int i = 0; i < 210; ++i)
        for (int j = 0; j < 220; ++j)
            largest = std::fmax(largest, std::fabs(half(i, j) - right(i, j)));
    EXPECT_LT(largest, 1e-3);
}

TEST(Matrix, SolvesInvertsAndComputesTheDeterminant)
{
    EXPECT_EQ(Determinant(Matrix<double>()), 1);
    EXPECT_EQ(Determinant(Matrix<double>(1, 1, {-4})), -4);
    EXPECT_EQ(Determinant(Matrix<double>(2, 2, {4, 7, 2, 6})), 10);
    EXPECT_EQ(Determinant(Matrix<double>(3, 3, {2, 1, 0, 1, 3, 1, 0, -1, 4})), 22);
    EXPECT_EQ(Determinant(Matrix<float>(4, 4, {0, 2, 0, 0, 1, 0, 0, 0, 0, 0, 0, 3, 0, 0, 5, 0})),
              30);
    EXPECT_TRUE(std::isnan(Determinant(Matrix<double>(2, 3))));
    for (const int n : {1, 2, 3, 8, 17})
    {
        const auto A = Wavy<double>(n, n, 0.2), B = Wavy<double>(n, 3, 0.5);
        const auto inverse = Inverse(A), X = Solve(A, B);
        ASSERT_TRUE(inverse && X) << n;
        EXPECT_LT(LargestDifference(A * *inverse, Identity<double>(n)), 1e-13);
        EXPECT_LT(LargestDifference(A * *X, B), 1e-13);
        const auto half = Wavy<float>(n, n, 0.2);
        EXPECT_LT(LargestDifference(half * Inverse(half).value(), Identity<float>(n)), 2e-5);
    }
}

TEST(Matrix, ASingularMatrixHasNoInverseAndNothingIsWritten)
{
    const Matrix<double> singular[] = {Matrix<double>(1, 1), Matrix<double>(2, 2, {1, 2, 2, 4}),
                                       Matrix<double>(2, 2, {0, 0, 0, 1}),
                                       Matrix<double>(2, 2, {1, NAN, 0, 1}),
                                       Matrix<double>(2, 3, {1, 0, 0, 0, 1, 0})};
    for (const auto& A : singular)
    {
        EXPECT_FALSE(Inverse(A));
        EXPECT_FALSE(Solve(A, Matrix<double>(A.Rows(), 1)));
    }
    Matrix<double> kept(2, 2, {7, 7, 7, 7});
    EXPECT_FALSE(Dispatch<double>::inv(kept.Ref(), singular[1].Ref()));
    EXPECT_EQ(kept, Matrix<double>(2, 2, {7, 7, 7, 7}));
}

TEST(Matrix, SpecializedProductsAreTheFixedKernels)
{
    using namespace impl::Multiply;
    const auto A = Wavy<double>(9, 3, 0.4), B = Wavy<double>(3, 9, 0.8);
    Matrix<double> C(9, 9);
    SpecializedDenseDoubleRowMajor<FixedDim<9, 3, 9>>::Call((double(*)[9])C.Ref().Data(),
                                                            (const double(*)[3])A.Ref().Data(),
                                                            (const double(*)[9])B.Ref().Data());
    EXPECT_EQ(C, A * B); // to the last bit
}
