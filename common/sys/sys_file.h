/// @file
/// Files, folders and paths.
///
/// A path is wide text with backslash separators on every platform; on Linux "\home\ann" is
/// /home/ann, and a slash is read as a backslash. A path that is empty or contains a zero is
/// refused as invalid. Every failure is one of KviError::File with the path and the system's
/// reason. Threads: any, but the current folder is shared by the whole process.
#pragma once

#include "foundation/gtl_status.h"
#include "foundation/kvi_export.h"
#include "sys/sys_file_Finder.h"
#include "sys/sys_file_SplitPath.h"
#include "sys/sys_file_Time.h"

#include <bit>
#include <cstdint>
#include <string>
#include <type_traits>

// Windows' headers define some of these names as macros.
#pragma push_macro("CreateDirectory")
#pragma push_macro("GetCurrentDirectory")
#pragma push_macro("SetCurrentDirectory")
#undef CreateDirectory
#undef GetCurrentDirectory
#undef SetCurrentDirectory

namespace sys::file
{

/// @name Files
/// @{

/// Whether a file or folder @p path exists; a dangling link does not count.
KVI_API bool Exists(const std::wstring& path);
/// Bytes in the file; 0 when there is none.
KVI_API std::uint64_t FileSize(const std::wstring& path);
/// Whether the file has the read-only attribute: on Linux, nobody's permission to write.
KVI_API bool IsReadOnly(const std::wstring& path);
/// Sets or clears that attribute; on Linux clearing it lets the owner write.
KVI_API gtl::status SetReadOnly(const std::wstring& path, bool readOnly);
/// When the file was last written.
KVI_API gtl::status GetLastWriteTime(Time& time, const std::wstring& path);

/// Copies the file @p from to @p to: bytes, read-only attribute and time of the last write; to a
/// new file also the permissions. An existing file keeps its owner and access rights. Either the
/// whole copy appears or nothing changes, also when the process is killed (on Windows a file
/// "~kvi*.tmp" beside @p to may then remain); except that on Linux a file with several names, or
/// one that this user may write but not replace with its owner kept, is overwritten in place. A
/// read-only file is not replaced, nor a file by itself, nor a folder. A link is followed.
KVI_API gtl::status Copy(const std::wstring& from, const std::wstring& to);
/// Renames a file or folder to a name that does not exist yet; a file also to another disk, where
/// it is written to the disk before the old one is deleted. It has either the new name or the old
/// one.
KVI_API gtl::status Rename(const std::wstring& from, const std::wstring& to);

/// Deletes the files in @p dir; with @p recurse other than 0, also those in all folders below,
/// which stay. Read-only files stay and are a failure; after a failure the others are still deleted
/// and the first failure is returned. A link is deleted, not followed; @p dir must not be one, nor
/// with @p recurse a root.
KVI_API gtl::status DeleteFiles(const std::wstring& dir, int recurse);
/// The same for files whose extensions @p filter accepts.
KVI_API gtl::status DeleteFiles(const std::wstring& dir, const Finder::Filter& filter, int recurse);
/// Deletes the folder: an empty one, or with @p recurse other than 0 with all that is in it.
/// Of a link, the link alone. A root is refused.
KVI_API gtl::status DeleteDirectory(const std::wstring& dir, int recurse);

/// Looks for a file in the folders of @p dir, separated by ";" (empty: the current one).
/// @param name  the file, also as an absolute path
/// @param ext   appended to a name without extension
/// @param[out] found  the absolute path of the first one; not written on failure
KVI_API gtl::status Find(std::wstring& found, const std::wstring& dir, const std::wstring& name,
                         const std::wstring& ext);

/// The text of a file in UTF-8 or, with a byte-order mark, UTF-16, line ends unchanged; the mark is
/// removed, invalid input becomes U+FFFD. Empty when the file cannot be read; only regular files
/// are read.
KVI_API std::wstring ReadTextFile(const std::wstring& path);
/// Writes @p text in UTF-8 as the whole of the file @p path, by a SafeWriter: the file has the new
/// text or what it had before.
KVI_API gtl::status WriteTextFile(const std::wstring& path, const std::wstring& text);
/// @}

/// @name Folders
/// @{

/// Creates a folder and its parents; an existing one is no failure.
KVI_API gtl::status CreateDirectory(const std::wstring& path);
/// The folder for temporary files, with "\" at its end.
KVI_API gtl::status GetTempDirectory(std::wstring& path);
/// @{
/// Makes an empty file in that folder, under a name that was free; only this user may open it.
KVI_API gtl::status GetTempFilename(std::wstring& path);
/// @param prefix  what the name begins with; no separators
KVI_API gtl::status GetTempFilename(std::wstring& path, const std::wstring& prefix);
/// @}
/// The folder to which relative paths refer; empty when it no longer exists.
KVI_API std::wstring GetCurrentDirectory();
/// Makes @p path that folder.
KVI_API gtl::status SetCurrentDirectory(const std::wstring& path);

/// A folder's number; a Windows GUID has the same layout.
struct FolderNumber
{
    std::uint32_t data1;   ///< first group
    std::uint16_t data2;   ///< second group
    std::uint16_t data3;   ///< third group
    std::uint8_t data4[8]; ///< the others
};
/// The user's documents.
inline constexpr FolderNumber kDocumentsFolder = {
    0xfdd39ad0, 0x238f, 0x46af, {0xad, 0xb4, 0x6c, 0x85, 0x48, 0x03, 0x69, 0xc7}};
/// The data that programs keep for the user on this machine.
inline constexpr FolderNumber kLocalDataFolder = {
    0xf1b32785, 0x6fba, 0x4fcf, {0x9d, 0x55, 0x7b, 0x8e, 0x7f, 0x15, 0x70, 0x91}};

/// The path of a folder that the system knows by a number, as FOLDERID_Documents or
/// kDocumentsFolder; empty when it has none. Linux knows desktop, documents, downloads, local and
/// roaming data, profile, program data and public documents.
KVI_API std::wstring GetKnownFolderPath(const FolderNumber& folder);
/// @param folder  a GUID
template <class Guid>
requires(sizeof(Guid) == sizeof(FolderNumber) && std::is_trivially_copyable_v<Guid>) std::wstring
    GetKnownFolderPath(const Guid& folder)
{
    return GetKnownFolderPath(std::bit_cast<FolderNumber>(folder));
}
/// @}

/// @name Paths
/// @{

/// The path type of the system's own functions and streams: wide text on Windows, bytes on Linux.
using NativeString = std::conditional_t<sizeof(wchar_t) == 2, std::wstring, std::string>;
/// @p path for the host's own streams, whatever characters it has and however long it is.
/// @code
/// std::ofstream out(NativePath(path).c_str());
/// @endcode
KVI_API NativeString NativePath(const std::wstring& path);

/// @p path from its root on, without "." and ".."; the empty one stays empty. The path need not
/// exist.
KVI_API std::wstring GetAbsolutePath(const std::wstring& path);
/// @p path as seen from the folder @p base: "..\b.x" or, for the folder itself, ".". Paths on
/// different drives or servers give the absolute path.
KVI_API std::wstring GetRelativePath(const std::wstring& path, const std::wstring& base);
/// The inverse: the absolute path of @p path as seen from the folder @p base. "\a" begins at the
/// drive or server of @p base, "D:a" at the current folder of its drive unless base is there.
/// @returns invalid_path also when it leads above the root; @p out is then not written
KVI_API gtl::status ResolveRelativePath(std::wstring& out, const std::wstring& path,
                                        const std::wstring& base);
/// @}

/// @name Opening with the program that the user has for it
/// No shell reads the path. On Linux the desktop's opener has a second to refuse.
/// @{

/// @param path    the file, absolute or from the current folder
/// @param window  the owner of windows that appear (an HWND), or null
/// @returns file_not_found, shell_missing_association, or open for other failures
KVI_API gtl::status ShellOpen(const SplitPath& path, void* window);
/// @param path  as seen from the folder of the running program
/// @param window  as for ShellOpen
KVI_API gtl::status ShellOpenRelative(const std::wstring& path, void* window);
/// @}

/// @cond  the same under the names that windows.h makes of them
inline gtl::status CreateDirectoryW(const std::wstring& path) { return CreateDirectory(path); }
inline gtl::status CreateDirectoryA(const std::wstring& path) { return CreateDirectory(path); }
inline std::wstring GetCurrentDirectoryW() { return GetCurrentDirectory(); }
inline std::wstring GetCurrentDirectoryA() { return GetCurrentDirectory(); }
inline gtl::status SetCurrentDirectoryW(const std::wstring& path)
{
    return SetCurrentDirectory(path);
}
inline gtl::status SetCurrentDirectoryA(const std::wstring& path)
{
    return SetCurrentDirectory(path);
}
/// @endcond

} // namespace sys::file

#pragma pop_macro("CreateDirectory")
#pragma pop_macro("GetCurrentDirectory")
#pragma pop_macro("SetCurrentDirectory")
