/// @file
/// Searching a folder.
#pragma once

#include "foundation/kvi_export.h"
#include "sys/sys_file_SplitPath.h"
#include "sys/sys_file_Time.h"

#include <concepts>
#include <cstdint>
#include <memory>
#include <string>
#include <type_traits>

// Windows' headers define some of these names as macros.
#pragma push_macro("FindNextFile")
#undef FindNextFile

namespace sys::file
{

/// A search in one folder, entry by entry.
///
/// Entries that vanish during the search are skipped. A link counts as its target, or as a file
/// when it is dangling (Linux), or as the kind of entry it is (Windows). On Linux "*" and "?" match
/// ignoring case and entries are in alphabetical order, as on Windows; a pattern without them names
/// one entry exactly.
/// @code
/// Finder finder{Finder::ExtensionFilter(L".res")};
/// for (bool found = finder.FindFile(folder + L"*.*"); found; found = finder.FindNextFile())
///     Read(finder.Current().Path());
/// @endcode
class KVI_API Finder
{
public:
    /// Chooses files by their extensions.
    class KVI_API Filter
    {
    public:
        virtual ~Filter() = default;
        /// Whether a file with extension @p ext (with its dot, or empty) is wanted.
        virtual bool Match(const std::wstring& ext) const = 0;
    };
    /// Wants every file.
    class KVI_API FilterNone : public Filter
    {
    public:
        bool Match(const std::wstring& ext) const override; ///< always true
    };
    /// Wants one extension, in any case.
    class KVI_API ExtensionFilter : public Filter
    {
    public:
        /// @param ext  with its dot, or empty
        explicit ExtensionFilter(std::wstring ext);
        bool Match(const std::wstring& ext) const override; ///< equal but for case

    private:
        std::wstring ext_;
    };

    /// Keeps a copy of @p filter.
    template <std::derived_from<Filter> F>
    requires(!std::is_abstract_v<F>) explicit Finder(const F& filter)
        : Finder(std::shared_ptr<const Filter>(new F(filter)))
    {
    }
    /// Not copied: @p filter must outlive the search.
    explicit Finder(const Filter& filter);
    virtual ~Finder();
    Finder(const Finder&) = delete;
    Finder& operator=(const Finder&) = delete;

    /// Begins a search. A pattern with "\" at its end finds folders only; one whose last part has a
    /// dot in it ("*.*", "a.txt") finds files only; any other ("*", "steady") finds both.
    /// @returns whether there is an entry
    bool FindFile(const std::wstring& pattern);
    /// Goes to the next entry. @returns whether there is one
    bool FindNextFile();
    /// Ends the search, as does the destructor.
    void Close();

    /// The entry: a file in three parts, or a folder as the part dir alone. Empty when there is
    /// none, as sizes and times then are 0.
    const SplitPath& Current() const;
    bool IsDirectory() const;              ///< whether the entry is a folder
    std::uint64_t CurrentFileSize() const; ///< bytes
    Time CurrentCreationTime() const;      ///< when it was made
    Time CurrentLastAccessTime() const;    ///< when it was read last
    Time CurrentLastWriteTime() const;     ///< when it was written last

    /// @{
    /// The same under the names that windows.h makes of it.
    bool FindNextFileW() { return FindNextFile(); }
    /// The same, as windows.h renames it in narrow programs.
    bool FindNextFileA() { return FindNextFile(); }
    /// @}

protected:
    /// Whether the entry found by the system is skipped.
    bool IsFiltered() const;

private:
    struct State;
    explicit Finder(std::shared_ptr<const Filter> filter);
    bool Settle();

    std::unique_ptr<State> state_;
};

} // namespace sys::file

#pragma pop_macro("FindNextFile")
