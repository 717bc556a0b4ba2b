#include "fn/fn_FredXing_impl.h"

namespace math::fn::flow::impl::KVI_SIMD
{

#if defined(__AVX512F__)
constexpr int kWidth = 8;
#elif defined(__AVX2__)
constexpr int kWidth = 4;
#else
constexpr int kWidth = 2;
#endif

void Loop(const CurveTerms& c, const double* pressures, double* contents, std::size_t count)
{
    WaterContents<kWidth>(c, pressures, contents, count);
}

} // namespace math::fn::flow::impl::KVI_SIMD
