#include "foundation/math_impl_ConvertInt.h"

#include "foundation/number/NumberPrinter.h"

#include <charconv>
#include <cstdint>
#include <emmintrin.h>
#include <limits>
#include <type_traits>

namespace math::impl
{
namespace
{

using foundation::IsSpace;

// The type whose rules T follows: T itself, but a 32-bit type for long on every platform.
template <class T>
struct Rules
{
    using Type = T;
};
template <>
struct Rules<long>
{
    using Type = std::int32_t;
};
template <>
struct Rules<unsigned long>
{
    using Type = std::uint32_t;
};

template <class T>
constexpr T kFailure = T(std::numeric_limits<typename Rules<T>::Type>::max());

// Sums wrap, so they are made in an unsigned type; 64 bits cost extra on 32-bit processors.
template <class T>
using Sum = std::conditional_t<sizeof(typename Rules<T>::Type) == 8, std::uint64_t, std::uint32_t>;

/// The four characters at @p p, then the four at @p q, as 16-bit numbers; a character that needs
/// more becomes one that is no digit.
template <class Char>
__m128i LoadFours(const Char* p, const Char* q)
{
    const auto* const first = reinterpret_cast<const __m128i*>(p);
    const auto* const second = reinterpret_cast<const __m128i*>(q);
    if constexpr (sizeof(Char) == 4)
        return _mm_packs_epi32(_mm_loadu_si128(first), _mm_loadu_si128(second));
    else if constexpr (sizeof(Char) == 2)
        return _mm_unpacklo_epi64(_mm_loadl_epi64(first), _mm_loadl_epi64(second));
    else
    {
        const __m128i bytes = _mm_unpacklo_epi32(_mm_loadu_si32(p), _mm_loadu_si32(q));
        return _mm_unpacklo_epi8(bytes, _mm_setzero_si128());
    }
}

constexpr std::uint32_t kNoNumber = 0xffffffff;

/// Reads @p count characters, 4 to 8, as decimal digits; @returns kNoNumber when one is not a
/// digit. The first four and the last four are taken at once; of those that overlap the weight is
/// 0.
template <class Char>
[[gnu::always_inline]] inline std::uint32_t ReadFourToEight(const Char* p, std::ptrdiff_t count)
{
    alignas(16) static constexpr std::int16_t kWeights[5][8] = {{10, 1, 10, 1, 0, 0, 0, 0},
                                                                {10, 1, 10, 1, 0, 0, 0, 1},
                                                                {10, 1, 10, 1, 0, 0, 10, 1},
                                                                {10, 1, 10, 1, 0, 100, 10, 1},
                                                                {10, 1, 10, 1, 1000, 100, 10, 1}};
    static constexpr std::uint32_t kPower[5] = {1, 10, 100, 1000, 10000};
    const std::ptrdiff_t more = count - 4;
    const __m128i digits = _mm_sub_epi16(LoadFours(p, p + more), _mm_set1_epi16('0'));
    const __m128i above = _mm_subs_epu16(digits, _mm_set1_epi16(9));
    if (_mm_movemask_epi8(_mm_cmpeq_epi16(above, _mm_setzero_si128())) != 0xffff)
        return kNoNumber;
    const auto* const weights = reinterpret_cast<const __m128i*>(kWeights[more]);
    const __m128i pairs = _mm_madd_epi16(digits, _mm_load_si128(weights));
    const __m128i sums =
        _mm_madd_epi16(_mm_packs_epi32(pairs, pairs), _mm_setr_epi16(100, 1, 1, 1, 0, 0, 0, 0));
    const auto head = std::uint32_t(_mm_cvtsi128_si32(sums));
    const auto tail = std::uint32_t(_mm_cvtsi128_si32(_mm_srli_epi64(sums, 32)));
    return head * kPower[more] + tail;
}

/// Any count of digits, whose sum wraps; two at a time, because the chain of multiplications is
/// what takes the time. @returns false when a character is not a digit
template <class Sum, class Char>
bool ReadDigits(Sum& sum, const Char* p, const Char* end)
{
    for (; end - p >= 2; p += 2)
    {
        const unsigned tens = unsigned(p[0]) - unsigned('0'), ones = unsigned(p[1]) - unsigned('0');
        if ((tens > 9) | (ones > 9))
            return false;
        sum = sum * 100 + (tens * 10 + ones);
    }
    if (p != end)
    {
        const unsigned digit = unsigned(*p) - unsigned('0');
        if (digit > 9)
            return false;
        sum = sum * 10 + digit;
    }
    return true;
}

template <class T, class Char>
T ReadDecimal(const std::basic_string<Char>& text)
{
    const Char* p = text.data();
    const Char* const end = p + text.size();
    bool negative = false;
    if (p == end || *p < Char('0') || *p > Char('9')) [[unlikely]]
    {
        while (p != end && IsSpace(*p))
            ++p;
        if (p == end)
            return kFailure<T>;
        negative = *p == Char('-');
        p += negative || *p == Char('+');
    }
    Sum<T> sum = 0;
    if (end - p >= 4 && end - p <= 8) [[likely]]
    {
        const std::uint32_t digits = ReadFourToEight(p, end - p);
        if (digits == kNoNumber)
            return kFailure<T>;
        sum = digits;
    }
    else if (!ReadDigits(sum, p, end))
        return kFailure<T>;
    return T(typename Rules<T>::Type(negative ? Sum<T>(0) - sum : sum));
}

// 0 to 35 for a digit or a letter, 36 for any other character.
template <class Char>
int DigitOf(Char c)
{
    if (c >= Char('0') && c <= Char('9'))
        return int(c - Char('0'));
    const Char lower = Char(c | 0x20);
    return lower >= Char('a') && lower <= Char('z') ? int(lower - Char('a')) + 10 : 36;
}

template <class T, class Char>
T ReadInBase(const std::basic_string<Char>& text, int base)
{
    if (text.empty())
        return kFailure<T>;
    if (base < 0 || base == 1 || base > 36)
        return 0;
    // The terminator is no digit, so it ends every loop.
    const Char* p = text.c_str();
    while (IsSpace(*p))
        ++p;
    const bool negative = *p == Char('-');
    if (negative || *p == Char('+'))
        ++p;
    const bool hex = p[0] == Char('0') && (p[1] | 0x20) == Char('x') && DigitOf(p[2]) < 16;
    if (hex && (base == 0 || base == 16))
    {
        p += 2;
        base = 16;
    }
    else if (base == 0)
        base = *p == Char('0') ? 8 : 10;
    // As far as the signed type of the rules' width reaches on this side of zero.
    const std::uint64_t limit =
        (sizeof(Sum<T>) == 8 ? std::uint64_t(INT64_MAX) : std::uint64_t(INT32_MAX)) + negative;
    std::uint64_t sum = 0;
    for (int digit; (digit = DigitOf(*p)) < base; ++p)
    {
        const bool fits = sum <= (limit - unsigned(digit)) / unsigned(base);
        sum = fits ? sum * unsigned(base) + unsigned(digit) : limit;
    }
    return T(typename Rules<T>::Type(negative ? 0 - sum : sum));
}

template <class T, class Char>
void Write(std::basic_string<Char>& text, T value, int base)
{
    text.clear();
    if (base < 2 || base > 36)
        return;
    char room[65];
    const auto wide = std::conditional_t<std::is_signed_v<T>, long long, unsigned long long>(value);
    text.assign(room, std::to_chars(room, room + sizeof room, wide, base).ptr);
}

} // namespace

template <class T>
void ConvertInt<T>::from_string(T& value, const std::string& text)
{
    value = ReadDecimal<T>(text);
}

template <class T>
void ConvertInt<T>::from_string(T& value, const std::wstring& text)
{
    value = ReadDecimal<T>(text);
}

template <class T>
void ConvertInt<T>::from_string(T& value, const std::string& text, int base)
{
    value = ReadInBase<T>(text, base);
}

template <class T>
void ConvertInt<T>::from_string(T& value, const std::wstring& text, int base)
{
    value = ReadInBase<T>(text, base);
}

template <class T>
void ConvertInt<T>::to_string(std::string& text, const T& value, int base)
{
    Write(text, value, base);
}

template <class T>
void ConvertInt<T>::to_string(std::wstring& text, const T& value, int base)
{
    Write(text, value, base);
}

template struct ConvertInt<char>;
template struct ConvertInt<unsigned char>;
template struct ConvertInt<short>;
template struct ConvertInt<unsigned short>;
template struct ConvertInt<int>;
template struct ConvertInt<unsigned int>;
template struct ConvertInt<long>;
template struct ConvertInt<unsigned long>;
template struct ConvertInt<long long>;
template struct ConvertInt<unsigned long long>;

} // namespace math::impl
