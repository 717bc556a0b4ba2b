#include "mesh/MshScanner.h"

#include <algorithm>

namespace percova
{
namespace
{
/// Where the @p count lines from @p at on end; null when there are fewer before @p end.
const char* AfterLines(const char* at, const char* end, std::size_t count)
{
    constexpr std::ptrdiff_t kBlock = 4096;
    while (at != end)
    {
        const char* const next = at + std::min(kBlock, end - at);
        const auto found = static_cast<std::size_t>(std::count(at, next, '\n'));
        if (found >= count)
            break;
        count -= found;
        at = next;
    }
    for (; count > 0 && at != end; --count)
    {
        at = std::find(at, end, '\n');
        at += at != end;
    }
    return count == 0 ? at : nullptr;
}

/// At most 30 printable characters of @p word.
std::string Shown(std::string_view word)
{
    std::string shown(word.substr(0, 30));
    for (char& c : shown)
        if (static_cast<unsigned char>(c) < ' ' || static_cast<unsigned char>(c) > '~')
            c = '?';
    return shown + (word.size() > 30 ? "..." : "");
}
} // namespace

bool MshScanner::AtEnd()
{
    SkipBlanks();
    return at_ == end_;
}

std::string_view MshScanner::Word()
{
    SkipBlanks();
    const char* begin = at_;
    while (at_ != end_ && static_cast<unsigned char>(*at_) > ' ')
        ++at_;
    return {begin, static_cast<std::size_t>(at_ - begin)};
}

std::string_view MshScanner::RestOfLine()
{
    const char* begin = at_;
    at_ = std::find(at_, end_, '\n');
    std::string_view rest(begin, static_cast<std::size_t>(at_ - begin));
    if (at_ != end_)
    {
        ++at_;
        ++line_;
    }
    while (!rest.empty() && static_cast<unsigned char>(rest.back()) <= ' ')
        rest.remove_suffix(1);
    return rest;
}

bool MshScanner::SkipPast(std::string_view tag)
{
    const std::string_view rest(at_, BytesLeft());
    std::size_t found = rest.find(tag);
    while (found != std::string_view::npos && found > 0 && rest[found - 1] != '\n')
        found = rest.find(tag, found + 1);
    if (found == std::string_view::npos)
        return false;
    line_ += static_cast<int>(std::count(at_, at_ + found, '\n'));
    at_ += found + tag.size();
    return true;
}

std::vector<MshScanner> MshScanner::Pieces(std::size_t count, std::size_t each) const
{
    MshScanner lines = *this;
    if (MshScanner next = *this; next.RestOfLine().empty())
        lines = next;
    std::vector<MshScanner> pieces;
    while (count > 0)
    {
        const std::size_t size = std::min(count, each);
        const char* const end = AfterLines(lines.at_, end_, size);
        if (end == nullptr)
            return {};
        pieces.push_back({lines.at_, end, lines.line_});
        lines.at_ = end;
        lines.line_ += static_cast<int>(size);
        count -= size;
    }
    return pieces;
}

void MshScanner::Skip(std::size_t bytes, const char* what)
{
    if (BytesLeft() < bytes)
        Fail(std::string("the file ends where ") + what + " is expected");
    at_ += bytes;
}

void MshScanner::ThrowMisread(const char* what, bool tooLarge)
{
    const int line = line_;
    const std::string_view word = Word();
    if (word.empty())
        throw MshError{line, std::string("the file ends where ") + what + " is expected"};
    throw MshError{line, '"' + Shown(word) + "\" is found where " + what +
                             (tooLarge ? " is expected, and is too large" : " is expected")};
}

std::size_t MshScanner::CheckedCount(long long count, const char* what, std::size_t bytes) const
{
    if (count < 0 || static_cast<unsigned long long>(count) > BytesLeft() / bytes)
        Fail(std::string(what) + " is " + std::to_string(count) + ", but only " +
             std::to_string(BytesLeft()) + " bytes of the file are left");
    return static_cast<std::size_t>(count);
}

} // namespace percova
