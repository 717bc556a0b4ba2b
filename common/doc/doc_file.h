/// @file
/// A document's data files on disk.
///
/// The data of "C:\dams\north.kvi" is in the folder "C:\dams\north\": a folder for each analysis
/// (and run), in it one for each step, in it the files. Texts are encoded as folder and file names
/// valid on every system, and can be decoded from them (sys::file::StringToValidFileName).
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

/// The path of the file that @p name identifies; the disk is not accessed.
///
/// A name that does not identify exactly one file in its document's folder is refused
/// (KviError::File::invalid_path with its description): without a project file; a pattern; an
/// analysis or a file that is "." or "..", or holds a separator ("\" or "/") or a zero; an
/// extension without its dot; no file name and no extension; a run or a step without an analysis;
/// the last step, and steps without a number.
/// @param[out] path  in the folders "seepage&r2" and "3" for run 2 and step 3 of that analysis; not
///                   written on failure
KVI_API gtl::status GetPath(std::wstring& path, const Name& name);

/// As GetPath; also makes the folders that the file needs.
/// @returns GetPath's refusals, and what sys::file::CreateDirectory reports
KVI_API gtl::status MakeFolder(std::wstring& path, const Name& name);

/// The files on disk that @p pattern selects (Name::Selects), in their order. Entries that GetPath
/// could not have produced are skipped, and missing folders count as empty.
/// @param[out] found  not written on failure
/// @returns invalid_path for a pattern without a project file, or whose analysis leaves its
///          document's folder
KVI_API gtl::status FindFiles(std::vector<Name>& found, const Name& pattern);

} // namespace doc::file
