#include "numerics/order/Equilibration.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace numerics
{

std::vector<double> Equilibrate(const MatrixView& A)
{
    constexpr int kPasses = 3;
    const std::size_t n = std::size_t(A.n);
    std::vector<int> exponent(n, 0);
    std::vector<double> scale(n, 1), largest(n);
    for (int pass = 0; pass < kPasses; ++pass)
    {
        std::fill(largest.begin(), largest.end(), 0.0);
        for (std::size_t i = 0; i < n; ++i)
        {
            double ofRow = largest[i];
            for (int k = A.rowStart[i]; k < A.rowStart[i + 1]; ++k)
            {
                const std::size_t j = std::size_t(A.columns[k]);
                const double size = std::abs(A.values[k]) * (scale[i] * scale[j]);
                ofRow = std::max(ofRow, size);
                largest[j] = std::max(largest[j], size);
            }
            largest[i] = ofRow;
        }
        bool hasChanged = false;
        for (std::size_t i = 0; i < n; ++i)
        {
            if (!(largest[i] > 0))
            {
                scale[i] = 0;
                continue;
            }
            const int half = -(std::ilogb(std::min(largest[i], 1e308)) + 1) / 2;
            // Within a range in which products of two scales stay finite.
            const int next = std::clamp(exponent[i] + half, -500, 500);
            hasChanged = hasChanged || next != exponent[i];
            exponent[i] = next;
            scale[i] = std::ldexp(1.0, next);
        }
        if (!hasChanged)
            break;
    }
    return scale;
}

} // namespace numerics
