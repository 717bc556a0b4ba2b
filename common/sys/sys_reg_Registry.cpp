#include "sys/sys_reg_Registry.h"

#include "foundation/KVISysMsg.h"
#include "foundation/KviError.h"
#include "foundation/str.h"
#include "sys/reg/RegistryValues.h"

#include <charconv>
#include <cstdint>
#include <iterator>

namespace sys::reg
{
namespace
{
using platform::CloseRegistryKey, platform::CreateRegistryKey, platform::DeleteRegistryValue;
using platform::kRegistryNumber, platform::kRegistryRead, platform::kRegistryReadWrite,
    platform::kRegistryText;
using platform::OpenRegistryKey, platform::ReadRegistryValue, platform::RegistryKey;
using platform::RegistryValueNames, platform::WriteRegistryValue, platform::IsAccessDenied;

constexpr std::size_t kNarrowBuffer = 2048; // bytes, with the zero

std::wstring Decimal(long long number)
{
    const std::string digits = std::to_string(number);
    return {digits.begin(), digits.end()};
}

std::uint32_t With(std::uint32_t access, REGKEY_ACCESS_VIEW view)
{
    return access | static_cast<std::uint32_t>(view);
}
} // namespace

ValueName::ValueName(const char* name) : ValueName(std::string(name)) {}
ValueName::ValueName(const std::string& name) : text_(str::as_wstring(name)) {}
ValueName::ValueName(unsigned int number) : text_(Decimal(number)) {}

Registry::Registry(const RegistryPath& path, REGKEY_ACCESS_VIEW view) : view_(view), path_(path)
{
    RegistryKey key = nullptr;
    if (OpenRegistryKey(path_.root, path_.subkey, With(kRegistryRead, view_), Host(), key) != 0)
        return;
    CloseRegistryKey(key);
    (void)CreateAndOpenRootPath_(); // the rights report failure
}

Registry::~Registry() { CloseRegistryKey(key_); }

/// Opens the key, creating missing ones; part by part when the system refuses to do it in one call.
unsigned long Registry::CreateAndOpenRootPath_()
{
    if (key_ != nullptr)
        return 0;
    RegistryKey parent = path_.root;
    std::wstring subkey = path_.subkey;
    for (;;)
    {
        RegistryKey opened = nullptr;
        const auto create = [&](const std::wstring& key, std::uint32_t access) {
            return CreateRegistryKey(parent, key, With(access, view_), Host(), opened);
        };
        unsigned long error = create(subkey, kRegistryReadWrite);
        rights_ = REGKEY_ACCESS_RIGHTS::read_write;
        if (IsAccessDenied(error))
        {
            const unsigned long denied = error;
            rights_ = REGKEY_ACCESS_RIGHTS::read_only;
            error = create(subkey, kRegistryRead);
            if (error != 0)
            {
                rights_ = REGKEY_ACCESS_RIGHTS::none;
                CloseRegistryKey(parent);
                return denied;
            }
        }
        if (error == 0)
        {
            CloseRegistryKey(parent);
            key_ = opened;
            return 0;
        }
        rights_ = REGKEY_ACCESS_RIGHTS::none;
        const std::size_t cut = subkey.find(L'\\');
        const unsigned long headError =
            cut == std::wstring::npos ? error : create(subkey.substr(0, cut), kRegistryReadWrite);
        CloseRegistryKey(parent);
        if (headError != 0)
            return headError;
        parent = opened;
        subkey.erase(0, cut + 1);
    }
}

unsigned long Registry::Read(const ValueName& name, std::uint32_t& type, std::string& bytes) const
{
    // Another program may have made the key since it was not there.
    RegistryKey key = key_;
    if (key == nullptr)
    {
        const unsigned long error =
            OpenRegistryKey(path_.root, path_.subkey, With(kRegistryRead, view_), Host(), key);
        if (error != 0)
            return error;
    }
    const unsigned long error = ReadRegistryValue(key, name.Text(), type, bytes);
    if (key != key_)
        CloseRegistryKey(key);
    return error;
}

gtl::status Registry::Missing(const ValueName& name, std::wstring_view reason) const
{
    return KviError::err_sysserv(L"RegQueryValueEx",
                                 path_.subkey + L'\\' + name.Text() + L": " + std::wstring(reason));
}

/// A stored number, or text that @p format reads one from.
template <class Number>
gtl::status Registry::GetNumber(const ValueName& name, const char* format, Number& value) const
{
    std::uint32_t type = 0;
    std::string bytes;
    if (const unsigned long error = Read(name, type, bytes); error != 0)
        return Missing(name, KVISysMsg(error));
    if (type == kRegistryNumber && bytes.size() == sizeof(std::uint32_t))
    {
        value = NumberOf(bytes);
        return {};
    }
    const ScanTarget target[] = {&value};
    if (type == kRegistryText && Scan(str::as_cstring(TextOf(bytes)), format, target) == 1)
        return {};
    return Missing(name, L"is no number.");
}

gtl::status Registry::GetInt(const ValueName& name, int& value) const
{
    return GetNumber(name, "%d", value);
}

gtl::status Registry::GetDouble(const ValueName& name, double& value) const
{
    return GetNumber(name, "%lf", value);
}

gtl::status Registry::GetString(const ValueName& name, std::wstring& value) const
{
    std::uint32_t type = 0;
    std::string bytes;
    if (const unsigned long error = Read(name, type, bytes); error != 0)
        return Missing(name, KVISysMsg(error));
    if (type != kRegistryText)
        return Missing(name, L"is no text.");
    value = TextOf(bytes);
    return {};
}

int Registry::ReadInt(const ValueName& name, int defaultValue) const
{
    int value = defaultValue;
    return key_ != nullptr && GetInt(name, value).ok() ? value : defaultValue;
}

double Registry::ReadDouble(const ValueName& name, double defaultValue) const
{
    double value = defaultValue;
    return key_ != nullptr && GetDouble(name, value).ok() ? value : defaultValue;
}

bool Registry::ReadBool(const ValueName& name, bool defaultValue) const
{
    return ReadInt(name, defaultValue ? 1 : 0) != 0;
}

std::string Registry::ReadString(const ValueName& name) const
{
    std::string text = str::as_cstring(ReadStringW(name));
    return text.size() < kNarrowBuffer ? text : std::string();
}

std::wstring Registry::ReadStringW(const ValueName& name) const
{
    std::wstring text;
    return key_ != nullptr && GetString(name, text).ok() ? text : std::wstring();
}

gtl::status Registry::WriteDouble(const ValueName& name, double value)
{
    char digits[32];
    const auto end = std::to_chars(std::begin(digits), std::end(digits), value);
    return WriteString(name, std::string(std::begin(digits), end.ptr));
}

gtl::status Registry::WriteInt(const ValueName& name, int value, bool asText)
{
    if (asText)
        return WriteString(name, Decimal(value));
    if (const unsigned long error = CreateAndOpenRootPath_(); error != 0)
        return Failure(error, L"RegCreateKeyEx");
    return Failure(WriteRegistryValue(key_, name.Text(), kRegistryNumber, NumberBytes(value)),
                   L"RegSetValueEx");
}

gtl::status Registry::WriteBool(const ValueName& name, bool value, bool asText)
{
    return WriteInt(name, value ? 1 : 0, asText);
}

gtl::status Registry::WriteString(const ValueName& name, const std::wstring& text)
{
    if (const unsigned long error = CreateAndOpenRootPath_(); error != 0)
        return Failure(error, L"RegCreateKeyEx");
    return Failure(WriteRegistryValue(key_, name.Text(), kRegistryText, TextBytes(text)),
                   L"RegSetValueEx");
}

gtl::status Registry::WriteString(const ValueName& name, const std::string& text)
{
    return WriteString(name, str::as_wstring(text));
}

gtl::status Registry::ValueExists(const ValueName& name) const
{
    // Another program may have made the key since it was not there.
    RegistryKey key = key_;
    if (key == nullptr)
    {
        const unsigned long error =
            OpenRegistryKey(path_.root, path_.subkey, With(kRegistryRead, view_), Host(), key);
        if (error != 0)
            return Failure(error, L"RegOpenKeyEx");
    }
    std::uint32_t type = 0;
    std::string bytes;
    const unsigned long error = ReadRegistryValue(key, name.Text(), type, bytes);
    if (key != key_)
        CloseRegistryKey(key);
    return Failure(error, L"RegQueryValueEx");
}

gtl::status Registry::DeleteValue(const ValueName& name)
{
    if (key_ == nullptr)
        return {};
    return Failure(DeleteRegistryValue(key_, name.Text()), L"RegDeleteValue");
}

std::vector<std::wstring> Registry::GetAllValues() const
{
    return key_ == nullptr ? std::vector<std::wstring>() : RegistryValueNames(key_);
}

} // namespace sys::reg
