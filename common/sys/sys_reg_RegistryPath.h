/// @file
/// Places in the registry.
#pragma once

#include "foundation/kvi_export.h"

#include <string>

namespace sys::reg
{

/// A root of the registry; a Windows HKEY is one.
using RootKey = void*;

/// The settings of the user, HKEY_CURRENT_USER.
KVI_API RootKey CurrentUser();
/// The settings of the machine, HKEY_LOCAL_MACHINE.
KVI_API RootKey LocalMachine();

/// A root and the path of a key below it, parts separated by backslashes, none leading.
struct RegistryPath
{
    RootKey root = nullptr; ///< CurrentUser() or LocalMachine()
    std::wstring subkey;    ///< below the root
};

/// @{
/// The parts with a backslash between them.
KVI_API std::wstring ConcatenatePath(const std::wstring& a, const std::wstring& b);
/// The same with further parts.
KVI_API std::wstring ConcatenatePath(const std::wstring& a, const std::wstring& b,
                                     const std::wstring& c);
/// The same with further parts.
KVI_API std::wstring ConcatenatePath(const std::wstring& a, const std::wstring& b,
                                     const std::wstring& c, const std::wstring& d);
/// The same with further parts.
KVI_API std::wstring ConcatenatePath(const std::wstring& a, const std::wstring& b,
                                     const std::wstring& c, const std::wstring& d,
                                     const std::wstring& e);
/// @}

/// @{
/// The suite's key for the user, and the key @p sub below it.
KVI_API RegistryPath StrativoCurrentUserPath();
/// The key @p sub below it.
KVI_API RegistryPath StrativoCurrentUserPath(const std::wstring& sub);
/// @}
/// @{
/// The suite's key for the machine, and the key @p sub below it.
KVI_API RegistryPath StrativoLocalMachinePath();
/// The key @p sub below it.
KVI_API RegistryPath StrativoLocalMachinePath(const std::wstring& sub);
/// @}
/// The key of the suite's resources.
KVI_API RegistryPath StrativoResourcesPath();
/// The key of the web services.
KVI_API RegistryPath WebServicesPath();

} // namespace sys::reg
