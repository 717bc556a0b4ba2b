/// @file
/// The environment of this process.
#pragma once

#include <optional>
#include <string>

namespace platform
{

/// Value of an environment variable; nothing when it is unset, empty text when it is empty.
/// Not to be called while another thread changes the environment.
std::optional<std::wstring> Environment(const std::wstring& name);

/// Sets an environment variable of this process, under the same condition.
void SetEnvironment(const std::wstring& name, const std::wstring& value);

} // namespace platform
