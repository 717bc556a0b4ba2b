/// @file
/// Helpers shared by the formatter's sources, and the entry point for message templates.
#pragma once

#include "foundation/str_fmt.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>

namespace str::fmt::impl
{

/// One conversion of a format.
struct Token
{
    bool left = false, plus = false, space = false, alternate = false, zero = false;
    int width = 0;
    int precision = -1; ///< -1: none given
    char conversion = 0;
    bool bare = false; ///< nothing between "%" and the conversion
};

/// Reads the conversion that begins with the "%" at format[at] into a fresh @p token.
/// @returns the position after it, or @p at when it is none ("%%" is none either)
template <class C>
std::size_t ParseToken(std::basic_string_view<C> format, std::size_t at, Token& token);

/// Collects text on the stack before it goes to a string: growing the string for each piece costs
/// more than the pieces. Callers that want the string call Flush at the end; View gives the text
/// either way.
template <class C>
class Pieces
{
public:
    explicit Pieces(std::basic_string<C>& out) : out_(out) {}

    void append(std::basic_string_view<C> text)
    {
        if (C* to = Room(text.size()))
            std::copy(text.begin(), text.end(), to);
        else
            out_.append(text);
    }
    void append(std::size_t count, C c)
    {
        if (C* to = Room(count))
            std::fill_n(to, count, c);
        else
            out_.append(count, c);
    }
    /// Text that is ASCII, in either width.
    void AppendAscii(std::string_view text)
    {
        for (; text.size() > kRoom; text.remove_prefix(kRoom))
            AppendAscii(text.substr(0, kRoom));
        C* to = Room(text.size());
        for (std::size_t i = 0; i < text.size(); ++i)
            to[i] = static_cast<C>(text[i]);
    }
    void Flush()
    {
        out_.append(pieces_, size_);
        size_ = 0;
    }
    /// All of it, for a string that was empty; valid until the next change.
    std::basic_string_view<C> View()
    {
        if (out_.empty())
            return {pieces_, size_};
        Flush();
        return out_;
    }
    /// Whether wide text went through the code page, which may not have held all of it.
    bool Narrowed() const { return narrowed_; }
    void SetNarrowed() { narrowed_ = true; }

private:
    static constexpr std::size_t kRoom = 256;

    /// Where to write @p count units; null, after flushing the buffer, when there are too many.
    C* Room(std::size_t count)
    {
        if (count > kRoom - size_)
            Flush();
        if (count > kRoom)
            return nullptr;
        size_ += count;
        return pieces_ + size_ - count;
    }

    std::basic_string<C>& out_;
    std::size_t size_ = 0;
    bool narrowed_ = false;
    C pieces_[kRoom];
};

/// Adds @p format, filled with @p count arguments. Instance outside the formatter: char, char.
template <class C, class F>
void Fill(Pieces<C>& out, std::basic_string_view<F> format, const Argument* args,
          std::size_t count);

/// @p format with its conversions filled by @p count texts in their order, each inserted as it is.
/// Conversions left over are copied.
std::wstring FillTemplate(const std::wstring& format, const std::wstring* args, unsigned count);

} // namespace str::fmt::impl
