/// @file
/// What the sources of sys::file share.
#pragma once

#include "foundation/gtl_status.h"

#include <string>
#include <string_view>

namespace sys::file::impl
{

/// Whether @p path is one that the system may be asked about: not empty, without a zero in it.
bool IsUsable(const std::wstring& path);

/// Whether @p name is what @p pattern stands for, without regard to case: "*" is any characters,
/// "?" one or, at the end or before a dot, none. "*.*" is every name, "a.*" also "a".
bool MatchesPattern(std::wstring_view name, std::wstring_view pattern);

/// Makes one of the errors that name a path and a reason.
using PathError = gtl::status (*)(std::wstring_view path, std::wstring_view reason);

/// The status for the system's error number @p error about @p path: ok for 0; a path that is too
/// long or none at all has an error of its own, everything else is @p otherwise.
gtl::status Failure(unsigned long error, const std::wstring& path, PathError otherwise);
/// The same for a file that has to be there: when it is not, file_not_found.
gtl::status FailureOfExisting(unsigned long error, const std::wstring& path, PathError otherwise);

} // namespace sys::file::impl
