/// @file
/// Text in UTF-8, as a type of its own.
#pragma once

#include <compare>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

namespace str
{

/// Narrow text that holds UTF-8. It does not convert implicitly to or from std::string, so it
/// cannot be mixed up with text in the system's code page; as_u8string and as_wstring convert.
class u8string
{
public:
    u8string() = default;
    /// @param bytes  UTF-8 already
    explicit u8string(std::string bytes) : bytes_(std::move(bytes)) {}
    /// The characters of @p text.
    explicit u8string(std::u8string_view text) : bytes_(text.begin(), text.end()) {}

    const std::string& bytes() const { return bytes_; }  ///< the text
    const char* c_str() const { return bytes_.c_str(); } ///< the text, ending with a NUL byte
    std::size_t size() const { return bytes_.size(); }   ///< number of bytes, not of characters
    bool empty() const { return bytes_.empty(); }        ///< whether there are no bytes

    /// Appends @p other.
    u8string& operator+=(const u8string& other)
    {
        bytes_ += other.bytes_;
        return *this;
    }
    /// Byte order, which is the order of the characters' codes.
    friend auto operator<=>(const u8string&, const u8string&) = default;

private:
    std::string bytes_;
};

} // namespace str
