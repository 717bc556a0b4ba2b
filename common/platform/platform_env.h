/// @file
/// The environment of this process.
#pragma once

#include <optional>
#include <string>

namespace platform
{

/// Value of an environment variable; nothing when it is unset, empty text when it is empty. Must
/// not be called while another thread changes the environment.
std::optional<std::wstring> Environment(const std::wstring& name);

/// The same for a variable that chooses a file, a folder or a library: nothing while this program
/// runs with rights that its caller does not have (Linux: set-user-id, set-group-id, capabilities).
std::optional<std::wstring> TrustedEnvironment(const std::wstring& name);

/// Sets an environment variable of this process, under the same condition.
void SetEnvironment(const std::wstring& name, const std::wstring& value);

} // namespace platform
