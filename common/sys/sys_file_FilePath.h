/// @file
/// A path kept in two forms, absolute and relative.
#pragma once

#include "foundation/gtl_status.h"
#include "foundation/kvi_export.h"

#include <string>

namespace sys::file
{

/// Where a file is, and where it is as seen from the file that refers to it. Storable as one text.
class KVI_API FilePath
{
public:
    /// Two empty paths.
    FilePath() = default;
    /// The paths as they are.
    FilePath(const std::wstring& abs, const std::wstring& rel) { SetPath(abs, rel); }
    /// A text with ";" in it is read by SetDelimPath; another is the absolute path.
    explicit FilePath(const std::wstring& text);

    /// Takes both paths.
    void SetPath(const std::wstring& abs, const std::wstring& rel);
    /// Reads what FullPath writes.
    ///
    /// ";" separates fields, quotation marks enclose a field containing ";", "&" escapes the next
    /// character. Text without exactly two fields clears both paths and gives invalid_path.
    gtl::status SetDelimPath(const std::wstring& text);
    /// Empties both paths.
    void Clear();

    /// Whether both paths are empty.
    bool IsEmpty() const { return abs_.empty() && rel_.empty(); }
    const std::wstring& AbsFilePath() const { return abs_; } ///< the absolute path
    const std::wstring& RelFilePath() const { return rel_; } ///< the relative path
    /// Both in one text: each in quotation marks unless it is empty, ";" between them. A path with
    /// a quotation mark, which Windows does not allow, cannot be read back.
    std::wstring FullPath() const;

    /// Both texts equal, case too.
    bool operator==(const FilePath&) const = default;

private:
    std::wstring abs_, rel_;
};

namespace impl
{
/// One field of FilePath::FullPath: @p s in quotation marks with every "&" doubled; empty stays
/// empty.
KVI_API std::wstring FormatPathString(const std::wstring& s);
} // namespace impl

} // namespace sys::file
