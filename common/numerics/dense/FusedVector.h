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
/// Sum(v[i]) at lane i
inline Vector Sums(const Vector* v)
{
    constexpr __mmask8 kAll = 0xff; // the zero-masked forms, as above
    Vector pair[4], quad[2];
    for (int i = 0; i < 4; ++i)
        pair[i] = _mm512_add_pd(_mm512_maskz_unpacklo_pd(kAll, v[2 * i], v[2 * i + 1]),
                                _mm512_maskz_unpackhi_pd(kAll, v[2 * i], v[2 * i + 1]));
    for (int i = 0; i < 2; ++i)
    {
        const __m512i low = _mm512_setr_epi64(0, 1, 8, 9, 4, 5, 12, 13);
        const __m512i high = _mm512_setr_epi64(2, 3, 10, 11, 6, 7, 14, 15);
        quad[i] = _mm512_add_pd(_mm512_permutex2var_pd(pair[2 * i], low, pair[2 * i + 1]),
                                _mm512_permutex2var_pd(pair[2 * i], high, pair[2 * i + 1]));
    }
    return _mm512_add_pd(_mm512_maskz_shuffle_f64x2(kAll, quad[0], quad[1], 0x44),
                         _mm512_maskz_shuffle_f64x2(kAll, quad[0], quad[1], 0xee));
}
/// The lanes behind @p lane; the others are 0.
inline Vector Behind(Vector v, int lane)
{
    return _mm512_maskz_mov_pd(__mmask8(0xffu << (lane + 1)), v);
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
/// Sum(v[i]) at lane i
inline Vector Sums(const Vector* v)
{
    const Vector a = _mm256_hadd_pd(v[0], v[1]), b = _mm256_hadd_pd(v[2], v[3]);
    return _mm256_add_pd(_mm256_permute2f128_pd(a, b, 0x20), _mm256_permute2f128_pd(a, b, 0x31));
}
/// The lanes behind @p lane; the others are 0.
inline Vector Behind(Vector v, int lane)
{
    const __m256i mask = _mm256_setr_epi64x(0, -(lane < 1), -(lane < 2), -(lane < 3));
    return _mm256_and_pd(v, _mm256_castsi256_pd(mask));
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
/// Sum(v[i]) at lane i
inline Vector Sums(const Vector* v)
{
    return _mm_add_pd(_mm_unpacklo_pd(v[0], v[1]), _mm_unpackhi_pd(v[0], v[1]));
}
/// The lanes behind @p lane; the others are 0.
inline Vector Behind(Vector v, int lane)
{
    return lane == 0 ? _mm_unpackhi_pd(_mm_setzero_pd(), v) : _mm_setzero_pd();
}

#endif

} // namespace numerics::KVI_SIMD
