#include "platform/platform_locale.h"

#include "platform/platform_env.h"

#include <iterator>
#include <memory>
#include <string_view>

#include <langinfo.h>
#include <locale.h>

namespace platform
{
namespace
{

struct Known
{
    std::uint32_t id;
    const char* name;
    // What nl_langinfo says where the locale is installed.
    const char* decimal;
    const char* thousands;
};

constexpr Known kKnown[] = {
    {0x0404, "zh_TW", ".", ","},      {0x0405, "cs_CZ", ",", "\u202f"},
    {0x0406, "da_DK", ",", "."},      {0x0407, "de_DE", ",", "."},
    {0x0409, "en_US", ".", ","},      {0x040a, "es_ES", ",", "."},
    {0x040b, "fi_FI", ",", "\u202f"}, {0x040c, "fr_FR", ",", "\u202f"},
    {0x0410, "it_IT", ",", "."},      {0x0411, "ja_JP", ".", ","},
    {0x0412, "ko_KR", ".", ","},      {0x0413, "nl_NL", ",", "."},
    {0x0414, "nb_NO", ",", "\u202f"}, {0x0415, "pl_PL", ",", "\u202f"},
    {0x0416, "pt_BR", ",", "."},      {0x0419, "ru_RU", ",", "\u202f"},
    {0x041d, "sv_SE", ",", "\u202f"}, {0x041f, "tr_TR", ",", "."},
    {0x0804, "zh_CN", ".", ","},      {0x0807, "de_CH", ".", "\u2019"},
    {0x0809, "en_GB", ".", ","},      {0x080a, "es_MX", ".", ","},
    {0x0816, "pt_PT", ",", "."},      {0x0c07, "de_AT", ",", "\u202f"},
    {0x0c09, "en_AU", ".", ","},      {0x0c0c, "fr_CA", ",", "\u202f"},
    {0x1009, "en_CA", ".", ","},
};

// The user's choice for numbers, "fr_CA.UTF-8" as "fr_CA"; empty when it is the C locale.
std::string UserName()
{
    for (const wchar_t* variable : {L"LC_ALL", L"LC_NUMERIC", L"LANG"})
        if (const auto value = Environment(variable); value && !value->empty())
        {
            const std::string name(value->begin(),
                                   value->begin() +
                                       std::ptrdiff_t(std::min(value->find(L'.'), value->size())));
            return name == "C" || name == "POSIX" ? std::string() : name;
        }
    return {};
}

const Known* Find(std::uint32_t id)
{
    for (const Known& known : kKnown)
        if (known.id == id)
            return &known;
    return nullptr;
}

using Handle = std::unique_ptr<std::remove_pointer_t<locale_t>, decltype(&::freelocale)>;

Handle Open(std::uint32_t id)
{
    const std::string name = LocaleName(id);
    return {name.empty() ? nullptr : ::newlocale(LC_ALL_MASK, name.c_str(), nullptr), ::freelocale};
}

} // namespace

std::uint32_t UserLocale()
{
    const std::string name = UserName();
    if (name.empty())
        return kInvariantLocale;
    for (const Known& known : kKnown)
        if (name == known.name)
            return known.id;
    return kUserLocale;
}

bool IsLocaleInstalled(std::uint32_t id) { return id == kInvariantLocale || Open(id) != nullptr; }

std::string LocaleText(std::uint32_t id, LocaleItem item)
{
    std::string decimal = ".", thousands = ",";
    if (const Handle locale = id == kInvariantLocale ? Handle(nullptr, ::freelocale) : Open(id))
    {
        decimal = ::nl_langinfo_l(RADIXCHAR, locale.get());
        thousands = ::nl_langinfo_l(THOUSEP, locale.get());
    }
    else if (const Known* known = Find(id))
    {
        decimal = known->decimal;
        thousands = known->thousands;
    }
    switch (item)
    {
    case LocaleItem::decimal:
        return decimal;
    case LocaleItem::thousands:
        return thousands;
    default: // the system has none: one that cannot be mistaken for the decimal separator
        return decimal == "," ? ";" : ",";
    }
}

std::string LocaleName(std::uint32_t id)
{
    if (id == kInvariantLocale)
        return "C";
    const Known* known = Find(id);
    const std::string name = known != nullptr ? known->name : id == kUserLocale ? UserName() : "";
    return name.empty() ? name : name + ".UTF-8";
}

} // namespace platform
