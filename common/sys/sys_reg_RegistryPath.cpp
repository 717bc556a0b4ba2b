#include "sys/sys_reg_RegistryPath.h"

#include "foundation/str.h"
#include "platform/platform_registry.h"

namespace sys::reg
{
namespace
{
using Parts = std::vector<std::wstring>;

std::wstring Joined(const Parts& parts) { return str::join<std::wstring>(parts, L"\\"); }

std::wstring OfMaker(const std::wstring& key)
{
    return ConcatenatePath(L"Software", L"KORVANE", key);
}
} // namespace

RootKey CurrentUser() { return platform::CurrentUserRoot(); }

RootKey LocalMachine() { return platform::LocalMachineRoot(); }

std::wstring ConcatenatePath(const std::wstring& a, const std::wstring& b)
{
    return Joined({a, b});
}

std::wstring ConcatenatePath(const std::wstring& a, const std::wstring& b, const std::wstring& c)
{
    return Joined({a, b, c});
}

std::wstring ConcatenatePath(const std::wstring& a, const std::wstring& b, const std::wstring& c,
                             const std::wstring& d)
{
    return Joined({a, b, c, d});
}

std::wstring ConcatenatePath(const std::wstring& a, const std::wstring& b, const std::wstring& c,
                             const std::wstring& d, const std::wstring& e)
{
    return Joined({a, b, c, d, e});
}

RegistryPath StrativoCurrentUserPath() { return {CurrentUser(), OfMaker(L"Strativo 8")}; }

RegistryPath StrativoCurrentUserPath(const std::wstring& sub)
{
    return {CurrentUser(), ConcatenatePath(StrativoCurrentUserPath().subkey, sub)};
}

RegistryPath StrativoLocalMachinePath() { return {LocalMachine(), OfMaker(L"Strativo 8")}; }

RegistryPath StrativoLocalMachinePath(const std::wstring& sub)
{
    return {LocalMachine(), ConcatenatePath(StrativoLocalMachinePath().subkey, sub)};
}

RegistryPath StrativoResourcesPath() { return {LocalMachine(), OfMaker(L"Strativo 8 Resources")}; }

RegistryPath WebServicesPath() { return {LocalMachine(), OfMaker(L"WebServices")}; }

} // namespace sys::reg
