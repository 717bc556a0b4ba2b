#include "numerics/system/Product.h"
#include "numerics/system/ProductRows.h"
#include "platform/platform_cpu.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

using numerics::MatrixView;
using numerics::ProductKernels;

namespace
{

/// Rows of 0, 1, 2 ... entries, whose products and sums are exact in any order.
struct Triangle
{
    std::vector<int> start{0}, columns;
    std::vector<double> values, x, b, product;

    explicit Triangle(int n)
    {
        for (int i = 0; i < n; ++i)
        {
            double sum = 0;
            for (int k = 0; k < i; ++k)
            {
                const int column = (7 * i + 5 * k) % n;
                columns.push_back(column);
                values.push_back(k % 9 - 4);
                sum += (k % 9 - 4) * (column % 13 - 6.5);
            }
            start.push_back(int(columns.size()));
            x.push_back(i % 13 - 6.5);
            b.push_back(i + 0.25);
            product.push_back(sum);
        }
    }
    MatrixView View() const { return {int(x.size()), start.data(), columns.data(), values.data()}; }
};

TEST(Product, IsRightForRowsOfEveryLengthOnEveryLevel)
{
    const Triangle t(40);
    const ProductKernels* const levels[] = {&numerics::sse2::kProductKernels,
                                            &numerics::avx2::kProductKernels,
                                            &numerics::avx512::kProductKernels};
    for (int level = 0; level <= platform::SimdLevelCappedBy(""); ++level)
    {
        SCOPED_TRACE(level);
        std::vector<double> y(40, -1), r(y), reaction(y);
        levels[level]->product(t.View(), t.x.data(), y.data(), 0, 40);
        levels[level]->residual(t.View(), t.b.data(), t.x.data(), r.data(), 3, 40);
        levels[level]->reaction(t.View(), t.b.data(), t.x.data(), reaction.data(), 0, 39);
        EXPECT_EQ(y, t.product);
        EXPECT_EQ(r[2], -1); // before the first row asked for
        EXPECT_EQ(reaction[39], -1);
        for (std::size_t i = 3; i < 39; ++i)
        {
            EXPECT_EQ(r[i], t.b[i] - t.product[i]);
            EXPECT_EQ(reaction[i], t.product[i] - t.b[i]);
        }
    }
}

TEST(Product, GivesTheSameBitsOnAnyNumberOfThreads)
{
    Triangle t(700); // 244,650 entries
    for (double& entry : t.x)
        entry = 1 / (entry + 20);
    std::vector<double> serial(700), y(700);
    Product(t.View(), t.x.data(), serial.data(), 1);
    for (const int threads : {0, 2, 3})
    {
        Product(t.View(), t.x.data(), y.data(), threads);
        EXPECT_EQ(y, serial) << threads;
    }
}

} // namespace
