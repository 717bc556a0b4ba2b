/// @file
/// Sequential reading of the numbers of a mesh file, in text or binary form.
#pragma once

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace percova
{

/// A mesh file that cannot be read further, with its reason.
struct MshError
{
    int line; ///< 0 in a binary part
    std::string text;
};

/// Walks over the whole text of a mesh file. Numbers are read the same way whatever the locale. A
/// missing number throws MshError; nothing reads past the end.
class MshScanner
{
public:
    explicit MshScanner(std::string_view text) : at_(text.data()), end_(text.data() + text.size())
    {
    }

    bool binary = false; ///< from here on numbers are bytes

    bool AtEnd();
    /// Line of the next character, counted from 1; 0 in a binary part.
    int LineNumber() const { return binary ? 0 : line_; }
    std::size_t BytesLeft() const { return static_cast<std::size_t>(end_ - at_); }

    /// The next number; @p what names it in the error if it is missing. A std::size_t takes eight
    /// bytes in a binary part, on 32-bit machines too.
    template <class Number>
    Number Next(const char* what)
    {
        if constexpr (std::is_same_v<Number, std::size_t> && sizeof(Number) < 8)
        {
            if (binary)
            {
                const std::uint64_t wide = Bytes<std::uint64_t>(what);
                if (wide > SIZE_MAX)
                    ThrowMisread(what, true);
                return static_cast<Number>(wide);
            }
        }
        return binary ? Bytes<Number>(what) : Text<Number>(what);
    }
    /// A count of items of at least @p bytes each: no more than the file can hold.
    template <class Number = std::size_t>
    std::size_t Count(const char* what, std::size_t bytes)
    {
        return CheckedCount(static_cast<long long>(Next<Number>(what)), what, bytes);
    }
    /// The next word of a text part, up to the next blank.
    std::string_view Word();
    /// What is left of the line, without its end.
    std::string_view RestOfLine();
    /// Goes past the next line that begins with @p tag.
    /// @returns false when there is none
    bool SkipPast(std::string_view tag);
    /// The next @p count lines in pieces of @p each lines, the last one maybe of fewer. They begin
    /// here, or on the next line if nothing more is on this one. None when fewer lines are left.
    std::vector<MshScanner> Pieces(std::size_t count, std::size_t each) const;
    /// Continues where @p piece, which is one of Pieces, ends.
    void ContinueAfter(const MshScanner& piece)
    {
        at_ = piece.end_;
        line_ = piece.line_;
    }
    /// Goes past @p bytes bytes.
    void Skip(std::size_t bytes, const char* what);

    [[noreturn]] void Fail(const std::string& text) const { throw MshError{LineNumber(), text}; }

private:
    MshScanner(const char* at, const char* end, int line) : at_(at), end_(end), line_(line) {}

    void SkipBlanks()
    {
        for (; at_ != end_ && static_cast<unsigned char>(*at_) <= ' '; ++at_)
            line_ += *at_ == '\n';
    }

    template <class Number>
    Number Text(const char* what)
    {
        SkipBlanks();
        Number value{};
        if (at_ != end_ && *at_ == '+')
            ++at_;
        const auto [stop, error] = std::from_chars(at_, end_, value);
        if (error != std::errc() || (stop != end_ && static_cast<unsigned char>(*stop) > ' '))
            ThrowMisread(what, error == std::errc::result_out_of_range);
        at_ = stop;
        return value;
    }

    template <class Number>
    Number Bytes(const char* what)
    {
        static_assert(std::is_arithmetic_v<Number>);
        Number value{};
        if (BytesLeft() < sizeof value)
            Fail(std::string("the file ends where ") + what + " is expected");
        std::memcpy(&value, at_, sizeof value);
        at_ += sizeof value;
        return value;
    }

    [[noreturn]] void ThrowMisread(const char* what, bool tooLarge);
    std::size_t CheckedCount(long long count, const char* what, std::size_t bytes) const;

    const char* at_;
    const char* end_;
    int line_ = 1;
};

} // namespace percova
