#include "sys/sys_reg_ScanTarget.h"

#include "foundation/str.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <type_traits>

namespace sys::reg
{
namespace
{
bool IsDigit(char c) { return c >= '0' && c <= '9'; }

void SkipSpace(std::string_view& text)
{
    while (!text.empty() && str::is_space(text.front()))
        text.remove_prefix(1);
}

/// Removes a sign; true for minus.
bool TakeSign(std::string_view& text)
{
    const bool minus = text.starts_with('-');
    if (minus || text.starts_with('+'))
        text.remove_prefix(1);
    return minus;
}

/// The base that a conversion reads in; removes the prefix of a hexadecimal number.
int TakeBase(std::string_view& text, char conversion)
{
    const bool hexMark = text.size() > 2 && text[0] == '0' && (text[1] | 0x20) == 'x' &&
                         std::isxdigit(static_cast<unsigned char>(text[2])) != 0;
    if ((conversion == 'x' || conversion == 'X' || conversion == 'i') && hexMark)
        text.remove_prefix(2);
    if (conversion == 'x' || conversion == 'X' || (conversion == 'i' && hexMark))
        return 16;
    return conversion == 'o' || (conversion == 'i' && text.starts_with('0')) ? 8 : 10;
}

template <class T>
bool ReadWhole(std::string_view& text, char conversion, T& value)
{
    std::string_view rest = text;
    const bool minus = TakeSign(rest);
    const int base = TakeBase(rest, conversion);
    unsigned long long size = 0;
    const auto end = std::from_chars(rest.data(), rest.data() + rest.size(), size, base);
    if (end.ec == std::errc::invalid_argument)
        return false;
    using Limits = std::numeric_limits<T>;
    const auto most = static_cast<unsigned long long>(Limits::max());
    const bool beyond = end.ec == std::errc::result_out_of_range;
    if constexpr (std::is_signed_v<T>)
    {
        if (beyond || size > most)
            value = minus ? Limits::min() : Limits::max();
        else
            value = static_cast<T>(minus ? -static_cast<long long>(size)
                                         : static_cast<long long>(size));
    }
    else
    {
        value = beyond || size > most ? Limits::max() : static_cast<T>(minus ? 0 - size : size);
    }
    text.remove_prefix(static_cast<std::size_t>(end.ptr - text.data()));
    return true;
}

/// Whether the decimal number @p digits, which is not 0, is smaller than 1.
bool IsBelowOne(std::string_view digits)
{
    const std::size_t mark = std::min(digits.find_first_of("eE"), digits.size());
    const std::size_t point = std::min(digits.find('.'), mark);
    const std::size_t first = digits.find_first_of("123456789");
    long long exponent = 0; // stays 0 when there is none; one that is too long ends at its limit
    std::string_view rest = digits.substr(std::min(mark + 1, digits.size()));
    ReadWhole(rest, 'd', exponent);
    const auto places = static_cast<long long>(point) - static_cast<long long>(first);
    // The first digit stands for 10 to the power of places - 1, or of places after the point.
    return exponent < (places > 0 ? 1 - places : -places);
}

template <class T>
bool ReadReal(std::string_view& text, T& value)
{
    std::string_view rest = text;
    const bool minus = TakeSign(rest);
    if (rest.starts_with('-')) // from_chars would take a second sign
        return false;
    T number = 0;
    const auto end = std::from_chars(rest.data(), rest.data() + rest.size(), number);
    if (end.ec == std::errc::invalid_argument)
        return false;
    if (end.ec == std::errc::result_out_of_range)
    {
        const std::string_view digits(rest.data(), static_cast<std::size_t>(end.ptr - rest.data()));
        number = IsBelowOne(digits) ? T{0} : std::numeric_limits<T>::max();
    }
    value = minus ? -number : number;
    text.remove_prefix(static_cast<std::size_t>(end.ptr - text.data()));
    return true;
}

/// One conversion of a format.
struct Field
{
    bool skipped = false;
    std::size_t width = 0; // 0: none
    char conversion = 0;
    std::string_view set; // of %[...], without the circumflex
    bool inverted = false;
};

/// Reads what follows "%"; conversion 0 when the format is incomplete.
Field ReadField(std::string_view& format)
{
    Field field;
    const auto next = [&] {
        const char c = format.empty() ? '\0' : format.front();
        format.remove_prefix(format.empty() ? 0 : 1);
        return c;
    };
    if (format.starts_with('*'))
    {
        field.skipped = true;
        next();
    }
    while (!format.empty() && IsDigit(format.front()))
        field.width = std::min<std::size_t>(field.width * 10 + std::size_t(next() - '0'), 1u << 20);
    while (!format.empty() && std::strchr("hlLqjzt", format.front()) != nullptr)
        next();
    field.conversion = next();
    if (field.conversion != '[')
        return field;
    field.inverted = format.starts_with('^');
    format.remove_prefix(field.inverted ? 1 : 0);
    const std::size_t end = format.find(']', 1); // a leading bracket belongs to the set
    if (end == std::string_view::npos)
        return {};
    field.set = format.substr(0, end);
    format.remove_prefix(end + 1);
    return field;
}

bool InSet(std::string_view set, char c)
{
    const auto code = [](char letter) { return static_cast<unsigned char>(letter); };
    for (std::size_t i = 0; i < set.size(); ++i)
    {
        const bool range = i + 2 < set.size() && set[i + 1] == '-';
        if (range && code(c) >= code(set[i]) && code(c) <= code(set[i + 2]))
            return true;
        if (!range && c == set[i])
            return true;
        i += range ? 2 : 0;
    }
    return false;
}

/// How much of @p text a field of characters takes.
std::size_t Length(std::string_view text, const Field& field)
{
    std::size_t n = 0;
    const auto takes = [&](char c) {
        if (field.conversion == 's')
            return !str::is_space(c);
        return field.conversion == 'c' || InSet(field.set, c) != field.inverted;
    };
    while (n < text.size() && takes(text[n]))
        ++n;
    return n;
}

/// Reads one field. @p target is null when it is skipped.
bool Convert(std::string_view& text, const Field& field, const ScanTarget* target)
{
    const bool letters =
        field.conversion == 's' || field.conversion == 'c' || field.conversion == '[';
    if (field.conversion != 'c' && field.conversion != '[')
        SkipSpace(text);
    std::size_t width = field.width != 0 ? field.width : text.size();
    if (field.conversion == 'c' && field.width == 0)
        width = 1;
    std::string_view part = text.substr(0, width);
    if (letters)
    {
        std::size_t n = Length(part, field);
        if (target != nullptr)
            n = std::min(n, target->Room());
        if (n == 0 || (target != nullptr && !target->Set(part.substr(0, n))))
            return false;
        text.remove_prefix(n);
        return true;
    }
    if (std::strchr("diuxXoeEfFgGaA", field.conversion) == nullptr)
        return false;
    const std::size_t before = part.size();
    const bool whole = std::strchr("diuxXo", field.conversion) != nullptr;
    long long unused = 0;
    double unusedReal = 0;
    const ScanTarget nowhere = whole ? ScanTarget(&unused) : ScanTarget(&unusedReal);
    if (!(target != nullptr ? *target : nowhere).Take(part, field.conversion))
        return false;
    text.remove_prefix(before - part.size());
    return true;
}
} // namespace

bool ScanTarget::Take(std::string_view& text, char conversion) const
{
    return std::visit(
        [&](auto place) {
            using Place = decltype(place);
            if constexpr (std::is_same_v<Place, float*> || std::is_same_v<Place, double*>)
                return ReadReal(text, *place);
            else if constexpr (std::is_same_v<Place, std::string*> ||
                               std::is_same_v<Place, std::span<char>>)
                return false;
            else
                return ReadWhole(text, conversion, *place);
        },
        place_);
}

bool ScanTarget::Set(std::string_view text) const
{
    if (std::string* const* string = std::get_if<std::string*>(&place_))
    {
        (*string)->assign(text);
        return true;
    }
    const auto* const letters = std::get_if<std::span<char>>(&place_);
    if (letters == nullptr || letters->size() <= text.size())
        return false;
    std::copy(text.begin(), text.end(), letters->begin());
    (*letters)[text.size()] = '\0';
    return true;
}

std::size_t ScanTarget::Room() const
{
    const auto* const letters = std::get_if<std::span<char>>(&place_);
    return letters != nullptr ? letters->size() - 1 : std::numeric_limits<std::size_t>::max();
}

bool ScanTarget::SetCount(std::size_t count) const
{
    std::string digits = std::to_string(count);
    std::string_view text = digits;
    return Take(text, 'd');
}

int Scan(std::string_view text, const char* format, std::span<const ScanTarget> targets)
{
    const std::size_t size = text.size();
    std::string_view rest = format;
    int stored = 0;
    for (std::size_t next = 0; !rest.empty();)
    {
        const char letter = rest.front();
        rest.remove_prefix(1);
        if (str::is_space(letter))
        {
            SkipSpace(text);
            continue;
        }
        const Field field = letter == '%' ? ReadField(rest) : Field{};
        if (letter != '%' || field.conversion == '%')
        {
            if (letter == '%')
                SkipSpace(text);
            if (!text.starts_with(letter))
                return stored;
            text.remove_prefix(1);
            continue;
        }
        if (field.conversion == '\0' || (!field.skipped && next == targets.size()))
            return stored;
        const ScanTarget* const target = field.skipped ? nullptr : &targets[next++];
        if (field.conversion == 'n')
        {
            if (target != nullptr && !target->SetCount(size - text.size()))
                return stored;
            continue;
        }
        if (!Convert(text, field, target))
            return stored;
        stored += target != nullptr ? 1 : 0;
    }
    return stored;
}

} // namespace sys::reg
