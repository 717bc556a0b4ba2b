/// @file
/// The user's general settings, kept in memory.
#pragma once

#include "foundation/gtl_status.h"
#include "foundation/kvi_export.h"

#include <memory>
#include <string>

namespace sys::reg
{

/// The numbers and texts of the suite's key "General" of the user, in the 32-bit view.
///
/// Populate reads them all, Persist writes those that SetValue changed since: other values of the
/// key, and what other processes changed meanwhile, stay. Names do not depend on case. Numbers with
/// a fraction are kept as text, the shortest that reads back as the same number in every locale.
///
/// Threads: any.
class KVI_API RegistryMirror
{
public:
    /// The one mirror, empty at first.
    static RegistryMirror& Instance();

    /// Reads the whole key; unsaved changes are dropped. Values of other types are left out.
    void Populate();
    /// Writes the changes. Those that were not written stay changes.
    gtl::status Persist();

    /// @{
    /// The value, if it can be converted to that type; text that reads as a number can.
    /// @returns false, with @p value as it was, when there is none
    bool GetValue(const std::wstring& name, unsigned char& value) const;
    /// The same for another type.
    bool GetValue(const std::wstring& name, int& value) const;
    /// The same for another type.
    bool GetValue(const std::wstring& name, unsigned long& value) const;
    /// The same for another type.
    bool GetValue(const std::wstring& name, float& value) const;
    /// The same for another type.
    bool GetValue(const std::wstring& name, double& value) const;
    /// The same for text.
    bool GetValue(const std::wstring& name, std::wstring& value) const;
    bool GetValue(const std::wstring& name,
                  bool& value) const; ///< of a number, whether it is not 0
    /// @}

    /// @{
    /// Sets a value in memory.
    /// @returns false when it cannot be kept: a number beyond 32 bits
    bool SetValue(const std::wstring& name, const std::wstring& value);
    /// Sets a text.
    bool SetValue(const std::wstring& name, const wchar_t* value);
    /// Sets a number.
    bool SetValue(const std::wstring& name, int value);
    /// Sets a number; false above 32 bits.
    bool SetValue(const std::wstring& name, unsigned long value);
    /// Sets a number, kept as text.
    bool SetValue(const std::wstring& name, float value);
    /// Sets a number, kept as text.
    bool SetValue(const std::wstring& name, double value);
    /// Sets 1 or 0.
    bool SetValue(const std::wstring& name, bool value);
    /// @}

    /// Whether the registry itself contains the value now.
    bool IsValueInRegistry(const std::wstring& name) const;

private:
    struct State;
    RegistryMirror();
    ~RegistryMirror();

    std::unique_ptr<State> state_;
};

} // namespace sys::reg
