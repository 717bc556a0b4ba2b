#include "foundation/str_load_wstring.h"

#include "foundation/App.h"
#include "foundation/str.h"
#include "foundation/str_locale.h"

namespace str
{

std::wstring load_wstring(unsigned int code)
{
    const std::wstring_view text = App::Instance().MessageTextView(code);
    return std::wstring(text.empty() ? AppImpl::EnglishText(code) : text);
}

std::vector<std::wstring> load_wstrings(const std::vector<unsigned int>& codes)
{
    std::vector<std::wstring> texts;
    texts.reserve(codes.size());
    for (const unsigned int code : codes)
        texts.push_back(load_wstring(code));
    return texts;
}

std::wstring joinLanguage(const std::vector<std::wstring>& parts)
{
    return join(parts, locale::list_delim() + L" ");
}

} // namespace str
