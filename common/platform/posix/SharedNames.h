/// @file
/// Names that several processes of one user share.
#pragma once

#include "platform/posix/Descriptor.h"

#include <cstdint>
#include <string>

#include <sys/types.h>

namespace platform::posix
{

/// A text of at most 80 letters, digits and "-_%" for @p name: different for different names,
/// without separators. A leading "Global\" or "Local\" is ignored.
std::string SafeName(const std::wstring& name);

/// A number below 2^58 for the text @p name; collisions: one pair of names in 10^17.
std::uint64_t NumberOf(const std::string& name);

/// /tmp/kvi-<user number>, without a separator at its end.
std::string UserFolderPath(uid_t user);

/// The private folder of @p user for objects that live no longer than their processes:
/// UserFolderPath regardless of the environment, so that all processes of the user on the same file
/// system share it. Created when missing.
/// @returns none, and errno, if it is not a folder that this user alone may enter
posix::Descriptor UserFolder(uid_t user);

} // namespace platform::posix
