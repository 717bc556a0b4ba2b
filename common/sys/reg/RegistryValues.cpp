#include "sys/reg/RegistryValues.h"

#include "foundation/KVISysMsg.h"
#include "foundation/KviError.h"
#include "foundation/kvidbg.h"
#include "foundation/str.h"
#include "platform/platform_utf8.h"

#include <atomic>
#include <cstdint>
#include <cstring>

namespace sys::reg
{
namespace
{
int Compare(std::wstring_view a, std::wstring_view b) { return str::compare_ignore_case(a, b); }

void ReportDamage(const std::wstring& path, const std::wstring& aside)
{
    static const kvi::diag::DeclareCategoryMask kCategory("Registry");
    if (static std::atomic<bool> kept{false}; aside.empty() && kept.exchange(true))
        return; // every read reports it again
    const std::wstring what = L"The registry's store " + path + L" is damaged. ";
    KVI_LOG(kvi::diag::error, kCategory,
            aside.empty() ? what + L"It could not be renamed; defaults serve."
                          : what + L"It is now " + aside + L"; a new one begins.");
}
} // namespace

const platform::RegistryHost& Host()
{
    static constexpr platform::RegistryHost kHost = {&Compare, &ReportDamage};
    return kHost;
}

std::string TextBytes(std::wstring_view text)
{
    std::u16string units;
    for (std::size_t at = 0; at < text.size();)
    {
        const char32_t c = platform::NextCharacter(text, at);
        if (c >= 0x10000)
            units += {static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10)),
                      static_cast<char16_t>(0xDC00 + ((c - 0x10000) & 0x3FF))};
        else
            units += static_cast<char16_t>(c);
    }
    return {reinterpret_cast<const char*>(units.c_str()), (units.size() + 1) * sizeof(char16_t)};
}

std::wstring TextOf(std::string_view bytes)
{
    std::u16string units(bytes.size() / sizeof(char16_t), u'\0');
    std::memcpy(units.data(), bytes.data(), units.size() * sizeof(char16_t));
    units.resize(std::char_traits<char16_t>::length(units.c_str()));
    std::wstring text;
    for (std::size_t i = 0; i < units.size(); ++i)
    {
        char32_t c = units[i];
        if ((c & 0xFC00) == 0xD800 && (units.c_str()[i + 1] & 0xFC00) == 0xDC00)
            c = 0x10000 + ((c - 0xD800) << 10) + (units[++i] - 0xDC00u);
        platform::AppendCharacter(text, c);
    }
    return text;
}

int NumberOf(std::string_view bytes)
{
    std::uint32_t number = 0;
    if (bytes.size() == sizeof number)
        std::memcpy(&number, bytes.data(), sizeof number);
    return static_cast<int>(number);
}

std::string NumberBytes(int value) { return {reinterpret_cast<const char*>(&value), sizeof value}; }

gtl::status Failure(unsigned long error, std::wstring_view call)
{
    return error == 0 ? gtl::status() : KviError::err_sysserv(call, KVISysMsg(error));
}

} // namespace sys::reg
