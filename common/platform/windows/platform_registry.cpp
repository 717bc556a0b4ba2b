#include "platform/platform_registry.h"

#include <windows.h>

namespace platform
{
namespace
{
constexpr DWORD kNameBuffer = 16883; // characters, more than a name may have

HKEY Key(RegistryKey key) { return static_cast<HKEY>(key); }

unsigned long Number(LSTATUS result) { return static_cast<unsigned long>(result); }
} // namespace

RegistryKey CurrentUserRoot() { return HKEY_CURRENT_USER; }

RegistryKey LocalMachineRoot() { return HKEY_LOCAL_MACHINE; }

unsigned long OpenRegistryKey(RegistryKey parent, const std::wstring& subkey, std::uint32_t access,
                              const RegistryHost& /*the system's store*/, RegistryKey& key)
{
    HKEY opened = nullptr;
    const LSTATUS result = ::RegOpenKeyExW(Key(parent), subkey.c_str(), 0, access, &opened);
    if (result == ERROR_SUCCESS)
        key = opened;
    return Number(result);
}

unsigned long CreateRegistryKey(RegistryKey parent, const std::wstring& subkey,
                                std::uint32_t access, const RegistryHost& /*the system's store*/,
                                RegistryKey& key)
{
    HKEY opened = nullptr;
    const LSTATUS result =
        ::RegCreateKeyExW(Key(parent), subkey.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE, access,
                          nullptr, &opened, nullptr);
    if (result == ERROR_SUCCESS)
        key = opened;
    return Number(result);
}

void CloseRegistryKey(RegistryKey key)
{
    if (key != nullptr && key != CurrentUserRoot() && key != LocalMachineRoot())
        ::RegCloseKey(Key(key));
}

unsigned long ReadRegistryValue(RegistryKey key, const std::wstring& name, std::uint32_t& type,
                                std::string& bytes)
{
    // Another process may lengthen the value between two calls, so repeat until it fits.
    std::string room;
    for (;;)
    {
        DWORD kind = 0, size = static_cast<DWORD>(room.size());
        const LSTATUS result = ::RegQueryValueExW(Key(key), name.c_str(), nullptr, &kind,
                                                  reinterpret_cast<BYTE*>(room.data()), &size);
        if (result != ERROR_MORE_DATA && (result != ERROR_SUCCESS || size <= room.size()))
        {
            if (result == ERROR_SUCCESS)
            {
                room.resize(size);
                bytes.swap(room);
                type = kind;
            }
            return Number(result);
        }
        room.resize(size);
    }
}

unsigned long WriteRegistryValue(RegistryKey key, const std::wstring& name, std::uint32_t type,
                                 std::string_view bytes)
{
    return Number(::RegSetValueExW(Key(key), name.c_str(), 0, type,
                                   reinterpret_cast<const BYTE*>(bytes.data()),
                                   static_cast<DWORD>(bytes.size())));
}

unsigned long DeleteRegistryValue(RegistryKey key, const std::wstring& name)
{
    return Number(::RegDeleteValueW(Key(key), name.c_str()));
}

std::vector<std::wstring> RegistryValueNames(RegistryKey key)
{
    std::vector<std::wstring> names;
    std::vector<wchar_t> buffer(kNameBuffer);
    for (DWORD length = kNameBuffer;
         ::RegEnumValueW(Key(key), static_cast<DWORD>(names.size()), buffer.data(), &length,
                         nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
         length = kNameBuffer)
        names.emplace_back(buffer.data(), length);
    return names;
}

bool IsAccessDenied(unsigned long error) { return error == ERROR_ACCESS_DENIED; }

} // namespace platform
