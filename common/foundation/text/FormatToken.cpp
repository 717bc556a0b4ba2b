#include "foundation/text/FormatToken.h"

#include <array>
#include <limits>
#include <type_traits>

namespace str::fmt
{
namespace impl
{
namespace
{
bool TakeFlag(char c, Token& token)
{
    bool* flag = c == '-'   ? &token.left
                 : c == '+' ? &token.plus
                 : c == ' ' ? &token.space
                 : c == '#' ? &token.alternate
                 : c == '0' ? &token.zero
                            : nullptr;
    if (flag != nullptr)
        *flag = true;
    return flag != nullptr;
}

constexpr struct
{
    std::string_view letters;
    arg_type type;
} kConversions[] = {
    {"di", arg_type::signed_integer}, {"sS", arg_type::text},
    {"eEfFgG", arg_type::real},       {"uxXo", arg_type::unsigned_integer},
    {"c", arg_type::character},       {"r", arg_type::any},
    {"p", arg_type::pointer},
};

/// kConversions by the letter's code: the type, or kNone.
constexpr signed char kNone = -1;
constexpr auto kTypes = [] {
    std::array<signed char, 128> types{};
    types.fill(kNone);
    for (const auto& row : kConversions)
        for (const char letter : row.letters)
            types[static_cast<unsigned char>(letter)] = static_cast<signed char>(row.type);
    return types;
}();

/// What the conversion letter @p c (ASCII) asks for; false when it is none.
bool TypeOf(char c, arg_type& type)
{
    const signed char found = kTypes[static_cast<unsigned char>(c)];
    type = static_cast<arg_type>(found);
    return found != kNone;
}

/// The conversion characters are all ASCII; anything else reads as 0.
template <class C>
char Ascii(std::basic_string_view<C> format, std::size_t at)
{
    if (at >= format.size())
        return 0;
    const auto c = static_cast<std::make_unsigned_t<C>>(format[at]);
    return c < 0x80 ? static_cast<char>(c) : '\0';
}

/// Reads digits; a number too large stays at the largest int.
template <class C>
int TakeNumber(std::basic_string_view<C> format, std::size_t& at)
{
    constexpr int kMost = std::numeric_limits<int>::max();
    int number = 0;
    for (char c; (c = Ascii(format, at)) >= '0' && c <= '9'; ++at)
        number = number > (kMost - 9) / 10 ? kMost : number * 10 + (c - '0');
    return number;
}

template <class C>
void SkipLength(std::basic_string_view<C> format, std::size_t& at)
{
    if (Ascii(format, at) == 'I')
    {
        ++at;
        const char a = Ascii(format, at), b = Ascii(format, at + 1);
        if ((a == '3' && b == '2') || (a == '6' && b == '4'))
            at += 2;
        return;
    }
    for (int most = 2; most > 0; --most, ++at)
    {
        const char c = Ascii(format, at);
        if (c != 'h' && c != 'l' && c != 'L' && c != 'q' && c != 'j' && c != 'z' && c != 't' &&
            c != 'w')
            return;
    }
}
} // namespace

template <class C>
std::size_t ParseToken(std::basic_string_view<C> format, std::size_t at, Token& token)
{
    const std::size_t start = at++;
    arg_type type;
    token.conversion = Ascii(format, at);
    token.bare = TypeOf(token.conversion, type);
    if (token.bare)
        return at + 1;
    while (TakeFlag(Ascii(format, at), token))
        ++at;
    token.width = TakeNumber(format, at);
    if (Ascii(format, at) == '.')
        token.precision = TakeNumber(format, ++at);
    SkipLength(format, at);
    token.conversion = Ascii(format, at);
    return TypeOf(token.conversion, type) ? at + 1 : start;
}

template std::size_t ParseToken(std::string_view, std::size_t, Token&);
template std::size_t ParseToken(std::wstring_view, std::size_t, Token&);

} // namespace impl

template <class text>
unsigned int tokenize(text& format, unsigned int max, text* tokens, arg_type* types)
{
    using C = typename text::value_type;
    const std::basic_string_view<C> whole(format);
    std::size_t pieceStart = 0, at = 0;
    unsigned int count = 0;
    while (count < max && (at = whole.find(C('%'), at)) != whole.npos)
    {
        impl::Token token;
        const std::size_t end = impl::ParseToken(whole, at, token);
        if (end == at)
        {
            at += at + 1 < whole.size() && whole[at + 1] == C('%') ? 2 : 1;
            continue;
        }
        (void)impl::TypeOf(token.conversion, types[count]); // it is one
        tokens[count++] = text(whole.substr(pieceStart, end - pieceStart));
        pieceStart = at = end;
    }
    format.erase(0, pieceStart);
    return count;
}

template KVI_API unsigned int tokenize(std::string&, unsigned int, std::string*, arg_type*);
template KVI_API unsigned int tokenize(std::wstring&, unsigned int, std::wstring*, arg_type*);

} // namespace str::fmt
