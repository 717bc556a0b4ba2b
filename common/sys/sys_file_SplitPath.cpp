#include "sys/sys_file_SplitPath.h"

#include "foundation/str.h"

namespace sys::file
{
namespace
{
constexpr wchar_t kForbidden[] = L"/\"<>|";

bool Holds(const std::wstring& text, const wchar_t* letters, std::size_t from = 0)
{
    return text.find_first_of(letters, from) != std::wstring::npos;
}
} // namespace

void SplitPath::Assign(const std::wstring& path)
{
    // A copy: it may be one of the parts.
    const std::wstring whole = path; // NOLINT(performance-unnecessary-copy-initialization)
    const std::size_t last = whole.find_last_of(L".\\:");
    const bool dotted = last != std::wstring::npos && whole[last] == L'.';
    const std::size_t nameEnd = dotted ? last : whole.size();
    const std::size_t nameBegin = whole.find_last_of(L"\\:") + 1; // npos + 1 is 0
    dir = whole.substr(0, nameBegin);
    fname = whole.substr(nameBegin, nameEnd - nameBegin);
    ext = whole.substr(nameEnd);
}

void SplitPath::Assign(const std::wstring& newDir, const std::wstring& newFName,
                       const std::wstring& newExt)
{
    *this = [&] {
        SplitPath parts;
        parts.dir = newDir;
        parts.fname = newFName;
        parts.ext = newExt;
        return parts;
    }();
}

SplitPath& SplitPath::FNameExt(const std::wstring& nameWithExt)
{
    // A copy: it may be one of the parts.
    const std::wstring name = nameWithExt; // NOLINT(performance-unnecessary-copy-initialization)
    const std::size_t dot = name.rfind(L'.');
    fname = name.substr(0, dot);
    ext = dot == std::wstring::npos ? std::wstring() : name.substr(dot);
    return *this;
}

int SplitPath::Compare(const SplitPath& other) const
{
    if (const int order = str::compare_ignore_case(dir, other.dir); order != 0)
        return order;
    if (const int order = str::compare_ignore_case(fname, other.fname); order != 0)
        return order;
    return str::compare_ignore_case(ext, other.ext);
}

bool SplitPath::IsValid() const
{
    if (Holds(dir, kForbidden) || (!dir.empty() && dir.back() != L'\\'))
        return false;
    if (dir.size() >= 2 && dir[dir.size() - 2] == L' ')
        return false;
    if (Holds(fname, kForbidden) || Holds(fname, L":\\") || fname.ends_with(L' '))
        return false;
    return ext.empty() || (ext.front() == L'.' && !Holds(ext, L".:\\", 1) && ext.back() != L' ');
}

std::wstring SplitPath::ConcatenateDir(const std::wstring& a, const std::wstring& b)
{
    if (b.empty())
        return a;
    const std::size_t end = a.find_last_not_of(L'\\') + 1; // npos + 1 is 0
    const std::size_t begin = b.find_first_not_of(L'\\');
    return a.substr(0, end) + L'\\' + (begin == std::wstring::npos ? L"" : b.substr(begin));
}

} // namespace sys::file
