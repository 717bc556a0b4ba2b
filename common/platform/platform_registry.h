/// @file
/// The registry: keys in a tree, each with named values of several types.
///
/// Windows: the system's. Elsewhere: one SQLite file for the user's root and one for the
/// machine's, kvi/registry.sqlite in the user's configuration folder and in /etc, or user.sqlite
/// and machine.sqlite in the folder that the environment variable KVI_REGISTRY names. Functions
/// return 0 or the system's error number. Threads: any; a key one at a time.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace platform
{

/// An open key, one of the roots, or null.
using RegistryKey = void*;

/// The roots, by the values that they have on Windows.
RegistryKey CurrentUserRoot();
RegistryKey LocalMachineRoot();

/// Types of values.
inline constexpr std::uint32_t kRegistryText = 1; ///< UTF-16 with a zero at its end
inline constexpr std::uint32_t kRegistryBinary = 3;
inline constexpr std::uint32_t kRegistryNumber = 4; ///< 32 bits

/// Access that is asked for: one of the first two, or'ed with a view. The machine's "Software" has
/// one tree of keys for each view.
inline constexpr std::uint32_t kRegistryRead = 0x20019;
inline constexpr std::uint32_t kRegistryReadWrite = 0x2001F;
inline constexpr std::uint32_t kRegistryView64 = 0x0100;
inline constexpr std::uint32_t kRegistryView32 = 0x0200;

/// Services that the SQLite store needs from higher layers.
struct RegistryHost
{
    /// The order of names: 0 for names that differ in case only.
    int (*compare)(std::wstring_view a, std::wstring_view b);
    /// Called for a damaged store: its path, and its new one (empty: it could not be renamed).
    void (*damaged)(const std::wstring& path, const std::wstring& aside);
};

/// Opens an existing key. @p key is written on success only.
unsigned long OpenRegistryKey(RegistryKey parent, const std::wstring& subkey, std::uint32_t access,
                              const RegistryHost& host, RegistryKey& key);
/// Opens a key, creating it if it does not exist.
unsigned long CreateRegistryKey(RegistryKey parent, const std::wstring& subkey,
                                std::uint32_t access, const RegistryHost& host, RegistryKey& key);
/// Closes a key; roots and null stay.
void CloseRegistryKey(RegistryKey key);

/// The type and bytes of a value.
unsigned long ReadRegistryValue(RegistryKey key, const std::wstring& name, std::uint32_t& type,
                                std::string& bytes);
unsigned long WriteRegistryValue(RegistryKey key, const std::wstring& name, std::uint32_t type,
                                 std::string_view bytes);
unsigned long DeleteRegistryValue(RegistryKey key, const std::wstring& name);
/// The names of all values, in the system's order; names read before a failure are kept.
std::vector<std::wstring> RegistryValueNames(RegistryKey key);

/// Whether @p error is a refused access.
bool IsAccessDenied(unsigned long error);

} // namespace platform
