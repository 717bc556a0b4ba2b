/// @file
/// The one formatter: message templates, log lines and str::sprintf all go through it.
///
/// A format is text with conversions as for printf:
///
///     %[flags][width][.precision][length]conversion
///
/// flags are any of "- + space # 0"; length is one of hh h l ll L q j z t w I I32 I64 and is
/// ignored, because every argument carries its own type. The conversions:
///
/// | conversion | writes |
/// |---|---|
/// | d i | an integer in decimal; an unsigned argument keeps its value |
/// | u x X o | an integer without sign; a negative one as the two's complement of its own type |
/// | c | a character, or the one with the integer's code |
/// | e E f F g G | a floating-point number as C's printf does, to the last digit |
/// | s S | text, narrow or wide; the precision is the most units; of a gtl::status its message |
/// | r | a number in the fewest digits that read back as the same value; text as it is |
/// | p | an address: 0x and lower-case hexadecimal digits |
/// | %% | a percent sign; takes no argument |
///
/// The format is never trusted. Anything that is no conversion ("%n", "%*d", "%1$s", a lone "%") is
/// copied as written and takes no argument; so does a conversion that has no argument left.
/// Arguments left over are not used. An argument that does not match its conversion is written in
/// its default form: "%d" of text gives the text, of 1.5 gives 1.5; "%s" of a number gives the
/// number. Widths are cut at 4096, the precision of a number at 1100. Zeros inside a format or a
/// text are ordinary characters. Nothing depends on a locale, and all targets write the same text.
#pragma once

#include "foundation/kvi_export.h"
#include "foundation/str_fmt_Argument.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace str::fmt
{

/// What a conversion asks for.
enum class arg_type
{
    signed_integer,   ///< d i
    unsigned_integer, ///< u x X o
    character,        ///< c
    real,             ///< e E f F g G
    text,             ///< s S
    any,              ///< r
    pointer           ///< p
};

/// Takes up to @p max pieces from the front of @p format, each ending with a conversion; the pieces
/// keep the plain text before it, with "%%" as written. What follows the last piece stays in
/// @p format, so pieces and rest together are the original format.
/// @param tokens  receives the pieces; room for @p max
/// @param types   receives what each piece's conversion asks for; room for @p max
/// @returns the number of pieces. Instances: std::string, std::wstring.
template <class text>
KVI_API unsigned int tokenize(text& format, unsigned int max, text* tokens, arg_type* types);

namespace impl
{

/// Appends @p format, filled with @p count arguments, to @p out.
KVI_API void Append(std::string& out, std::string_view format, const Argument* args,
                    std::size_t count);
/// The same for wide text.
KVI_API void Append(std::wstring& out, std::wstring_view format, const Argument* args,
                    std::size_t count);
/// The same with a format in narrow text.
KVI_API void Append(std::wstring& out, std::string_view format, const Argument* args,
                    std::size_t count);

/// Copies @p text and its closing zero, cut to fit, into @p size units at @p buffer.
KVI_API std::size_t CopyOut(char* buffer, std::size_t size, const std::string& text);
/// The same for wide text.
KVI_API std::size_t CopyOut(wchar_t* buffer, std::size_t size, const std::wstring& text);

/// Appends @p format, filled with @p args, to @p out.
template <class Text, class View, class... A>
void AppendAll(Text& out, View format, const A&... args)
{
    const Argument list[sizeof...(A) + 1] = {MakeArgument(args)..., {}};
    Append(out, format, list, sizeof...(A));
}

} // namespace impl

/// Renders one value by one conversion.
template <class T>
struct arg
{
    /// The text of @p token (a piece that tokenize cut) with @p value in its conversion.
    template <class Text>
    static Text convert_to_text(const Text& token, T value)
    {
        Text out;
        const impl::Argument one = impl::MakeArgument(value);
        impl::Append(out, token, &one, 1);
        return out;
    }
};

} // namespace str::fmt

namespace str
{

/// The text of @p format filled with @p args.
/// @code
/// str::sprintf("%d of %d: %s", 3, 8, L"wide or narrow")
/// @endcode
template <class... A>
std::string sprintf(std::string_view format, const A&... args)
{
    std::string out;
    fmt::impl::AppendAll(out, format, args...);
    return out;
}

/// The same in wide text.
template <class... A>
std::wstring sprintf(std::wstring_view format, const A&... args)
{
    std::wstring out;
    fmt::impl::AppendAll(out, format, args...);
    return out;
}

/// Writes the text of @p format filled with @p args, cut to fit @p size units with the closing
/// zero; writes nothing when @p size is 0.
/// @returns the length of the whole text, without the zero
template <class... A>
std::size_t snprintf(char* buffer, std::size_t size, std::string_view format, const A&... args)
{
    return fmt::impl::CopyOut(buffer, size, str::sprintf(format, args...));
}

/// The same in wide text.
template <class... A>
std::size_t snprintf(wchar_t* buffer, std::size_t size, std::wstring_view format, const A&... args)
{
    return fmt::impl::CopyOut(buffer, size, str::sprintf(format, args...));
}

} // namespace str
