/// @file
/// Text of unknown origin on its way to a terminal.
#pragma once

#include <ostream>
#include <streambuf>
#include <string>
#include <string_view>

namespace percova
{

/// @p text as one harmless line: "?" instead of each control character (line ends too, and those of
/// U+0080 to U+009F), of the signs that turn the direction of writing, and of bytes that are no
/// UTF-8.
std::string Shown(std::string_view text);
/// The same, no longer than @p most bytes and "...".
std::string Shortened(std::string_view text, std::size_t most = 60);

/// Hands lines to another stream with everything but the line ends as Shown has it.
class SafeBuffer : public std::streambuf
{
public:
    explicit SafeBuffer(std::ostream& to) : out_(to) {}
    ~SafeBuffer() override { Pass(line_.size()); }
    SafeBuffer(const SafeBuffer&) = delete;
    SafeBuffer& operator=(const SafeBuffer&) = delete;

private:
    int_type overflow(int_type c) override;
    std::streamsize xsputn(const char* text, std::streamsize count) override;
    int sync() override;
    void Pass(std::size_t size);

    std::ostream& out_;
    std::string line_; ///< not passed on yet
};

} // namespace percova
