#include "platform/platform_path.h"

#include <algorithm>

namespace platform
{
namespace
{
bool IsLetter(wchar_t c) { return (c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z'); }

/// The end of the part that begins at @p at and of the separators after it.
std::size_t EndOfPart(std::wstring_view path, std::size_t at)
{
    while (at < path.size() && !IsSeparator(path[at]))
        ++at;
    return at < path.size() ? at + 1 : at;
}
} // namespace

PathRoot RootOf(std::wstring_view path)
{
    const std::size_t size = path.size();
    if (size >= 2 && path[1] == L':' && IsLetter(path[0]))
    {
        const bool fixed = size > 2 && IsSeparator(path[2]);
        return {fixed ? std::size_t{3} : std::size_t{2}, fixed, true};
    }
    if (size == 0 || !IsSeparator(path[0]))
        return {0, false, false};
    if (size < 3 || !IsSeparator(path[1]) || IsSeparator(path[2]))
        return {1, true, false};
    std::size_t end = EndOfPart(path, 2);
    const std::wstring_view server = path.substr(2, end - 2);
    // "\\?\UNC\server\share\", "\\?\C:\", "\\.\pipe\", "\\server\share\"
    const bool device = server.size() == 2 && (server[0] == L'?' || server[0] == L'.');
    const auto is = [&](std::size_t at, wchar_t capital) {
        return path[end + at] == capital || path[end + at] == capital - L'A' + L'a';
    };
    if (device && path.size() > end + 3 && is(0, L'U') && is(1, L'N') && is(2, L'C') &&
        IsSeparator(path[end + 3]))
        end = EndOfPart(path, end + 4);
    return {EndOfPart(path, end), true, true};
}

std::vector<std::wstring_view> PartsOf(std::wstring_view path)
{
    std::vector<std::wstring_view> parts;
    for (std::size_t at = 0; at < path.size();)
    {
        const std::size_t end = static_cast<std::size_t>(
            std::find_if(path.begin() + static_cast<std::ptrdiff_t>(at), path.end(), IsSeparator) -
            path.begin());
        if (end > at)
            parts.push_back(path.substr(at, end - at));
        at = end + 1;
    }
    return parts;
}

std::wstring Joined(std::wstring_view folder, std::wstring_view name)
{
    std::wstring path(folder);
    if (!path.empty() && !IsSeparator(path.back()))
        path += L'\\';
    return path += name;
}

std::wstring Normalised(std::wstring_view path, bool* above)
{
    const PathRoot root = RootOf(path);
    std::wstring result(path.substr(0, root.length));
    std::replace(result.begin(), result.end(), L'/', L'\\');
    const std::wstring_view rest = path.substr(root.length);
    bool dropped = false;
    std::vector<std::wstring_view> parts;
    for (const std::wstring_view part : PartsOf(rest))
    {
        if (part == L"..")
        {
            if (!parts.empty() && parts.back() != L"..")
                parts.pop_back();
            else if (root.fixed)
                dropped = true;
            else
                parts.push_back(part);
        }
        else if (part != L".")
        {
            parts.push_back(part);
        }
    }
    for (std::size_t i = 0; i < parts.size(); ++i)
    {
        if (!result.empty() && result.back() != L'\\' && (i > 0 || root.fixed))
            result += L'\\';
        result += parts[i];
    }
    if (!parts.empty() && IsSeparator(rest.back()))
        result += L'\\';
    if (above != nullptr)
        *above = dropped;
    return result.empty() ? L"." : result;
}

} // namespace platform
