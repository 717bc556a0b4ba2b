/// @file
/// @internal The widest vector of doubles of the processor level that a solver's source is compiled
/// for, with fused products where the level has them.
#pragma once

#include <immintrin.h>

namespace numerics::KVI_SIMD
{

// kColumns: columns of a register block, as many as the registers allow beside 3 vectors of rows.
#if defined(__AVX512F__)

using Vector = __m512d;
constexpr int kWidth = 8;
constexpr int kColumns = 8;
inline Vector Load(const double* p) { return _mm512_loadu_pd(p); }
inline void Store(double* p, Vector v) { _mm512_storeu_pd(p, v); }
inline Vector All(double a) { return _mm512_set1_pd(a); }
inline Vector Times(Vector a, Vector b) { return _mm512_mul_pd(a, b); }
inline Vector Abs(Vector a) { return _mm512_abs_pd(a); }
inline Vector Plus(Vector a, Vector b) { return _mm512_add_pd(a, b); }
/// c - a b
inline Vector Less(Vector c, Vector a, Vector b) { return _mm512_fnmadd_pd(a, b, c); }
inline double Sum(Vector v)
{
    // The zero-masked form: the plain one reads an undefined register, which GCC 12 warns of.
    const __m256d half = _mm256_add_pd(_mm512_maskz_extractf64x4_pd(0xff, v, 0),
                                       _mm512_maskz_extractf64x4_pd(0xff, v, 1));
    const __m128d pair = _mm_add_pd(_mm256_castpd256_pd128(half), _mm256_extractf128_pd(half, 1));
    return _mm_cvtsd_f64(_mm_add_sd(pair, _mm_unpackhi_pd(pair, pair)));
}

#elif defined(__AVX2__)

using Vector = __m256d;
constexpr int kWidth = 4;
constexpr int kColumns = 4;
inline Vector Load(const double* p) { return _mm256_loadu_pd(p); }
inline void Store(double* p, Vector v) { _mm256_storeu_pd(p, v); }
inline Vector All(double a) { return _mm256_set1_pd(a); }
inline Vector Times(Vector a, Vector b) { return _mm256_mul_pd(a, b); }
inline Vector Abs(Vector a) { return _mm256_andnot_pd(_mm256_set1_pd(-0.0), a); }
inline Vector Plus(Vector a, Vector b) { return _mm256_add_pd(a, b); }
/// c - a b
inline Vector Less(Vector c, Vector a, Vector b) { return _mm256_fnmadd_pd(a, b, c); }
inline double Sum(Vector v)
{
    const __m128d pair = _mm_add_pd(_mm256_castpd256_pd128(v), _mm256_extractf128_pd(v, 1));
    return _mm_cvtsd_f64(_mm_add_sd(pair, _mm_unpackhi_pd(pair, pair)));
}

#else

using Vector = __m128d;
constexpr int kWidth = 2;
constexpr int kColumns = 4;
inline Vector Load(const double* p) { return _mm_loadu_pd(p); }
inline void Store(double* p, Vector v) { _mm_storeu_pd(p, v); }
inline Vector All(double a) { return _mm_set1_pd(a); }
inline Vector Times(Vector a, Vector b) { return _mm_mul_pd(a, b); }
inline Vector Abs(Vector a) { return _mm_andnot_pd(_mm_set1_pd(-0.0), a); }
inline Vector Plus(Vector a, Vector b) { return _mm_add_pd(a, b); }
/// c - a b
inline Vector Less(Vector c, Vector a, Vector b) { return _mm_sub_pd(c, _mm_mul_pd(a, b)); }
inline double Sum(Vector v) { return _mm_cvtsd_f64(_mm_add_sd(v, _mm_unpackhi_pd(v, v))); }

#endif

} // namespace numerics::KVI_SIMD
