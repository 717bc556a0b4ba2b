#include "sys/file/FileErrors.h"

#include "foundation/KVISysMsg.h"
#include "foundation/KviError.h"
#include "foundation/str.h"
#include "platform/platform_file.h"
#include "platform/platform_path.h"

namespace sys::file
{
namespace
{
/// Matches in one pass, going back to the last "*" only.
bool Matches(std::wstring_view name, std::wstring_view pattern)
{
    constexpr std::size_t kNone = std::wstring_view::npos;
    std::size_t n = 0, p = 0, star = kNone, starName = 0;
    while (n < name.size())
    {
        const bool one = p < pattern.size() && pattern[p] != L'*' &&
                         (pattern[p] == L'?' ||
                          str::compare_ignore_case(name.substr(n, 1), pattern.substr(p, 1)) == 0);
        if (p < pattern.size() && pattern[p] == L'*')
        {
            star = p++;
            starName = n;
        }
        else if (one && !(pattern[p] == L'?' && name[n] == L'.'))
        {
            ++n;
            ++p;
        }
        else if (p < pattern.size() && pattern[p] == L'?')
        {
            ++p; // no character before a dot
        }
        else if (star != kNone)
        {
            p = star + 1;
            n = ++starName;
        }
        else
        {
            return false;
        }
    }
    return pattern.find_first_not_of(L"*?", p) == kNone;
}
} // namespace

bool IsUsable(const std::wstring& path)
{
    return !path.empty() && path.find(L'\0') == std::wstring::npos;
}

bool MatchesPattern(std::wstring_view name, std::wstring_view pattern)
{
    if (pattern.ends_with(L".*") && Matches(name, pattern.substr(0, pattern.size() - 2)))
        return true;
    if (pattern.ends_with(L'.') && name.find(L'.') == std::wstring_view::npos)
        pattern.remove_suffix(1);
    return Matches(name, pattern);
}

gtl::status Failure(unsigned long error, const std::wstring& path, PathError otherwise)
{
    if (error == 0)
        return {};
    switch (platform::FaultOf(error))
    {
    case platform::FileFault::tooLong:
        return KviError::File::file_path_too_long(path, platform::PathLimit());
    case platform::FileFault::badName:
        return KviError::File::invalid_path(path);
    default:
        return otherwise(path, KVISysMsg(error));
    }
}

gtl::status FailureOfExisting(unsigned long error, const std::wstring& path, PathError otherwise)
{
    if (error != 0 && platform::FaultOf(error) == platform::FileFault::missing)
        return KviError::File::file_not_found(path);
    return Failure(error, path, otherwise);
}

} // namespace sys::file
