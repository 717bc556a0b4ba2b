#include "foundation/str_fmt.h"

#include "foundation/gtl_status.h"
#include "foundation/number/NumberPrinter.h"
#include "foundation/text/FormatToken.h"
#include "platform/platform_fpu.h"
#include "platform/platform_text.h"
#include "platform/platform_utf8.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <type_traits>
#include <vector>

namespace str::fmt::impl
{
namespace
{
using Kind = Argument::Kind;
using foundation::FastFixed;
using foundation::FastScientific;
using foundation::FastSignificant;

constexpr int kMaxWidth = 4096;
// Past 1074 decimals every double has only zeros.
constexpr int kMaxPrecision = 1100;
// Room for the digits of 1e308 before the point, the longest precision, sign, point and exponent.
constexpr std::size_t kNumberRoom = 309 + kMaxPrecision + 16;

template <std::size_t N>
constexpr bool IsOneOf(char c, const char (&set)[N])
{
    bool found = false;
    for (std::size_t i = 0; i + 1 < N; ++i)
        found = found || c == set[i];
    return found;
}

/// Appends @p body, padded to the token's width; @p head (a sign, "0x") comes before the zeros.
template <class C, class B>
void AppendPadded(Pieces<C>& out, const Token& token, std::string_view head,
                  std::basic_string_view<B> body, bool zeros)
{
    const auto width = static_cast<std::size_t>(std::min(token.width, kMaxWidth));
    const std::size_t length = head.size() + body.size();
    const std::size_t fill = width > length ? width - length : 0;
    if (fill > 0 && !token.left && !zeros)
        out.append(fill, C(' '));
    out.AppendAscii(head);
    if (zeros)
        out.append(fill, C('0'));
    if constexpr (std::is_same_v<B, C>)
        out.append(body);
    else
        out.AppendAscii(body);
    if (token.left)
        out.append(fill, C(' '));
}

/// The sign that a number without a "-" of its own shows.
std::string_view PlusSign(const Token& token) { return token.plus ? "+" : token.space ? " " : ""; }

template <class C>
void AppendInteger(Pieces<C>& out, const Token& token, const Argument& value)
{
    const char conversion = token.conversion;
    const bool isSigned = IsOneOf(conversion, "di");
    const bool negative =
        isSigned && value.kind != Kind::Unsigned && static_cast<long long>(value.integer) < 0;
    unsigned long long magnitude = negative ? 0 - value.integer : value.integer;
    if (!negative && value.bytes < sizeof magnitude)
        magnitude &= (1ull << (8 * value.bytes)) - 1;
    if (token.bare && isSigned)
    {
        char number[24] = {'-'};
        char* const last = std::to_chars(number + 1, number + sizeof number, magnitude).ptr;
        return out.AppendAscii({negative ? number : number + 1, last});
    }

    const int base = IsOneOf(conversion, "xXp") ? 16 : conversion == 'o' ? 8 : 10;
    char digits[kMaxPrecision + 32];
    char* first = digits + kMaxPrecision; // zeros go before it
    char* last = std::to_chars(first, digits + sizeof digits, magnitude, base).ptr;
    if (conversion == 'X')
        std::transform(first, last, first,
                       [](char c) { return c >= 'a' ? static_cast<char>(c - 'a' + 'A') : c; });
    if (token.precision == 0 && magnitude == 0)
        first = last;
    const int least = std::clamp(token.precision, 0, kMaxPrecision);
    for (auto missing = least - (last - first); missing > 0; --missing)
        *--first = '0';
    if (conversion == 'o' && token.alternate && (first == last || *first != '0'))
        *--first = '0';

    std::string_view head = negative ? "-" : isSigned ? PlusSign(token) : "";
    if (conversion == 'p' || (token.alternate && base == 16 && magnitude != 0))
        head = conversion == 'X' ? "0X" : "0x";
    const std::string_view body(first, static_cast<std::size_t>(last - first));
    AppendPadded(out, token, head, body, token.zero && !token.left && token.precision < 0);
}

/// Writes @p magnitude as WriteReal does; null when the fast printers do not handle it.
char* WriteFast(char* first, const Token& token, double magnitude, int precision)
{
    static_assert(kNumberRoom >= foundation::kFastRoom);
    if (IsOneOf(token.conversion, "fF"))
        return FastFixed(first, magnitude, precision);
    if (IsOneOf(token.conversion, "eE"))
        return FastScientific(first, magnitude, precision);
    return token.alternate ? nullptr : FastSignificant(first, magnitude, std::max(precision, 1));
}

/// Writes @p magnitude, not negative, in the token's form; returns the end.
[[gnu::noinline]] char* WriteReal(char* first, char* last, const Token& token, double magnitude)
{
    if (token.conversion == 'r')
        return std::to_chars(first, last, magnitude).ptr;
    const int precision = token.precision < 0 ? 6 : std::min(token.precision, kMaxPrecision);
    if (char* const end = WriteFast(first, token, magnitude, precision))
        return end;
    if (IsOneOf(token.conversion, "fF"))
        return std::to_chars(first, last, magnitude, std::chars_format::fixed, precision).ptr;
    if (IsOneOf(token.conversion, "eE"))
        return std::to_chars(first, last, magnitude, std::chars_format::scientific, precision).ptr;
    if (!token.alternate || !std::isfinite(magnitude))
        return std::to_chars(first, last, magnitude, std::chars_format::general, precision).ptr;
    // "#" keeps the trailing zeros, so the choice of form by the exponent is made here.
    const int digits = std::max(precision, 1);
    char* end =
        std::to_chars(first, last, magnitude, std::chars_format::scientific, digits - 1).ptr;
    const char* mark = std::find(first, end, 'e');
    int exponent = 0;
    std::from_chars(mark + (mark[1] == '+' ? 2 : 1), end, exponent);
    if (exponent < -4 || exponent >= digits)
        return end;
    return std::to_chars(first, last, magnitude, std::chars_format::fixed, digits - 1 - exponent)
        .ptr;
}

template <class C>
void AppendReal(Pieces<C>& out, const Token& token, double value)
{
    const platform::FloatEnvGuard plain;
    char text[kNumberRoom];
    char* end = WriteReal(text, text + sizeof text, token, std::fabs(value));
    const bool finite = end[-1] >= '0' && end[-1] <= '9';
    if (token.alternate && finite && std::find(text, end, '.') == end)
    {
        char* mark = std::find(text, end, 'e');
        std::copy_backward(mark, end, end + 1);
        *mark = '.';
        ++end;
    }
    if (IsOneOf(token.conversion, "EFG"))
        std::transform(text, end, text,
                       [](char c) { return c >= 'a' ? static_cast<char>(c - 'a' + 'A') : c; });
    const std::string_view head = std::signbit(value) ? "-" : PlusSign(token);
    AppendPadded(out, token, head, std::string_view(text, static_cast<std::size_t>(end - text)),
                 token.zero && !token.left && finite);
}

/// The text truncated to the precision, without splitting a surrogate pair of UTF-16.
template <class C>
std::basic_string_view<C> CutToPrecision(std::basic_string_view<C> text, const Token& token)
{
    if (token.precision < 0 || !IsOneOf(token.conversion, "sS") ||
        text.size() <= static_cast<std::size_t>(token.precision))
        return text;
    auto size = static_cast<std::size_t>(token.precision);
    if (sizeof(C) == 2 && size > 0 && (static_cast<unsigned>(text[size - 1]) & 0xFC00u) == 0xD800u)
        --size;
    return text.substr(0, size);
}

template <class C>
void AppendText(Pieces<C>& out, const Token& token, std::basic_string_view<C> text)
{
    text = CutToPrecision(text, token);
    if (token.width == 0)
        out.append(text);
    else
        AppendPadded(out, token, "", text, false);
}

template <class C>
void AppendText(Pieces<C>& out, const Token& token, const Argument& value)
{
    const std::string_view bytes(static_cast<const char*>(value.data), value.size);
    const std::wstring_view wide(static_cast<const wchar_t*>(value.data), value.size);
    if constexpr (sizeof(C) == 1)
    {
        if (value.kind == Kind::Narrow)
            return AppendText(out, token, bytes);
        out.SetNarrowed();
        const std::string text = platform::Narrow(
            value.kind == Kind::Wide ? std::wstring(wide) : platform::FromUtf8(bytes));
        AppendText(out, token, std::string_view(text));
    }
    else
    {
        if (value.kind == Kind::Wide)
            return AppendText(out, token, wide);
        const std::wstring text =
            value.kind == Kind::Utf8 ? platform::FromUtf8(bytes) : platform::Wide(bytes);
        AppendText(out, token, std::wstring_view(text));
    }
}

/// The character @p value is, or the one whose code it is.
template <class C>
void AppendCharacter(Pieces<C>& out, const Token& token, const Argument& value)
{
    std::string narrow;
    std::wstring wide;
    if (value.kind == Kind::Character)
        narrow = static_cast<char>(value.integer);
    else if (value.kind == Kind::WideCharacter)
        wide = static_cast<wchar_t>(value.integer);
    else
        platform::AppendCharacter(
            wide, value.integer <= 0x10FFFF ? static_cast<char32_t>(value.integer) : 0xFFFD);
    AppendText(out, token, narrow.empty() ? TextOf(wide) : TextOf(narrow));
}

/// An integer as a double.
[[gnu::noinline]] double AsReal(const Argument& value)
{
    return value.kind == Kind::Unsigned
               ? static_cast<double>(value.integer)
               : static_cast<double>(static_cast<long long>(value.integer));
}

/// One argument by its conversion, or in its own form, set in @p token, where that does not fit.
template <class C>
void AppendArgument(Pieces<C>& out, Token& token, const Argument& value)
{
    if (value.kind == Kind::Status)
    {
        const std::wstring message = static_cast<const gtl::status*>(value.data)->as_wstring();
        return AppendText(out, token, TextOf(message));
    }
    if (value.kind == Kind::Narrow || value.kind == Kind::Wide || value.kind == Kind::Utf8)
        return AppendText(out, token, value);
    if (value.kind == Kind::Real)
    {
        if (!IsOneOf(token.conversion, "eEfFgG"))
            token.conversion = 'r';
        return AppendReal(out, token, value.real);
    }
    if (IsOneOf(token.conversion, "eEfFgG") && value.kind != Kind::Pointer)
    {
        const platform::FloatEnvGuard plain;
        return AppendReal(out, token, AsReal(value));
    }
    const bool isCharacter = value.kind == Kind::Character || value.kind == Kind::WideCharacter;
    if (token.conversion == 'c' || (isCharacter && IsOneOf(token.conversion, "sSr")))
        return AppendCharacter(out, token, value);
    if (value.kind == Kind::Boolean && IsOneOf(token.conversion, "sSr"))
        return AppendText(out, token, TextOf(value.integer != 0 ? "true" : "false"));
    if (IsOneOf(token.conversion, "sSreEfFgG"))
    {
        token.conversion = value.kind == Kind::Pointer ? 'p' : 'd';
        token.precision = -1;
    }
    AppendInteger(out, token, value);
}

/// A piece of the format that is copied.
template <class C, class F>
void AppendLiteral(Pieces<C>& out, std::basic_string_view<F> piece)
{
    if constexpr (std::is_same_v<C, F>)
    {
        out.append(piece);
    }
    else
    {
        unsigned all = 0; // no early exit: the loop is vectorised
        for (const char c : piece)
            all |= static_cast<unsigned char>(c);
        if (all < 0x80)
            out.AppendAscii(piece);
        else
            out.append(platform::Wide(piece));
    }
}

template <class C>
std::size_t CopyCut(C* buffer, std::size_t size, const std::basic_string<C>& text)
{
    if (size > 0)
    {
        const std::size_t length = text.copy(buffer, size - 1);
        buffer[length] = C();
    }
    return text.size();
}
} // namespace

template <class C, class F>
void Fill(Pieces<C>& out, std::basic_string_view<F> format, const Argument* args, std::size_t count)
{
    std::size_t used = 0;
    for (std::size_t at = 0; at < format.size();)
    {
        const std::size_t percent = format.find(F('%'), at);
        AppendLiteral(out, format.substr(at, percent - at));
        if (percent == format.npos)
            break;
        Token token;
        const std::size_t end = ParseToken(format, percent, token);
        if (end != percent && used < count)
        {
            AppendArgument(out, token, args[used++]);
            at = end;
            continue;
        }
        // No conversion, or one without an argument: its first character is copied.
        out.append(1, C('%'));
        const bool twice = percent + 1 < format.size() && format[percent + 1] == F('%');
        at = percent + (twice ? 2 : 1);
    }
}

template void Fill(Pieces<char>&, std::string_view, const Argument*, std::size_t);

void Append(std::string& out, std::string_view format, const Argument* args, std::size_t count)
{
    Pieces<char> pieces(out);
    Fill(pieces, format, args, count);
    pieces.Flush();
}

void Append(std::wstring& out, std::wstring_view format, const Argument* args, std::size_t count)
{
    Pieces<wchar_t> pieces(out);
    Fill(pieces, format, args, count);
    pieces.Flush();
}

void Append(std::wstring& out, std::string_view format, const Argument* args, std::size_t count)
{
    Pieces<wchar_t> pieces(out);
    Fill(pieces, format, args, count);
    pieces.Flush();
}

std::size_t CopyOut(char* buffer, std::size_t size, const std::string& text)
{
    return CopyCut(buffer, size, text);
}

std::size_t CopyOut(wchar_t* buffer, std::size_t size, const std::wstring& text)
{
    return CopyCut(buffer, size, text);
}

std::wstring FillTemplate(const std::wstring& format, const std::wstring* args, unsigned count)
{
    std::vector<Argument> texts;
    texts.reserve(count);
    for (unsigned i = 0; i < count; ++i)
        texts.push_back(TextOf(args[i]));
    std::wstring out;
    Append(out, format, texts.data(), count);
    return out;
}

} // namespace str::fmt::impl
