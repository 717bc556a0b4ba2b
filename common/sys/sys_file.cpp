#include "sys/sys_file.h"

#include "foundation/KVISysMsg.h"
#include "foundation/KviError.h"
#include "platform/platform_file.h"
#include "platform/platform_filetree.h"
#include "platform/platform_path.h"
#include "sys/file/FileErrors.h"

#include <functional>

namespace sys::file
{
namespace
{

/// @p path without trailing separators.
std::wstring WithoutEnd(std::wstring path)
{
    while (path.size() > platform::RootOf(path).length && platform::IsSeparator(path.back()))
        path.pop_back();
    return path;
}

/// Creates the folder @p path and missing parents.
unsigned long MakeFolders(const std::wstring& path)
{
    const auto make = [&] {
        const unsigned long error = platform::MakeFolder(path);
        platform::FileInfo info;
        const bool there = error != 0 && platform::GetFileInfo(path, info) == 0 && info.folder;
        return there ? 0 : error;
    };
    const unsigned long error = make();
    if (error == 0 || platform::FaultOf(error) != platform::FileFault::missing)
        return error;
    std::wstring parent = path;
    while (parent.size() > platform::RootOf(path).length && !platform::IsSeparator(parent.back()))
        parent.pop_back();
    parent = WithoutEnd(parent);
    if (parent.empty() || parent == path)
        return error;
    const unsigned long above = MakeFolders(parent);
    return above != 0 ? above : make();
}

/// The folder of a deletion, as the system interprets the path: the path compared with the roots is
/// the path deleted. "link\\." and "link\\.." are resolved as text, as everywhere in these paths,
/// not by what a link leads to.
std::wstring DeletionFolder(const std::wstring& dir) { return WithoutEnd(GetAbsolutePath(dir)); }

/// Whether @p folder, which is absolute, is a root, or may lead to one: Windows drops blanks and
/// dots at the end of a path, so that "C:\\a\\.. " may be "C:\\".
bool IsRoot(const std::wstring& folder)
{
    const auto parts = platform::PartsOf(folder);
    return platform::RootOf(folder).length == folder.size() ||
           (platform::NamesIgnoreCase() && !parts.empty() &&
            parts.back().find_first_not_of(L". ") == std::wstring_view::npos);
}

gtl::status DeleteFilesThat(const std::wstring& dir, int recurse,
                            const std::function<bool(const std::wstring& name)>& wanted)
{
    if (!IsUsable(dir) || (recurse != 0 && IsRoot(DeletionFolder(dir))))
        return KviError::File::invalid_path(dir);
    const auto fault = platform::DeleteIn(DeletionFolder(dir), {recurse != 0, false, wanted});
    return Failure(fault.error, fault.path, &KviError::File::del);
}
} // namespace

bool Exists(const std::wstring& path)
{
    platform::FileInfo info;
    return IsUsable(path) && platform::GetFileInfo(path, info) == 0;
}

std::uint64_t FileSize(const std::wstring& path)
{
    platform::FileInfo info;
    return IsUsable(path) && platform::GetFileInfo(path, info) == 0 ? info.size : 0;
}

bool IsReadOnly(const std::wstring& path)
{
    platform::FileInfo info;
    return IsUsable(path) && platform::GetFileInfo(path, info) == 0 && info.readOnly;
}

gtl::status SetReadOnly(const std::wstring& path, bool readOnly)
{
    if (!IsUsable(path))
        return KviError::File::invalid_path(path);
    return FailureOfExisting(platform::SetReadOnlyAttribute(path, readOnly), path,
                             &KviError::File::set_attrib);
}

gtl::status GetLastWriteTime(Time& time, const std::wstring& path)
{
    if (!IsUsable(path))
        return KviError::File::invalid_path(path);
    platform::FileInfo info;
    const unsigned long error = platform::GetFileInfo(path, info);
    if (error == 0)
        time.ticks = info.written;
    return FailureOfExisting(error, path, &KviError::File::open);
}

gtl::status Copy(const std::wstring& from, const std::wstring& to)
{
    if (!IsUsable(from) || !IsUsable(to))
        return KviError::File::invalid_path(IsUsable(from) ? to : from);
    bool readOnlyTarget = false;
    const unsigned long error = platform::CopyWhole(from, to, readOnlyTarget);
    if (readOnlyTarget)
        return KviError::File::save_over_readonly(to);
    return error == 0 ? gtl::status() : KviError::File::copy(from, to, KVISysMsg(error));
}

gtl::status Rename(const std::wstring& from, const std::wstring& to)
{
    if (!IsUsable(from) || !IsUsable(to))
        return KviError::File::invalid_path(IsUsable(from) ? to : from);
    const unsigned long error = platform::MoveWhole(WithoutEnd(from), WithoutEnd(to));
    return error == 0 ? gtl::status() : KviError::File::rename(from, to, KVISysMsg(error));
}

gtl::status DeleteFiles(const std::wstring& dir, int recurse)
{
    return DeleteFilesThat(dir, recurse, [](const std::wstring&) { return true; });
}

gtl::status DeleteFiles(const std::wstring& dir, const Finder::Filter& filter, int recurse)
{
    return DeleteFilesThat(dir, recurse, [&](const std::wstring& name) {
        return filter.Match(SplitPath().FNameExt(name).ext);
    });
}

gtl::status DeleteDirectory(const std::wstring& dir, int recurse)
{
    const std::wstring folder = IsUsable(dir) ? DeletionFolder(dir) : std::wstring();
    if (folder.empty() || IsRoot(folder))
        return KviError::File::invalid_path(dir);
    platform::FileInfo info;
    const bool link = platform::GetFileInfo(folder, info, false) == 0 && info.link;
    if (recurse != 0 && !link)
    {
        const auto fault =
            platform::DeleteIn(folder, {true, true, [](const std::wstring&) { return true; }});
        if (fault.error != 0)
            return Failure(fault.error, fault.path, &KviError::File::del);
    }
    return Failure(platform::DeleteEmptyFolder(folder), dir, &KviError::File::del);
}

gtl::status CreateDirectory(const std::wstring& path)
{
    if (!IsUsable(path))
        return KviError::File::invalid_path(path);
    if (path.size() > platform::PathLimit())
        return KviError::File::file_path_too_long(path, platform::PathLimit());
    return Failure(MakeFolders(WithoutEnd(path)), path, &KviError::File::create_dir);
}

} // namespace sys::file
