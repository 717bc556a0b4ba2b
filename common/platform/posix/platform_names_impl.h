/// @file
/// Names that several processes of one user share.
#pragma once

#include <string>

namespace platform::impl
{

/// A text of at most 80 letters, digits and "-_%" for @p name: different for different names, with
/// no way out of a folder. A leading "Global\" or "Local\" means nothing here and is left out.
std::string SafeName(const std::wstring& name);

/// This user's private folder for what lives no longer than its processes: $XDG_RUNTIME_DIR/kvi, or
/// kvi-<user number> among the temporary files. Made when missing.
/// @returns the empty text, and errno, when there is none that is this user's own
std::string RuntimeFolder();

} // namespace platform::impl
