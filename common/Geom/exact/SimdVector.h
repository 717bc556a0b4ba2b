/// @file
/// @internal The widest vector of doubles of the processor level that a source is compiled for.
#pragma once

#include <cstddef>

#include <immintrin.h>

namespace geom::KVI_SIMD
{

using Mask = unsigned; ///< a bit for each element, the first one's the lowest

#if defined(__AVX512F__)

using Vector = __m512d;
constexpr std::size_t kWidth = 8;
inline Vector Load(const double* p) { return _mm512_loadu_pd(p); }
inline Vector All(double a) { return _mm512_set1_pd(a); }
inline Vector Minus(Vector a, Vector b) { return _mm512_sub_pd(a, b); }
inline Vector Plus(Vector a, Vector b) { return _mm512_add_pd(a, b); }
inline Vector Times(Vector a, Vector b) { return _mm512_mul_pd(a, b); }
inline Vector Min(Vector a, Vector b) { return _mm512_min_pd(a, b); }
inline Vector Max(Vector a, Vector b) { return _mm512_max_pd(a, b); }
inline Vector Size(Vector a) { return _mm512_andnot_pd(All(-0.0), a); }
inline Mask IsGreater(Vector a, Vector b) { return _mm512_cmp_pd_mask(a, b, _CMP_GT_OQ); }

#elif defined(__AVX2__)

using Vector = __m256d;
constexpr std::size_t kWidth = 4;
inline Vector Load(const double* p) { return _mm256_loadu_pd(p); }
inline Vector All(double a) { return _mm256_set1_pd(a); }
inline Vector Minus(Vector a, Vector b) { return _mm256_sub_pd(a, b); }
inline Vector Plus(Vector a, Vector b) { return _mm256_add_pd(a, b); }
inline Vector Times(Vector a, Vector b) { return _mm256_mul_pd(a, b); }
inline Vector Min(Vector a, Vector b) { return _mm256_min_pd(a, b); }
inline Vector Max(Vector a, Vector b) { return _mm256_max_pd(a, b); }
inline Vector Size(Vector a) { return _mm256_andnot_pd(All(-0.0), a); }
inline Mask IsGreater(Vector a, Vector b)
{
    return unsigned(_mm256_movemask_pd(_mm256_cmp_pd(a, b, _CMP_GT_OQ)));
}

#else

using Vector = __m128d;
constexpr std::size_t kWidth = 2;
inline Vector Load(const double* p) { return _mm_loadu_pd(p); }
inline Vector All(double a) { return _mm_set1_pd(a); }
inline Vector Minus(Vector a, Vector b) { return _mm_sub_pd(a, b); }
inline Vector Plus(Vector a, Vector b) { return _mm_add_pd(a, b); }
inline Vector Times(Vector a, Vector b) { return _mm_mul_pd(a, b); }
inline Vector Min(Vector a, Vector b) { return _mm_min_pd(a, b); }
inline Vector Max(Vector a, Vector b) { return _mm_max_pd(a, b); }
inline Vector Size(Vector a) { return _mm_andnot_pd(All(-0.0), a); }
inline Mask IsGreater(Vector a, Vector b) { return unsigned(_mm_movemask_pd(_mm_cmpgt_pd(a, b))); }

#endif

} // namespace geom::KVI_SIMD
