#include "foundation/BufLine.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <limits>

const ReadBufSettings rbfDefault = {0, false, true, false};

namespace
{
// A zero inside the bytes would end the text early, so it counts as a blank.
bool IsBlank(char c) { return c == ' ' || c == '\t' || c == 0; }

/// Moves @p *at past the line that begins there; returns the line's end.
const char* PassLine(const char** at, const char* end)
{
    const char* stop = std::find_if(*at, end, [](char c) { return c == '\n' || c == '\r'; });
    *at = stop;
    if (stop != end)
        *at += stop + 1 != end && stop[0] == '\r' && stop[1] == '\n' ? 2 : 1;
    return stop;
}

bool Write(char* buffer, int size, int* used, const char* first, const char* between,
           const char* second)
{
    const char* const pieces[] = {first, between, second, "\n"};
    std::size_t length = 1; // the closing zero
    for (const char* piece : pieces)
        length += std::strlen(piece);
    if (*used < 0 || *used > size || length > static_cast<std::size_t>(size - *used))
        return false;
    char* out = buffer + *used;
    for (const char* piece : pieces)
        out = std::copy(piece, piece + std::strlen(piece), out);
    *out = 0;
    *used = static_cast<int>(out - buffer);
    return true;
}
} // namespace

int ReadBufLine(char* line, int size, const char** at, const char* end,
                const ReadBufSettings& settings)
{
    line[0] = 0;
    while (*at != end)
    {
        const char* first = *at;
        const char* last = PassLine(at, end);
        if (settings.comment != 0)
            last = std::find(first, last, settings.comment);
        while (settings.stripTr && last != first && IsBlank(last[-1]))
            --last;
        while (settings.stripLd && first != last && IsBlank(*first))
            ++first;
        if (settings.skipBlank && std::all_of(first, last, IsBlank))
            continue;
        const auto kept = std::min(last - first, static_cast<std::ptrdiff_t>(size - 1));
        *std::replace_copy(first, first + kept, line, '\0', ' ') = 0;
        return static_cast<int>(
            std::min<std::ptrdiff_t>(last - first, std::numeric_limits<int>::max()));
    }
    return -1;
}

bool WriteBufLine(char* buffer, int size, int* used, const char* line)
{
    return Write(buffer, size, used, line, "", "");
}

bool WriteBufLine2(char* buffer, int size, int* used, const char* first, const char* second)
{
    return Write(buffer, size, used, first, " ", second);
}
