/// @file
/// A path in three parts.
#pragma once

#include "foundation/kvi_export.h"

#include <string>

namespace sys::file
{

/// A path as folder, file name and extension. Only backslash and colon are separators.
/// @code
/// SplitPath path(projectFile); // its folder, name, extension
/// Open(path.FNameExt(L"transient.res").Path()); // another file in that folder
/// @endcode
class KVI_API SplitPath
{
public:
    std::wstring dir;   ///< with the separator at its end, or empty
    std::wstring fname; ///< without extension
    std::wstring ext;   ///< with the dot in front, or empty

    /// Three empty parts.
    SplitPath() = default;
    /// As Assign(path).
    explicit SplitPath(const std::wstring& path) { Assign(path); }
    /// The parts as they are.
    SplitPath(const std::wstring& newDir, const std::wstring& newFName, const std::wstring& newExt)
    {
        Assign(newDir, newFName, newExt);
    }

    /// Splits @p path: the folder ends at the last "\" or ":", the extension begins at the last dot
    /// after that.
    void Assign(const std::wstring& path);
    /// Takes the parts as they are.
    void Assign(const std::wstring& newDir, const std::wstring& newFName,
                const std::wstring& newExt);
    /// Takes another file in the same folder; the extension begins at the last dot anywhere.
    SplitPath& FNameExt(const std::wstring& nameWithExt);

    /// The three parts in one.
    std::wstring Path() const { return dir + fname + ext; }
    /// Negative, 0 or positive by folder, then name, then extension, without regard to case.
    int Compare(const SplitPath& other) const;
    /// Whether the parts are valid on Windows: none of / " < > |, no blank at an end, separators
    /// and dots only where they belong. Wildcards pass: a path may be a pattern.
    bool IsValid() const;

protected:
    /// @p a and @p b with one backslash between them; @p a alone when @p b is empty.
    static std::wstring ConcatenateDir(const std::wstring& a, const std::wstring& b);
};

} // namespace sys::file
