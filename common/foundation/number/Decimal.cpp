#include "foundation/number/Decimal.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <compare>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <vector>

namespace foundation
{
namespace
{

using Limits = std::numeric_limits<long double>;
static_assert(Limits::radix == 2 && Limits::digits <= 64, "mantissas are held in 64 bits");

constexpr std::uint32_t kBillion = 1000000000;

// An unsigned whole number of any size, lowest limb first, the highest one not zero.
class Natural
{
public:
    explicit Natural(std::uint64_t value)
    {
        for (; value != 0; value >>= 32)
            limbs_.push_back(std::uint32_t(value));
    }

    bool IsZero() const { return limbs_.empty(); }

    long BitWidth() const
    {
        return IsZero() ? 0 : 32 * long(limbs_.size()) - std::countl_zero(limbs_.back());
    }

    // this * factor + addend
    void MultiplyAdd(std::uint32_t factor, std::uint32_t addend)
    {
        std::uint64_t carry = addend;
        for (std::uint32_t& limb : limbs_)
        {
            carry += std::uint64_t(limb) * factor;
            limb = std::uint32_t(carry);
            carry >>= 32;
        }
        if (carry != 0)
            limbs_.push_back(std::uint32_t(carry));
    }

    // this * base^exponent, for a base up to 10
    void MultiplyPower(std::uint32_t base, long exponent)
    {
        const std::uint32_t base9 = base == 10 ? kBillion : 1953125; // 5^9
        for (; exponent >= 9; exponent -= 9)
            MultiplyAdd(base9, 0);
        for (; exponent > 0; --exponent)
            MultiplyAdd(base, 0);
    }

    // Divides by 10^9. @returns the remainder
    std::uint32_t DivideByBillion()
    {
        std::uint64_t rest = 0;
        for (auto limb = limbs_.rbegin(); limb != limbs_.rend(); ++limb)
        {
            rest = rest << 32 | *limb;
            *limb = std::uint32_t(rest / kBillion);
            rest %= kBillion;
        }
        Normalise();
        return std::uint32_t(rest);
    }

    void ShiftLeft(long bits)
    {
        if (const long part = bits % 32; part != 0)
            MultiplyAdd(std::uint32_t(1) << part, 0);
        if (!IsZero())
            limbs_.insert(limbs_.begin(), std::size_t(bits / 32), 0);
    }

    // this - other, which is not greater
    void Subtract(const Natural& other)
    {
        std::uint64_t borrow = 0;
        for (std::size_t i = 0; i < limbs_.size(); ++i)
        {
            const std::uint64_t take = borrow + (i < other.limbs_.size() ? other.limbs_[i] : 0);
            borrow = take > limbs_[i];
            limbs_[i] = std::uint32_t(limbs_[i] - take);
        }
        Normalise();
    }

    friend std::strong_ordering operator<=>(const Natural& a, const Natural& b)
    {
        if (a.limbs_.size() != b.limbs_.size())
            return a.limbs_.size() <=> b.limbs_.size();
        return std::lexicographical_compare_three_way(a.limbs_.rbegin(), a.limbs_.rend(),
                                                      b.limbs_.rbegin(), b.limbs_.rend());
    }

private:
    void Normalise()
    {
        while (!limbs_.empty() && limbs_.back() == 0)
            limbs_.pop_back();
    }

    std::vector<std::uint32_t> limbs_;
};

void StripTrailingZeros(std::string& digits) { digits.erase(digits.find_last_not_of('0') + 1); }

// The whole number that @p digits spell.
Natural Spelled(const std::string& digits)
{
    Natural number(0);
    for (std::size_t i = 0; i < digits.size(); i += 9)
    {
        const std::size_t count = std::min<std::size_t>(9, digits.size() - i);
        std::uint32_t part = 0, power = 1;
        for (std::size_t j = 0; j < count; ++j, power *= 10)
            part = part * 10 + std::uint32_t(digits[i + j] - '0');
        number.MultiplyAdd(power, part);
    }
    return number;
}

// numerator / denominator, rounded to the nearest long double.
long double Quotient(Natural numerator, Natural denominator)
{
    // 2^width <= numerator / denominator < 2^(width + 1)
    long width = numerator.BitWidth() - denominator.BitWidth();
    (width < 0 ? numerator : denominator).ShiftLeft(std::labs(width));
    const bool less = numerator < denominator;
    width -= less;
    // The unit of the last place, which subnormal values share.
    const long unit =
        std::max<long>(width + 1 - Limits::digits, Limits::min_exponent - Limits::digits);
    const long bits = width + 1 - unit; // of the whole number of units; none or negative near zero
    if (bits < 0)
        return 0;
    // numerator / denominator is now below 2 and becomes below 1, the units over 2^bits.
    if (!less)
        denominator.ShiftLeft(1);
    std::uint64_t units = 0;
    for (long i = 0; i < bits; ++i)
    {
        numerator.ShiftLeft(1);
        const bool bit = !(numerator < denominator);
        if (bit)
            numerator.Subtract(denominator);
        units = units << 1 | bit;
    }
    numerator.ShiftLeft(1);
    const auto half = numerator <=> denominator;
    const bool up = half > 0 || (half == 0 && (units & 1) != 0);
    return std::ldexp((long double)(units) + (long double)(up), int(unit));
}

} // namespace

Decimal Decimal::Exact(long double value)
{
    Decimal result;
    int exponent = 0;
    auto mantissa = std::uint64_t(std::ldexp(std::frexp(std::fabs(value), &exponent), 64));
    if (mantissa == 0)
        return result;
    exponent += std::countr_zero(mantissa) - 64;
    mantissa >>= std::countr_zero(mantissa);
    Natural number(mantissa);
    if (exponent >= 0)
        number.ShiftLeft(exponent);
    else // m / 2^k = m * 5^k / 10^k
        number.MultiplyPower(5, -exponent);
    std::string backwards;
    while (!number.IsZero())
    {
        std::uint32_t nine = number.DivideByBillion();
        for (int i = 0; i < 9; ++i, nine /= 10)
            backwards.push_back(char('0' + nine % 10));
    }
    StripTrailingZeros(backwards);
    result.digits.assign(backwards.rbegin(), backwards.rend());
    result.point = long(result.digits.size()) + std::min(exponent, 0);
    StripTrailingZeros(result.digits);
    return result;
}

const char* Decimal::Read(const char* first, const char* last)
{
    // Far beyond every exponent, and far below the end of the type.
    constexpr long kFar = 1000000000;
    digits.clear();
    point = 0;
    bool any = false, behindPoint = false;
    const char* p = first;
    for (; p != last; ++p)
    {
        if (*p == '.' && !behindPoint)
        {
            behindPoint = true;
            continue;
        }
        if (*p < '0' || *p > '9')
            break;
        any = true;
        if (!digits.empty() || *p != '0')
            digits.push_back(*p);
        if (behindPoint)
            point -= digits.empty();
        else
            point += !digits.empty();
    }
    if (!any)
        return first;
    StripTrailingZeros(digits);
    const char* e = p;
    if (e != last && (*e == 'e' || *e == 'E') && ++e != last)
    {
        const bool negative = *e == '-';
        if ((negative || *e == '+') && ++e == last)
            return p;
        int exponent = 0;
        const auto [end, error] = std::from_chars(e, last, exponent);
        if (end != e && *e != '-')
        {
            const long size = error == std::errc() ? std::min<long>(exponent, kFar) : kFar;
            point += negative ? -size : size;
            p = end;
        }
    }
    return p;
}

void Decimal::Round(long kept, Ending ending)
{
    if (kept >= long(digits.size()))
        return;
    bool up = false;
    if (kept >= 0 && ending != Ending::cut)
    {
        const char next = digits[std::size_t(kept)];
        const bool half = next == '5' && kept + 1 == long(digits.size());
        const bool odd = kept > 0 && (digits[std::size_t(kept) - 1] - '0') % 2 != 0;
        up = half ? odd || ending == Ending::nearestAway : next >= '5';
    }
    digits.resize(std::size_t(std::max(kept, 0L)));
    if (up)
    {
        digits.erase(digits.find_last_not_of('9') + 1);
        if (digits.empty())
        {
            digits = "1";
            ++point;
        }
        else
            ++digits.back();
    }
    StripTrailingZeros(digits);
}

long double Decimal::Nearest() const
{
    if (digits.empty() || point < Limits::min_exponent10 - Limits::digits10 - 3)
        return 0;
    if (point > Limits::max_exponent10 + 1)
        return Limits::infinity();
    // A value halfway between two long doubles has fewer digits than this, so one digit can
    // represent all that follow.
    constexpr std::size_t kMostDigits = (Limits::max_exponent + Limits::digits) * 7 / 10 + 20;
    std::string used = digits.substr(0, kMostDigits);
    if (digits.size() > kMostDigits)
        used.push_back('1');
    Natural numerator = Spelled(used), denominator(1);
    const long exponent = point - long(used.size());
    (exponent < 0 ? denominator : numerator).MultiplyPower(10, std::labs(exponent));
    return Quotient(std::move(numerator), std::move(denominator));
}

std::string Decimal::Fixed(long decimals) const
{
    const auto places = std::size_t(decimals);
    std::string text = point > 0 ? digits.substr(0, std::size_t(point)) : "0";
    if (point > 0)
        text.resize(std::size_t(point), '0');
    if (places == 0)
        return text;
    const std::size_t end = text.size() + 1 + places;
    text.push_back('.');
    if (digits.empty())
        return text.append(places, '0');
    text.append(std::min(places, std::size_t(std::max(-point, 0L))), '0');
    if (const auto first = std::size_t(std::max(point, 0L)); first < digits.size())
        text.append(digits, first, end - text.size());
    text.resize(end, '0');
    return text;
}

std::string Decimal::General(long most) const
{
    const long exponent = digits.empty() ? 0 : point - 1;
    if (exponent >= -4 && exponent < std::max(most, 1L))
        return Fixed(std::max(long(digits.size()) - point, 0L));
    std::string text(1, digits[0]);
    if (digits.size() > 1)
        text.append(1, '.').append(digits, 1);
    const std::string size = std::to_string(std::labs(exponent));
    text.append(exponent < 0 ? "e-" : "e+");
    return text.append(size.size() < 2 ? "0" : "").append(size);
}

} // namespace foundation
