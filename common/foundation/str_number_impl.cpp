#include "foundation/str_number_impl.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace str::impl
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

// The digits of a value below 10^8, most significant in the lowest byte, as numbers 0 to 9.
// Each step halves the groups of digits of all lanes at once; the multipliers are reciprocals.
std::uint64_t EightDigits(std::uint32_t value)
{
    const std::uint64_t fours = value / 10000 | std::uint64_t(value % 10000) << 32;
    const std::uint64_t high = (fours * 10486 >> 20) & 0x0000007f0000007f;
    const std::uint64_t twos = high | (fours - high * 100) << 16;
    const std::uint64_t tens = (twos * 103 >> 10) & 0x000f000f000f000f;
    return tens | (twos - tens * 10) << 8;
}

// The sixteen digits of a value below 10^16, zeros leading.
struct SixteenDigits
{
    std::uint64_t front, back; // ASCII, the first digit in the lowest byte
    int leadingZeros;
    int trailingZeros;

    explicit SixteenDigits(std::uint64_t value)
    {
        static_assert(std::endian::native == std::endian::little);
        constexpr std::uint64_t kZeros = 0x3030303030303030;
        front = EightDigits(std::uint32_t(value / 100000000));
        back = EightDigits(std::uint32_t(value % 100000000));
        leadingZeros = front != 0 ? std::countr_zero(front) / 8 : 8 + std::countr_zero(back) / 8;
        trailingZeros = back != 0 ? std::countl_zero(back) / 8 : 8 + std::countl_zero(front) / 8;
        front |= kZeros;
        back |= kZeros;
    }

    // Writes 16 bytes that begin with the last @p count digits, 1 to 16. Shifted in registers: a
    // load across two fresh stores would wait for both.
    void WriteLast(char* out, int count) const
    {
        const int bits = 8 * (16 - count) & 63;
        const std::uint64_t low = count <= 8 ? back : front, high = count <= 8 ? 0 : back;
        const std::uint64_t shifted[2] = {low >> bits | high << 1 << (63 - bits), high >> bits};
        std::memcpy(out, shifted, sizeof shifted);
    }
};

// a * b - product, exactly, for a product that is a * b rounded (Dekker 1971, Numer. Math. 18).
double ProductError(double a, double b, double product)
{
    constexpr double kSplit = 0x1p27 + 1;
    const double aHigh = kSplit * a - (kSplit * a - a), aLow = a - aHigh;
    const double bHigh = kSplit * b - (kSplit * b - b), bLow = b - bHigh;
    return ((aHigh * bHigh - product) + aHigh * bLow + aLow * bHigh) + aLow * bLow;
}

// Copies 16 bytes, of which the caller keeps the first few.
void Copy16(char* to, const char* from) { std::memcpy(to, from, 16); }

// A value as digits[0].digits[1]... times 10^exponent, for the shapes of "%g".
char* WriteGeneral(char* out, const char* digits, int count, int kept, int exponent)
{
    if (exponent < -4 || exponent >= count)
    {
        *out++ = digits[0];
        *out = '.';
        Copy16(out + 1, digits + 1);
        out += kept > 1 ? kept : 0;
        *out++ = 'e';
        *out++ = exponent < 0 ? '-' : '+';
        const int size = std::abs(exponent);
        if (size >= 100)
            *out++ = char('0' + size / 100);
        *out++ = char('0' + size / 10 % 10);
        *out++ = char('0' + size % 10);
        return out;
    }
    if (exponent < 0)
    {
        std::fill_n(out, 6, '0');
        out[1] = '.';
        Copy16(out + 1 - exponent, digits);
        return out + 1 - exponent + kept;
    }
    Copy16(out, digits);
    const int whole = exponent + 1;
    if (kept <= whole)
        return out + whole;
    out[whole] = '.';
    Copy16(out + whole + 1, digits + whole);
    return out + kept + 1;
}

// The C library's text when the fast printers cannot give it.
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

char* FastFixed(char* out, double value, int decimals)
{
    if (unsigned(decimals) > 15)
        return nullptr;
    const double magnitude = std::fabs(value), power = kPower[decimals];
    const double scaled = magnitude * power;
    if (!(scaled < 0x1p52)) // also for NaN
        return nullptr;
    const std::int64_t floor = std::int64_t(scaled);
    const double part = scaled - double(floor);
    // Below 2^52 part and 0.5 are whole units of the last place of scaled, the rounding error of
    // scaled is at most half of one: only a part of exactly 0.5 needs that error.
    bool up = part > 0.5;
    if (part == 0.5) [[unlikely]]
    {
        const double error = ProductError(magnitude, power, scaled);
        up = error > 0 || (error == 0 && (floor & 1) != 0);
    }
    const SixteenDigits digits(std::uint64_t(floor) + up);
    *out = '-';
    out += std::signbit(value);
    const int whole = std::max(16 - digits.leadingZeros - decimals, 1);
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
    const double magnitude = std::fabs(value);
    constexpr double kLeast = std::numeric_limits<double>::min();
    constexpr double kMost = std::numeric_limits<double>::max();
    if (digits < 1 || digits > 12 ||
        !(magnitude == 0 || (magnitude >= kLeast && magnitude <= kMost)))
        return nullptr;
    *out = '-';
    out += std::signbit(value);
    if (magnitude == 0)
    {
        *out = '0';
        return out + 1;
    }
    // Reading exponent and mantissa as one number gives log2 with an error of -0.09 to 0, hence
    // the decimal exponent or, rarely, one less. 315652 is log10(2) * 2^20, rounded down.
    const auto bits = std::int64_t(std::bit_cast<std::uint64_t>(magnitude) >> 32);
    int exponent = int((bits - (std::int64_t(1023) << 20)) * 315652 >> 40);
    const double limit = kPower[digits];
    double scaled;
    for (;; ++exponent)
    {
        const int power = digits - 1 - exponent;
        const int sixteens = power >> 4;
        if (sixteens < -19 || sixteens > 19)
            return nullptr;
        scaled = magnitude * kPower16[sixteens + 19] * kPower[power & 15];
        if (scaled < limit)
            break;
    }
    std::int64_t rounded = std::int64_t(scaled);
    const double part = scaled - double(rounded);
    // Two powers and two products, each rounded by at most 2^-53 of its size.
    if (std::fabs(part - 0.5) <= scaled * 0x1p-50)
        return nullptr;
    rounded += part > 0.5;
    if (rounded >= std::int64_t(limit))
    {
        rounded /= 10;
        ++exponent;
    }
    const SixteenDigits all((std::uint64_t(rounded)));
    char text[32] = {};
    all.WriteLast(text, digits);
    return WriteGeneral(out, text, digits, digits - all.trailingZeros, exponent);
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
    AppendExact(text, value, std::chars_format::scientific, decimals);
}

} // namespace str::impl
