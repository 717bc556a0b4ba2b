#include "foundation/math_impl_ConvertInt.h"

#include "foundation/str_number_impl.h"

#include <charconv>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace math::impl
{
namespace
{

using str::impl::IsSpace;

// The type whose rules T follows: itself, but 32 bits for the long types on every platform.
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

template <class T, class Char>
T ReadDecimal(const std::basic_string<Char>& text)
{
    const Char* p = text.data();
    const Char* const end = p + text.size();
    // Digits stand above all ASCII white space and below all other: mostly one comparison.
    while (p != end && (*p <= Char(' ') || *p > Char('9')) && IsSpace(*p))
        ++p;
    if (p == end)
        return kFailure<T>;
    const bool negative = *p == Char('-');
    if (negative || *p == Char('+'))
        ++p;
    Sum<T> sum = 0;
    // Two digits at a time: the chain of multiplications is what takes the time.
    for (; end - p >= 2; p += 2)
    {
        const unsigned tens = unsigned(p[0]) - unsigned('0'), ones = unsigned(p[1]) - unsigned('0');
        if ((tens > 9) | (ones > 9))
            return kFailure<T>;
        sum = sum * 100 + (tens * 10 + ones);
    }
    if (p != end)
    {
        const unsigned digit = unsigned(*p) - unsigned('0');
        if (digit > 9)
            return kFailure<T>;
        sum = sum * 10 + digit;
    }
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
