#include "numerics/MxC.h"
#include "numerics/MxM.h"
#include "numerics/dense/Kernels.h"
#include "platform/platform_cpu.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

using numerics::Kernels;

namespace
{

using Vec = std::vector<double>;
constexpr double kInfinity = std::numeric_limits<double>::infinity();

/// The levels that this processor has.
std::vector<const Kernels*> Levels()
{
    const Kernels* all[] = {&numerics::sse2::kKernels, &numerics::avx2::kKernels,
                            &numerics::avx512::kKernels};
    return {all, all + platform::SimdLevelCappedBy("") + 1};
}

/// Numbers whose products and sums round at every step, with zeros of both signs and products
/// that underflow between them.
Vec Sines(int count, double phase)
{
    Vec v(std::size_t(count < 0 ? 0 : count));
    for (std::size_t i = 0; i < v.size(); ++i)
        v[i] = i % 11 == 3 ? -0.0 : i % 13 == 5 ? -1e-170 : std::sin(double(i) + phase);
    return v;
}

/// The definition, element by element; volatile keeps the product rounded on its own.
Vec Product(const Vec& a, const Vec& b, int m, int n, int p)
{
    Vec c(std::size_t(m * p), 0.0);
    for (int i = 0; i < m; ++i)
        for (int j = 0; j < p; ++j)
            for (int k = 0; k < n; ++k)
            {
                const volatile double term = a[i * n + k] * b[k * p + j];
                c[i * p + j] += term;
            }
    return c;
}

/// Equal bits, so that -0.0 is not 0.0.
void ExpectSameBits(const Vec& actual, const Vec& expected)
{
    ASSERT_EQ(actual.size(), expected.size());
    for (std::size_t i = 0; i < actual.size(); ++i)
        EXPECT_EQ(std::bit_cast<std::uint64_t>(actual[i]),
                  std::bit_cast<std::uint64_t>(expected[i]))
            << "element " << i << ": " << actual[i] << " for " << expected[i];
}

constexpr double kGuard = -99.0; // guard value after each result

/// Calls f(kernel, result) for the exported kernel and that of each level, a guard value behind the
/// result.
template <class Kernel, class F>
void ExpectOnEveryLevel(Kernel exported, Kernel Kernels::*kernel, Vec start, Vec expected, F f)
{
    std::vector<Kernel> all = {exported};
    for (const Kernels* level : Levels())
        all.push_back(level->*kernel);
    start.push_back(kGuard);
    expected.push_back(kGuard);
    for (const Kernel each : all)
    {
        Vec c = start;
        f(each, c.data());
        ExpectSameBits(c, expected);
    }
}

template <int M, int N, int P>
void ExpectProduct(Kernels::Fixed<M, N, P> exported, Kernels::Fixed<M, N, P> Kernels::*kernel)
{
    SCOPED_TRACE(testing::Message() << M << '_' << N << '_' << P);
    // One element further than a cache line, so that nothing relies on alignment.
    const Vec a = Sines(M * N, 0.3), b = Sines(N * P, 1.7);
    ExpectOnEveryLevel(
        exported, kernel, Vec(M * P, kGuard), Product(a, b, M, N, P), [&](auto fixed, double* c) {
            fixed((double(*)[P])c, (const double(*)[N])a.data(), (const double(*)[P])b.data());
        });
}

template <int R, int C>
void ExpectScaled(Kernels::Scale<C> exported, Kernels::Scale<C> Kernels::*kernel)
{
    SCOPED_TRACE(testing::Message() << R << '_' << C);
    const Vec a = Sines(R * C, 0.4);
    Vec expected = a;
    for (double& element : expected)
        element *= -1.7;
    ExpectOnEveryLevel(exported, kernel, a, expected,
                       [](auto scale, double* c) { scale((double(*)[C])c, -1.7); });
}

} // namespace

TEST(MxM, FixedSizesGiveTheBitsOfTheDefinitionOnEveryLevel)
{
    ExpectProduct<2, 2, 8>(MxM_2_2_8, &Kernels::MxM_2_2_8);
    ExpectProduct<2, 8, 2>(MxM_2_8_2, &Kernels::MxM_2_8_2);
    ExpectProduct<3, 3, 9>(MxM_3_3_9, &Kernels::MxM_3_3_9);
    ExpectProduct<4, 4, 4>(MxM_4_4_4, &Kernels::MxM_4_4_4);
    ExpectProduct<4, 4, 16>(MxM_4_4_16, &Kernels::MxM_4_4_16);
    ExpectProduct<8, 1, 16>(MxM_8_1_16, &Kernels::MxM_8_1_16);
    ExpectProduct<8, 2, 2>(MxM_8_2_2, &Kernels::MxM_8_2_2);
    ExpectProduct<8, 2, 8>(MxM_8_2_8, &Kernels::MxM_8_2_8);
    ExpectProduct<8, 8, 1>(MxM_8_8_1, &Kernels::MxM_8_8_1);
    ExpectProduct<8, 8, 8>(MxM_8_8_8, &Kernels::MxM_8_8_8);
    ExpectProduct<9, 3, 3>(MxM_9_3_3, &Kernels::MxM_9_3_3);
    ExpectProduct<9, 3, 9>(MxM_9_3_9, &Kernels::MxM_9_3_9);
    ExpectProduct<9, 9, 9>(MxM_9_9_9, &Kernels::MxM_9_9_9);
    ExpectProduct<16, 1, 8>(MxM_16_1_8, &Kernels::MxM_16_1_8);
    ExpectProduct<16, 4, 16>(MxM_16_4_16, &Kernels::MxM_16_4_16);
}

TEST(MxC, FixedSizesScaleEveryElementAndNoOther)
{
    ExpectScaled<2, 2>(MxC_2_2, &Kernels::MxC_2_2);
    ExpectScaled<3, 3>(MxC_3_3, &Kernels::MxC_3_3);
    ExpectScaled<4, 4>(MxC_4_4, &Kernels::MxC_4_4);
    ExpectScaled<8, 8>(MxC_8_8, &Kernels::MxC_8_8);
    ExpectScaled<8, 16>(MxC_8_16, &Kernels::MxC_8_16);
    ExpectScaled<16, 8>(MxC_16_8, &Kernels::MxC_16_8);
    ExpectScaled<9, 3>(MxC_9_3, &Kernels::MxC_9_3);
    ExpectScaled<9, 9>(MxC_9_9, &Kernels::MxC_9_9);
    ExpectScaled<16, 16>(MxC_16_16, &Kernels::MxC_16_16);
}

TEST(MxM, EverySizeGivesTheBitsOfTheDefinitionOnEveryLevel)
{
    for (const int m : {-2, 0, 1, 2, 4, 7, 9})
        for (const int n : {-1, 0, 1, 3, 9})
            for (int p = -2; p <= 41; ++p)
            {
                SCOPED_TRACE(testing::Message() << m << '_' << n << '_' << p);
                const Vec a = Sines(m * n, 0.3), b = Sines(n * p, 1.7);
                const Vec expected = Product(a, b, std::max(m, 0), n, std::max(p, 0));
                ExpectOnEveryLevel(
                    &MxM, &Kernels::MxM, Vec(expected.size(), kGuard), expected,
                    [&](auto product, double* c) { product(c, a.data(), b.data(), m, n, p); });
            }
}

TEST(MxM, MatrixTimesVectorAndVectorTimesMatrix)
{
    const double A[] = {1, 2, 3, 4, 5, 6}, x[] = {10, 20, 30};
    Vec y(3, kGuard), M(4);
    MxV(y.data(), A, x, 2, 3); // 2 x 3
    EXPECT_EQ(y, (Vec{140, 320, kGuard}));
    VxM(x, A, y.data(), 2, 3); // the result is the third argument
    EXPECT_EQ(y, (Vec{90, 120, 150}));
    VxV2M(M.data(), A, x, 2);
    EXPECT_EQ(M, (Vec{10, 20, 20, 40}));
    EXPECT_EQ(fVxV2C(A, x, 3), 140);
    EXPECT_EQ(fVxV2C(A, x, 0), 0);
}

TEST(MxM_Checker, AcceptsRoundingAndNothingMore)
{
    const Vec a = Sines(12, 0.1), b = Sines(20, 0.9);
    Vec c = Product(a, b, 3, 4, 5);
    EXPECT_TRUE(MxM_Checker(c.data(), a.data(), b.data(), 3, 4, 5));
    for (double& element : c) // the last element of the matrix counts as the first
    {
        const double right = element;
        element = std::nextafter(right, 9); // another order of summation
        EXPECT_TRUE(MxM_Checker(c.data(), a.data(), b.data(), 3, 4, 5));
        for (const double wrong : {right + 1e-13, double(NAN), kInfinity})
        {
            element = wrong;
            EXPECT_FALSE(MxM_Checker(c.data(), a.data(), b.data(), 3, 4, 5)) << wrong;
        }
        element = right;
    }
    const double endless[] = {kInfinity, 1}, one[] = {1, 1}, minus[] = {-kInfinity, 0};
    EXPECT_TRUE(MxM_Checker(endless, endless, one, 1, 2, 1));
    EXPECT_FALSE(MxM_Checker(minus, endless, one, 1, 2, 1));
    EXPECT_TRUE(MxM_Checker(c.data(), nullptr, nullptr, 0, 4, 5));
}
