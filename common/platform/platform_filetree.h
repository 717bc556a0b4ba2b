/// @file
/// Deleting many files without following a link.
#pragma once

#include <functional>
#include <string>

namespace platform
{

/// The first thing that could not be deleted, and why; error 0 when everything was.
struct TreeFault
{
    unsigned long error = 0;
    std::wstring path;
};

/// What to delete below a folder.
struct TreeDeletion
{
    bool below;   ///< also in the folders below
    bool folders; ///< delete those once they are empty
    /// Whether to delete the file of this name.
    std::function<bool(const std::wstring& name)> wanted;
};

/// Deletes in @p folder, which has no trailing separator. A link is deleted as a file, never
/// followed, even if other processes change the folder meanwhile; @p folder itself must not be one.
/// An entry that vanishes meanwhile is no failure; after a failure the rest is still deleted.
TreeFault DeleteIn(const std::wstring& folder, const TreeDeletion& what);

/// Deletes one empty folder, or the link that has its name.
unsigned long DeleteEmptyFolder(const std::wstring& folder);

} // namespace platform
