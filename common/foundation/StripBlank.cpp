#include "foundation/StripBlank.h"

#include "foundation/StrClear.h"

#include <cstddef>
#include <cstring>

namespace
{
bool IsBlank(char c) { return c == ' ' || c == '\t'; }
} // namespace

void StrClear(char* buffer, int size)
{
    if (size > 0)
        std::memset(buffer, ' ', static_cast<std::size_t>(size));
    buffer[0] = 0;
    buffer[static_cast<std::ptrdiff_t>(size) - 1] = 0;
}

void StripLdBlank(char* buffer)
{
    const char* first = buffer;
    while (IsBlank(*first))
        ++first;
    if (*first != 0)
        std::memmove(buffer, first, std::strlen(first) + 1);
}

int StripTrBlank(char* buffer)
{
    auto last = static_cast<std::ptrdiff_t>(std::strlen(buffer)) - 1;
    while (last >= 0 && IsBlank(buffer[last]))
        --last;
    buffer[last + 1] = 0;
    return static_cast<int>(last);
}

void StripFileNameQuotes(char* buffer)
{
    StripTrBlank(buffer);
    StripLdBlank(buffer);
    int last = static_cast<int>(std::strlen(buffer)) - 1;
    if (last >= 0 && buffer[last] == '"')
        buffer[last--] = 0;
    if (last >= 0 && buffer[0] == '"')
        std::memmove(buffer, buffer + 1, static_cast<std::size_t>(last) + 1);
}
