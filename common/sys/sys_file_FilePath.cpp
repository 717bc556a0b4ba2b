#include "sys/sys_file_FilePath.h"

#include "foundation/KviError.h"

#include <vector>

namespace sys::file
{
namespace
{
std::vector<std::wstring> Fields(const std::wstring& text)
{
    std::vector<std::wstring> fields(1);
    bool quoted = false;
    for (std::size_t i = 0; i < text.size(); ++i)
    {
        if (text[i] == L'"')
            quoted = !quoted;
        else if (text[i] == L';' && !quoted)
            fields.emplace_back();
        else if (text[i] != L'&' || ++i < text.size())
            fields.back() += text[i];
    }
    return fields;
}
} // namespace

FilePath::FilePath(const std::wstring& text)
{
    if (text.find(L';') == std::wstring::npos)
        abs_ = text;
    else
        (void)SetDelimPath(text); // failure leaves both paths empty
}

void FilePath::SetPath(const std::wstring& abs, const std::wstring& rel)
{
    std::wstring newRel = rel; // either may alias a member
    abs_ = abs;
    rel_ = std::move(newRel);
}

gtl::status FilePath::SetDelimPath(const std::wstring& text)
{
    const std::vector<std::wstring> fields = Fields(text);
    if (fields.size() != 2)
    {
        gtl::status failure = KviError::File::invalid_path(text);
        Clear();
        return failure;
    }
    SetPath(fields[0], fields[1]);
    return {};
}

void FilePath::Clear()
{
    abs_.clear();
    rel_.clear();
}

std::wstring FilePath::FullPath() const
{
    return impl::FormatPathString(abs_) + L';' + impl::FormatPathString(rel_);
}

std::wstring impl::FormatPathString(const std::wstring& s)
{
    if (s.empty())
        return {};
    std::wstring field = L"\"";
    for (const wchar_t c : s)
        field.append(c == L'&' ? 2 : 1, c);
    return field + L'"';
}

} // namespace sys::file
