/// @file
/// Folders of the user that several sources need.
#pragma once

#include <string>

namespace platform::posix
{

/// Where programs keep the user's settings: XDG_CONFIG_HOME, else .config at home.
std::string ConfigurationFolder();

} // namespace platform::posix
