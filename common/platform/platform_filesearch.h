/// @file
/// Listing the contents of a folder.
#pragma once

#include "platform/platform_file.h"

#include <memory>
#include <string>
#include <string_view>

namespace platform
{

/// How names are matched and ordered where the system does not do it by itself.
struct NameRules
{
    bool (*matches)(std::wstring_view name, std::wstring_view pattern);
    bool (*before)(std::wstring_view a, std::wstring_view b);
};

/// An entry of a folder.
struct FileEntry
{
    std::wstring name;
    FileInfo info; ///< of the target of a link, or of the link itself when it has none
};

/// A search in one folder.
class FileSearch
{
public:
    FileSearch();
    ~FileSearch();

    /// Starts a new search. @p pattern is a path whose last part may hold "*" and "?"; without
    /// those it names one entry as the system compares names.
    /// @returns 0 when there may be entries, or the system's error number
    unsigned long Open(const std::wstring& pattern, const NameRules& rules);
    /// Fetches the next entry; false when none is left. Entries that vanish are skipped.
    bool Next(FileEntry& entry);
    void Close();

private:
    struct State;
    std::unique_ptr<State> state_;
};

} // namespace platform
