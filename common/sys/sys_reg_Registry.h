/// @file
/// Settings in the registry.
#pragma once

#include "foundation/gtl_status.h"
#include "foundation/kvi_export.h"
#include "sys/sys_reg_RegistryPath.h"
#include "sys/sys_reg_ScanTarget.h"

#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace sys::reg
{

/// What a key was opened for.
enum class REGKEY_ACCESS_RIGHTS
{
    none = 0,
    read_only = 1,
    read_write = 2
};

/// Which of the two trees of the machine's software keys is meant; the flag of the system's calls.
enum class REGKEY_ACCESS_VIEW : unsigned
{
    of_process = 0, ///< as the process is built
    view_64 = 0x0100,
    view_32 = 0x0200
};

/// The name of a value: wide, narrow in the system's code page, or a number in decimal digits.
class KVI_API ValueName
{
public:
    /// @{
    /// The name.
    ValueName(const wchar_t* name) : text_(name) {} // NOLINT(google-explicit-constructor)
    /// A wide name.
    ValueName(const std::wstring& name) : text_(name) {} // NOLINT(google-explicit-constructor)
    /// A name in the system's code page.
    ValueName(const char* name); // NOLINT(google-explicit-constructor)
    /// A name in the system's code page.
    ValueName(const std::string& name); // NOLINT(google-explicit-constructor)
    /// The number in decimal digits.
    ValueName(unsigned int number); // NOLINT(google-explicit-constructor)
    /// @}

    const std::wstring& Text() const { return text_; } ///< as wide text

private:
    std::wstring text_;
};

/// One key of the registry.
///
/// Reading never fails: an absent, mistyped or inaccessible value gives the default; the Get
/// functions report which. Reading never waits for a writer and finds the old value or the new one.
/// Making the object and reading create nothing; the first write creates the key and those above
/// it. On Linux the registry is an SQLite file for the user (~/.config/kvi/registry.sqlite) and one
/// for the machine (/etc/kvi/registry.sqlite), or user.sqlite and machine.sqlite in the folder that
/// the environment variable KVI_REGISTRY names; text is in UTF-16 there, and the guide has a
/// program that prints it. A file is used only if no user other than root can replace it.
///
/// Threads: one at a time; any number of objects and processes may use one key.
/// @code
/// Registry general(StrativoCurrentUserPath(L"General"), REGKEY_ACCESS_VIEW::view_32);
/// const int digits = general.ReadInt(L"Digits", 4);
/// gtl::status written = general.WriteInt(L"Digits", 5, false);
/// @endcode
class KVI_API Registry
{
public:
    /// Opens the key if it exists, for writing if that is allowed.
    Registry(const RegistryPath& path, REGKEY_ACCESS_VIEW view);
    virtual ~Registry();
    Registry(const Registry&) = delete;
    Registry& operator=(const Registry&) = delete;

    REGKEY_ACCESS_RIGHTS GetAccessRights() const { return rights_; } ///< none when not open
    REGKEY_ACCESS_VIEW AccessView() const { return view_; }          ///< as given
    const RegistryPath& Path() const { return path_; }               ///< as given

    /// A 32-bit number, or text that begins with one.
    int ReadInt(const ValueName& name, int defaultValue) const;
    /// A number in decimal text, whatever the locale, or a 32-bit number.
    double ReadDouble(const ValueName& name, double defaultValue) const;
    /// @{
    /// The value that the Read function of that type would give, or the reason why there is none:
    /// an absent key or value, another type, denied access. Distinguishes a stored value from a
    /// default.
    /// @param[out] value  written on success
    /// @returns ok, or "RegQueryValueEx" with key, value and the reason
    gtl::status GetInt(const ValueName& name, int& value) const;
    /// The same for a real number.
    gtl::status GetDouble(const ValueName& name, double& value) const;
    /// The same for text.
    gtl::status GetString(const ValueName& name, std::wstring& value) const;
    /// @}
    /// Whether the number is not 0.
    bool ReadBool(const ValueName& name, bool defaultValue) const;
    /// Narrow text, in the system's code page, of at most 2047 bytes; longer text reads as empty.
    std::string ReadString(const ValueName& name) const;
    /// Text of any length.
    std::wstring ReadStringW(const ValueName& name) const;
    /// Scans the narrow text by @p format, see Scan.
    /// @returns how many fields were stored
    template <class... Target>
    requires(sizeof...(Target) >= 1 && sizeof...(Target) <= 8 &&
             (std::convertible_to<Target, ScanTarget> &&
              ...)) int ReadString(const ValueName& name, const char* format,
                                   Target&&... targets) const
    {
        const ScanTarget list[] = {ScanTarget(targets)...};
        return Scan(ReadString(name), format, list);
    }

    /// Stores the number as such or, with @p asText, as decimal text.
    gtl::status WriteInt(const ValueName& name, int value, bool asText);
    /// Stores 1 or 0.
    gtl::status WriteBool(const ValueName& name, bool value, bool asText);
    /// Stores the shortest decimal text that reads back as the same number.
    gtl::status WriteDouble(const ValueName& name, double value);
    /// @{
    /// Stores text.
    gtl::status WriteString(const ValueName& name, const std::wstring& text);
    /// The same for text in the system's code page.
    gtl::status WriteString(const ValueName& name, const std::string& text);
    /// @}

    /// Success when the value exists.
    gtl::status ValueExists(const ValueName& name) const;
    /// Deletes the value; of a key that is not open, success.
    gtl::status DeleteValue(const ValueName& name);
    /// The names of all values, in the system's order.
    std::vector<std::wstring> GetAllValues() const;

private:
    unsigned long CreateAndOpenRootPath_();
    unsigned long Read(const ValueName& name, std::uint32_t& type, std::string& bytes) const;
    gtl::status Missing(const ValueName& name, std::wstring_view reason) const;
    template <class Number>
    gtl::status GetNumber(const ValueName& name, const char* format, Number& value) const;

    void* key_ = nullptr;
    REGKEY_ACCESS_RIGHTS rights_ = REGKEY_ACCESS_RIGHTS::none;
    REGKEY_ACCESS_VIEW view_;
    RegistryPath path_;
};

/// A key in the view of 32-bit programs.
class KVI_API Registry32 : public Registry
{
public:
    /// @param path  the key
    explicit Registry32(const RegistryPath& path) : Registry(path, REGKEY_ACCESS_VIEW::view_32) {}
};

/// A key in the view of 64-bit programs.
class KVI_API Registry64 : public Registry
{
public:
    /// @param path  the key
    explicit Registry64(const RegistryPath& path) : Registry(path, REGKEY_ACCESS_VIEW::view_64) {}
};

} // namespace sys::reg
