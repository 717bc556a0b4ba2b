#include "foundation/number/NumberPrinter.h"

#include "foundation/number/ProductError.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <emmintrin.h>
#include <limits>

namespace foundation
{
namespace
{

constexpr double kPower[] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                             1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};

// 10^(16 i) for i = -19 to 19
constexpr double kPower16[] = {1e-304, 1e-288, 1e-272, 1e-256, 1e-240, 1e-224, 1e-208, 1e-192,
                               1e-176, 1e-160, 1e-144, 1e-128, 1e-112, 1e-96,  1e-80,  1e-64,
                               1e-48,  1e-32,  1e-16,  1e0,    1e16,   1e32,   1e48,   1e64,
                               1e80,   1e96,   1e112,  1e128,  1e144,  1e160,  1e176,  1e192,
                               1e208,  1e224,  1e240,  1e256,  1e272,  1e288,  1e304};

constexpr std::uint64_t kAscii = 0x3030303030303030; // makes characters of eight digits

// How many of the last (the highest) bytes are zero. Counted from the low end of the turned bytes:
// not every processor counts fast from the high end.
int ZeroBytesAtEnd(std::uint64_t bytes) { return std::countr_zero(__builtin_bswap64(bytes)) / 8; }

// The sixteen digits of a value below 10^16, zeros leading.
struct SixteenDigits
{
    std::uint64_t front, back; // 0 to 9, the first digit in the lowest byte

    explicit SixteenDigits(std::uint64_t value)
        : SixteenDigits(std::uint32_t(value / 100000000), std::uint32_t(value % 100000000))
    {
    }
    // Of two values below 10^8.
    SixteenDigits(std::uint32_t high, std::uint32_t low)
    {
        static_assert(std::endian::native == std::endian::little);
        // Each step halves the groups of digits of all lanes at once: the quotient, with a
        // multiplication by the reciprocal, stays, and the rest goes to the next higher place.
        const __m128i eights = _mm_set_epi32(0, int(low), 0, int(high));
        const __m128i thousands =
            _mm_srli_epi64(_mm_mul_epu32(eights, _mm_set1_epi32(int(0xd1b71759))), 45);
        const __m128i rests =
            _mm_sub_epi32(eights, _mm_mul_epu32(thousands, _mm_set1_epi32(10000)));
        const __m128i fours = _mm_or_si128(thousands, _mm_slli_epi64(rests, 32));
        const __m128i hundreds = _mm_srli_epi16(_mm_mulhi_epu16(fours, _mm_set1_epi16(10486)), 4);
        const __m128i below = _mm_sub_epi16(fours, _mm_mullo_epi16(hundreds, _mm_set1_epi32(100)));
        const __m128i twos = _mm_or_si128(hundreds, _mm_slli_epi32(below, 16));
        const __m128i tens = _mm_srli_epi16(_mm_mullo_epi16(twos, _mm_set1_epi16(103)), 10);
        const __m128i digits = _mm_add_epi16(_mm_slli_epi16(twos, 8),
                                             _mm_mullo_epi16(tens, _mm_set1_epi16(1 - 10 * 256)));
        std::uint64_t halves[2];
        _mm_storeu_si128(reinterpret_cast<__m128i*>(halves), digits);
        front = halves[0];
        back = halves[1];
    }

    int LeadingZeros() const
    {
        return front != 0 ? std::countr_zero(front) / 8 : 8 + std::countr_zero(back) / 8;
    }
    int TrailingZeros() const
    {
        return back != 0 ? ZeroBytesAtEnd(back) : 8 + ZeroBytesAtEnd(front);
    }

    // Writes 16 bytes that begin with the last @p count digits, 1 to 16. Shifted in registers: a
    // load across two fresh stores would wait for both.
    void WriteLast(char* out, int count) const
    {
        const int bits = 8 * (16 - count) & 63;
        const std::uint64_t low = (count <= 8 ? back : front) | kAscii;
        const std::uint64_t high = count <= 8 ? 0 : back | kAscii;
        const std::uint64_t shifted[2] = {low >> bits | high << 1 << (63 - bits), high >> bits};
        std::memcpy(out, shifted, sizeof shifted);
    }
};

// Whether magnitude * power, which @p scaled is rounded and @p floor without its fraction, goes up
// to the next whole number; for a product below 2^52.
bool RoundsUp(double magnitude, double power, double scaled, std::int64_t floor)
{
    // Below 2^52 part and 0.5 are whole units of the last place of scaled, the rounding error of
    // scaled is at most half of one: only a part of exactly 0.5 needs that error.
    const double part = scaled - double(floor);
    if (part == 0.5) [[unlikely]]
    {
        const double error = ProductError(magnitude, power, scaled);
        return error > 0 || (error == 0 && (floor & 1) != 0);
    }
    return part > 0.5;
}

// A value rounded to a count of digits, whose first one stands for 10^exponent; all zero for 0.
struct Rounded
{
    std::uint64_t digits;
    int exponent;
};

// Rounds @p magnitude, not negative, to 1 to 12 digits; false when the last one is in doubt.
bool Round(Rounded& rounded, double magnitude, int digits)
{
    constexpr double kLeast = std::numeric_limits<double>::min();
    constexpr double kMost = std::numeric_limits<double>::max();
    rounded = {0, 0};
    if (digits < 1 || digits > 12 || !(magnitude >= kLeast && magnitude <= kMost))
        return magnitude == 0 && digits >= 1 && digits <= 12;
    // Reading exponent and mantissa as one number gives log2 with an error of -0.09 to 0, hence the
    // decimal exponent or, rarely, one less. The factor is log10(2) * 2^30, cut; taking off what
    // that adds to a negative product prevents an exponent too large by one.
    const auto bits = std::int64_t(std::bit_cast<std::uint64_t>(magnitude) >> 32);
    const std::int64_t log2 = bits - (std::int64_t(1023) << 20);
    int exponent = int((log2 * 323228496 - (std::int64_t(1) << 30)) >> 50);
    const double limit = kPower[digits];
    double scaled;
    for (;; ++exponent)
    {
        const int power = digits - 1 - exponent;
        const int sixteens = power >> 4;
        if (sixteens < -19 || sixteens > 19)
            return false;
        scaled = magnitude * kPower16[sixteens + 19] * kPower[power & 15];
        if (scaled < limit)
            break;
    }
    std::int64_t units = std::int64_t(scaled);
    const double part = scaled - double(units);
    // Two powers and two products, each rounded by at most 2^-53 of its size.
    if (std::fabs(part - 0.5) <= scaled * 0x1p-50)
        return false;
    units += part > 0.5;
    if (units >= std::int64_t(limit))
    {
        units /= 10;
        ++exponent;
    }
    rounded = {std::uint64_t(units), exponent};
    return true;
}

char* WriteExponent(char* out, int exponent)
{
    *out++ = 'e';
    *out++ = exponent < 0 ? '-' : '+';
    const int size = std::abs(exponent);
    if (size >= 100)
        *out++ = char('0' + size / 100);
    *out++ = char('0' + size / 10 % 10);
    *out++ = char('0' + size % 10);
    return out;
}

// The last @p count of @p digits as d.ddd times 10^exponent in the shapes of "%g", of which @p kept
// are not trailing zeros. Overwrites 32 characters.
char* WriteGeneral(char* out, const SixteenDigits& digits, int count, int kept, int exponent)
{
    if (exponent < -4 || exponent >= count)
    {
        // The first digit is written twice, and the point over the second of them.
        digits.WriteLast(out + 1, count);
        out[0] = out[1];
        out[1] = '.';
        out += kept > 1 ? kept + 1 : 1;
        return WriteExponent(out, exponent);
    }
    if (exponent < 0)
    {
        std::memcpy(out, "0.00000", 8);
        digits.WriteLast(out + 1 - exponent, count);
        return out + 1 - exponent + kept;
    }
    digits.WriteLast(out, count);
    const int whole = exponent + 1;
    if (kept <= whole)
        return out + whole;
    out[whole] = '.';
    digits.WriteLast(out + whole + 1, count - whole);
    return out + kept + 1;
}

// The C library's text, for values that the fast printers do not handle.
void AppendExact(std::string& text, double value, std::chars_format format, int places)
{
    // No double has more digits than this that are not zero.
    constexpr int kMostPlaces = 1074;
    char room[kMostPlaces + 320];
    const int exact = places < 0 ? 6 : places;
    const int printed = std::min(exact, kMostPlaces);
    char* const end = std::to_chars(room, room + sizeof room, value, format, printed).ptr;
    if (exact == printed || format == std::chars_format::general || !std::isfinite(value))
    {
        text.append(room, end);
        return;
    }
    char* exponent = end;
    if (format == std::chars_format::scientific)
        while (*--exponent != 'e')
        {
        }
    text.append(room, exponent).append(std::size_t(exact - printed), '0').append(exponent, end);
}

} // namespace

int ShortFixed(char* out, double value, int decimals, int keep)
{
    constexpr std::uint32_t kPowers[] = {1, 10, 100, 1000, 10000, 100000, 1000000};
    constexpr double kLimit = 9999999;
    const std::uint64_t bits = std::bit_cast<std::uint64_t>(value);
    const std::uint64_t magnitude = bits << 1 >> 1;
    if (decimals < 1 || decimals > 6 || magnitude >= std::bit_cast<std::uint64_t>(kLimit))
        return 0;
    // The magnitude is mantissa / 2^shift. Below 2^-40 it is shown as 0, whatever the mantissa.
    const int shift = std::min(1023 + 52 + 4 - int(magnitude >> 52), 95); // 33 to 95
    const std::uint64_t mantissa = ((magnitude << 12 >> 12) | std::uint64_t(1) << 52) << 4;
    const std::uint64_t whole64 = shift < 64 ? mantissa >> shift : 0;
    const std::uint64_t rest = mantissa - (shift < 64 ? whole64 << shift : 0);
    // The decimals are rest * power / 2^shift, rounded half to even. The product, of up to 77 bits,
    // is high * 2^32 + low.
    const std::uint32_t power = kPowers[decimals];
    const std::uint64_t low = std::uint64_t(std::uint32_t(rest)) * power;
    const std::uint64_t high = (rest >> 32) * power + (low >> 32);
    std::uint32_t fraction = std::uint32_t(high >> (shift - 32));
    const std::uint64_t half = std::uint64_t(1) << (shift - 33);
    const std::uint64_t below = high & (2 * half - 1);
    const bool more = std::uint32_t(low) != 0 || (fraction & 1) != 0;
    fraction += below + more > half;
    std::uint32_t whole = std::uint32_t(whole64);
    if (fraction == power) [[unlikely]]
    {
        ++whole;
        fraction = 0;
    }
    const SixteenDigits digits(whole, fraction);
    // All in registers and stored at once: reading back overlapping stores takes longer than
    // computing the digits.
    const bool negative = bits != magnitude;
    const int leadingZeros = std::countr_zero(digits.front | std::uint64_t(1) << 56) / 8;
    const int point = negative + 8 - leadingZeros; // 1 to 8
    const std::uint64_t head =
        (digits.front | kAscii) >> 8 * leadingZeros << 8 * negative | (negative ? '-' : 0);
    const std::uint64_t behind = digits.back >> (64 - 8 * decimals) << 8 | '.';
    const std::uint64_t tail = behind | (kAscii >> 16 << 8);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out),
                     _mm_set_epi64x(std::int64_t(tail >> (64 - 8 * point)),
                                    std::int64_t(head | tail << 8 * (point - 1) << 8)));
    return point + 1 + std::max(7 - ZeroBytesAtEnd(behind), keep);
}

char* FastFixed(char* out, double value, int decimals)
{
    if (unsigned(decimals) > 15)
        return nullptr;
    const double magnitude = std::fabs(value), power = kPower[decimals];
    const double scaled = magnitude * power;
    if (!(scaled < 0x1p52)) // also for NaN
        return nullptr;
    const std::int64_t floor = std::int64_t(scaled);
    const SixteenDigits digits(std::uint64_t(floor) + RoundsUp(magnitude, power, scaled, floor));
    *out = '-';
    out += std::signbit(value);
    const int whole = std::max(16 - digits.LeadingZeros() - decimals, 1);
    digits.WriteLast(out, whole + decimals);
    out += whole;
    if (decimals == 0)
        return out;
    *out = '.';
    digits.WriteLast(out + 1, decimals);
    return out + 1 + decimals;
}

char* FastSignificant(char* out, double value, int digits)
{
    Rounded rounded;
    if (!Round(rounded, std::fabs(value), digits))
        return nullptr;
    *out = '-';
    out += std::signbit(value);
    if (rounded.digits == 0)
    {
        *out = '0';
        return out + 1;
    }
    const SixteenDigits all(rounded.digits);
    return WriteGeneral(out, all, digits, digits - all.TrailingZeros(), rounded.exponent);
}

char* FastScientific(char* out, double value, int decimals)
{
    Rounded rounded;
    if (decimals < 0 || !Round(rounded, std::fabs(value), decimals + 1))
        return nullptr;
    *out = '-';
    out += std::signbit(value);
    // The first digit is written twice, and the point over the second of them.
    const SixteenDigits all(rounded.digits);
    all.WriteLast(out + 1, decimals + 1);
    out[0] = out[1];
    out[1] = '.';
    return WriteExponent(out + (decimals > 0 ? 2 + decimals : 1), rounded.exponent);
}

void AppendFixed(std::string& text, double value, int decimals)
{
    char room[kFastRoom];
    if (char* const end = FastFixed(room, value, decimals))
        text.append(room, end);
    else
        AppendExact(text, value, std::chars_format::fixed, decimals);
}

void AppendSignificant(std::string& text, double value, int digits)
{
    char room[kFastRoom];
    if (char* const end = FastSignificant(room, value, digits))
        text.append(room, end);
    else
        AppendExact(text, value, std::chars_format::general, digits);
}

void AppendScientific(std::string& text, double value, int decimals)
{
    char room[kFastRoom];
    if (char* const end = FastScientific(room, value, decimals))
        text.append(room, end);
    else
        AppendExact(text, value, std::chars_format::scientific, decimals);
}

} // namespace foundation
