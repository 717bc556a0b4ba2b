#include "foundation/math_impl_ConvertFloat.h"

#include "foundation/number/Decimal.h"
#include "foundation/number/NumberPrinter.h"
#include "platform/platform_fpu.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <type_traits>

namespace math::impl
{
namespace
{

using foundation::Decimal;
using foundation::Ending;
using foundation::IsSpace;

template <class T>
using EnvGuard = std::conditional_t<std::is_same_v<T, long double>, platform::LongDoubleEnvGuard,
                                    platform::FloatEnvGuard>;

constexpr bool IsSignificant(RoundType round)
{
    return round >= RoundType::significant && round <= RoundType::significant_truncated;
}

constexpr Ending EndingOf(RoundType round)
{
    switch (round)
    {
    case RoundType::significant_half_away:
    case RoundType::decimals_half_away:
        return Ending::nearestAway;
    case RoundType::significant_truncated:
    case RoundType::decimals_truncated:
        return Ending::cut;
    default:
        return Ending::nearestEven;
    }
}

// A number without its sign: the result of std::from_chars, but with a value also out of range.
template <class T>
[[gnu::noinline]] const char* ReadMagnitude(T& value, const char* first, const char* last)
{
    // NOLINTNEXTLINE(clang-analyzer-core.*): loses sight of a buffer that was filled from wide text
    if (first == last || *first == '-' || *first == '+')
        return first;
    const bool isWord = *first > '9';
    if constexpr (std::is_same_v<T, long double>)
    {
        // The standard library calls the C library here, which on Windows has no such type.
        if (!isWord)
        {
            Decimal decimal;
            const char* const end = decimal.Read(first, last);
            if (end != first)
                value = decimal.Nearest();
            return end;
        }
        double word = 0;
        const char* const end = ReadMagnitude(word, first, last);
        if (end != first)
            value = word;
        return end;
    }
    else
    {
        const auto [end, error] = std::from_chars(first, last, value);
        if (error == std::errc::result_out_of_range)
        {
            Decimal decimal;
            decimal.Read(first, end);
            value = decimal.point > 0 ? std::numeric_limits<T>::infinity() : T(0);
        }
        return end;
    }
}

template <class T>
bool ReadWhole(T& value, const char* first, const char* last)
{
    return first != last && ConvertFloat<T>::read(value, first, last) == last;
}

// The digits of the shortest text that reads back as @p value, which is finite and above zero.
template <class T>
Decimal Shortest(T value)
{
    Decimal result;
    if constexpr (std::is_same_v<T, long double>)
    {
        const Decimal exact = Decimal::Exact(value);
        // Text of up to digits10 digits comes back unchanged, but from subnormal values.
        using Limits = std::numeric_limits<T>;
        long kept = value < Limits::min() ? 1 : Limits::digits10;
        do
        {
            result = exact;
            result.Round(kept++, Ending::nearestEven);
        } while (result.Nearest() != value);
    }
    else
    {
        char room[64];
        const auto end = std::to_chars(room, room + sizeof room, value).ptr;
        result.Read(room, end);
    }
    return result;
}

// For values that the fast printers do not handle. Goes through long double, whatever T is.
template <class T>
[[gnu::noinline]] std::string ExactText(T value, int count, RoundType round)
{
    const std::string sign(std::signbit(value) ? "-" : "");
    if (value == 0)
        return sign + Decimal().Fixed(round < RoundType::decimals ? 0 : count);
    if (round == RoundType::shortest)
        return sign + Shortest(std::fabs(value)).General(std::numeric_limits<T>::max_digits10);
    Decimal decimal = Decimal::Exact(value);
    if (IsSignificant(round))
    {
        decimal.Round(std::max(count, 1), EndingOf(round));
        return sign + decimal.General(count);
    }
    decimal.Round(decimal.point + count, EndingOf(round));
    return sign + decimal.Fixed(count);
}

template <class T>
[[gnu::noinline]] std::string Text(T value, unsigned int digits, RoundType round)
{
    constexpr unsigned kMostDigits = 20000;
    const int count = int(std::min(digits, kMostDigits));
    std::string text;
    const bool isDouble = T(double(value)) == value || !std::isfinite(value);
    if (isDouble && round == RoundType::significant)
    {
        foundation::AppendSignificant(text, double(value), count);
        return text;
    }
    if (isDouble && (round == RoundType::decimals || !std::isfinite(value)))
    {
        foundation::AppendFixed(text, double(value), count);
        return text;
    }
    const platform::LongDoubleEnvGuard plain;
    return ExactText(value, count, round);
}

template <class T>
std::string GuardedText(T value, unsigned int digits, RoundType round)
{
    const EnvGuard<T> plain;
    return Text(value, digits, round);
}

} // namespace

template <class T>
const char* ConvertFloat<T>::read(T& value, const char* first, const char* last)
{
    // NOLINTNEXTLINE(clang-analyzer-core.*): as in ReadMagnitude
    const bool negative = first != last && *first == '-';
    const char* const magnitude = first + (negative || (first != last && *first == '+'));
    const EnvGuard<T> plain;
    const char* const end = ReadMagnitude(value, magnitude, last);
    if (end == magnitude)
        return first;
    if (negative)
        value = -value;
    return end;
}

template <class T>
void ConvertFloat<T>::from_string(T& value, const std::string& text)
{
    const char* first = text.data();
    const char* const last = first + text.size();
    while (first != last && IsSpace(*first))
        ++first;
    if (!ReadWhole(value, first, last))
        value = std::numeric_limits<T>::max();
}

template <class T>
void ConvertFloat<T>::from_string(T& value, const std::wstring& text)
{
    const auto first =
        std::find_if_not(text.begin(), text.end(), [](wchar_t c) { return IsSpace(c); });
    const auto size = std::size_t(text.end() - first);
    char room[128];
    std::string longer;
    char* narrow = room;
    if (size > sizeof room)
    {
        longer.resize(size);
        narrow = longer.data();
    }
    // One character that no number has replaces all the others.
    std::transform(first, text.end(), narrow,
                   [](wchar_t c) { return c > 0 && c < 0x80 ? char(c) : '?'; });
    if (!ReadWhole(value, narrow, narrow + size))
        value = std::numeric_limits<T>::max();
}

template <class T>
void ConvertFloat<T>::to_string(std::string& text, const T& value, unsigned int digits,
                                RoundType round)
{
    text = GuardedText(value, digits, round);
}

template <class T>
void ConvertFloat<T>::to_string(std::wstring& text, const T& value, unsigned int digits,
                                RoundType round)
{
    const std::string narrow = GuardedText(value, digits, round);
    text.assign(narrow.begin(), narrow.end());
}

template struct ConvertFloat<float>;
template struct ConvertFloat<double>;
template struct ConvertFloat<long double>;

} // namespace math::impl
