/// @file
/// The formatter's arguments: each carries its own type.
#pragma once

#include "foundation/str_u8string.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <type_traits>

namespace gtl
{
class status;
}

namespace str::fmt::impl
{

/// One argument, by reference: the object must outlive the call.
struct Argument
{
    /// What an argument is.
    enum class Kind : unsigned char
    {
        Signed,
        Unsigned,
        Boolean,
        Character,     ///< integer: a unit of narrow text
        WideCharacter, ///< integer: a unit of wide text
        Real,
        Narrow, ///< data, size: text in the system's code page
        Wide,
        Utf8,
        Status, ///< data: a gtl::status, whose text is its finished message
        Pointer ///< integer: the address
    };

    /// Says which of the members below count.
    Kind kind;
    unsigned char bytes;        ///< of the integer's type: cuts the two's complement
    unsigned long long integer; ///< a signed one as its 64-bit two's complement
    /// The value of a Real.
    double real;
    /// The text, or the status.
    const void* data;
    std::size_t size; ///< in units of the text
};

/// @p size units of text at @p data.
inline Argument Text(Argument::Kind kind, const void* data, std::size_t size)
{
    return {kind, 0, 0, 0, data, size};
}

/// Narrow text.
inline Argument TextOf(std::string_view s)
{
    return Text(Argument::Kind::Narrow, s.data(), s.size());
}

/// Wide text.
inline Argument TextOf(std::wstring_view s)
{
    return Text(Argument::Kind::Wide, s.data(), s.size());
}

/// Text up to its zero; "(null)" for a null pointer.
template <class C>
Argument TextOrNull(const C* s)
{
    return s == nullptr ? TextOf(std::string_view("(null)")) : TextOf(std::basic_string_view<C>(s));
}

/// @p value as an argument; a null text is "(null)".
template <class T>
Argument MakeArgument(const T& value)
{
    using Kind = Argument::Kind;
    using D = std::decay_t<const T>;
    if constexpr (std::is_same_v<D, Argument>)
        return value;
    else if constexpr (std::is_enum_v<D>)
        return MakeArgument(static_cast<std::underlying_type_t<D>>(value));
    else if constexpr (std::is_integral_v<D>)
    {
        constexpr Kind kind = std::is_same_v<D, bool>      ? Kind::Boolean
                              : std::is_same_v<D, char>    ? Kind::Character
                              : std::is_same_v<D, wchar_t> ? Kind::WideCharacter
                              : std::is_signed_v<D>        ? Kind::Signed
                                                           : Kind::Unsigned;
        return {kind, sizeof(D), static_cast<unsigned long long>(value), 0, nullptr, 0};
    }
    else if constexpr (std::is_floating_point_v<D>)
        return {Kind::Real, 0, 0, static_cast<double>(value), nullptr, 0};
    else if constexpr (std::is_same_v<D, gtl::status>)
        return Text(Kind::Status, &value, 0);
    else if constexpr (std::is_same_v<D, u8string>)
        return Text(Kind::Utf8, value.bytes().data(), value.bytes().size());
    else if constexpr (std::is_same_v<D, char*> || std::is_same_v<D, const char*>)
        return TextOrNull(static_cast<const char*>(value));
    else if constexpr (std::is_same_v<D, wchar_t*> || std::is_same_v<D, const wchar_t*>)
        return TextOrNull(static_cast<const wchar_t*>(value));
    else if constexpr (std::is_convertible_v<const T&, std::string_view>)
        return TextOf(std::string_view(value));
    else if constexpr (std::is_convertible_v<const T&, std::wstring_view>)
        return TextOf(std::wstring_view(value));
    else
    {
        static_assert(std::is_pointer_v<D> || std::is_null_pointer_v<D>,
                      "the formatter takes numbers, characters, texts, statuses and pointers");
        const auto address = reinterpret_cast<std::size_t>(static_cast<const void*>(value));
        return {Kind::Pointer, sizeof(void*), address, 0, nullptr, 0};
    }
}

} // namespace str::fmt::impl
