/// @file
/// A document's data files on disk.
///
/// The data of "C:\dams\north.kvi" stands in the folder "C:\dams\north\": a folder for each
/// analysis (and run), in it one for each step, in it the files. Texts become folder and file names
/// that every system takes, and can be told from them again (sys::file::StringToValidFileName).
/// @code
/// std::wstring path;
/// if (gtl::status made = doc::file::MakeFolder(path, heads); !made.ok())
///     return made;
/// @endcode
#pragma once

#include "doc/doc_file_Name.h"
#include "foundation/gtl_status.h"
#include "foundation/kvi_export.h"

#include <string>
#include <vector>

namespace doc::file
{

/// The path of the file that @p name names; the disk is not looked at.
///
/// A name that is no one file in its document's folder is refused (KviError::File::invalid_path
/// with its description): without a project file; a pattern; an analysis or a file that is "." or
/// "..", or holds a separator ("\" or "/") or a zero; an extension without its dot; no file name
/// and no extension; a run or a step without an analysis; the last step, and steps without a
/// number.
/// @param[out] path  in the folders "seepage&r2" and "3" for run 2 and step 3 of that analysis; not
///                   written on failure
KVI_API gtl::status GetPath(std::wstring& path, const Name& name);

/// As GetPath; also makes the folders that the file needs.
/// @returns GetPath's refusals, and what sys::file::CreateDirectory reports
KVI_API gtl::status MakeFolder(std::wstring& path, const Name& name);

/// The files on disk that @p pattern selects (Name::Selects), in their order. Entries that GetPath
/// would not have named are passed over, and folders that are not there hold nothing.
/// @param[out] found  not written on failure
/// @returns invalid_path for a pattern without a project file, or whose analysis leaves its
///          document's folder
KVI_API gtl::status FindFiles(std::vector<Name>& found, const Name& pattern);

} // namespace doc::file
