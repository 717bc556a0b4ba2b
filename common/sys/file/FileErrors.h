/// @file
/// Helpers shared by the sources of sys::file.
#pragma once

#include "foundation/gtl_status.h"

#include <string>
#include <string_view>

namespace sys::file
{

/// Whether @p path can be passed to the system: not empty, without a zero.
bool IsUsable(const std::wstring& path);

/// Whether @p name matches @p pattern, ignoring case: "*" is any characters, "?" one or, at the end
/// or before a dot, none. "*.*" is every name, "a.*" also "a".
bool MatchesPattern(std::wstring_view name, std::wstring_view pattern);

/// Makes one of the errors that name a path and a reason.
using PathError = gtl::status (*)(std::wstring_view path, std::wstring_view reason);

/// The status for the system's error number @p error about @p path: ok for 0; a path that is too
/// long or invalid has its own error, everything else is @p otherwise.
gtl::status Failure(unsigned long error, const std::wstring& path, PathError otherwise);
/// The same for a file that must exist: file_not_found if it does not.
gtl::status FailureOfExisting(unsigned long error, const std::wstring& path, PathError otherwise);

} // namespace sys::file
