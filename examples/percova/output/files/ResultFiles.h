/// @file
/// Names and locations of the files of a run.
#pragma once

#include "KVI.h"
#include "problem/Problem.h"

#include <cstddef>
#include <string>

namespace percova
{

/// The problem file's name without its endings: the base name of the results.
std::string BaseName(const Problem& problem);

/// Names the result files of a problem by the library's document names.
///
/// The folder is the one that the user named, as it is; what is in it has names that every system
/// takes. It holds the files of the whole run, and those of the step when there is one alone; the
/// files of several steps are in folders of their own, "seepage\1", "seepage\2" and so on.
class ResultFiles
{
public:
    ResultFiles(const std::wstring& folder, const Problem& problem);

    /// Absolute, with a separator at the end.
    const std::wstring& Folder() const { return folder_; }
    /// Whether the folder can have the name that the user gave: the system may take it for another
    /// one, as Windows does with "a." and "CON".
    /// @returns false with @p reason when not
    bool CheckFolder(std::string& reason) const;
    bool HasStepFolders() const { return steps_ > 1; }

    /// A file of the whole run, as "dam.pvd" for the ending ".pvd".
    std::wstring OfRun(const char* ending) const;
    /// A file of step @p number, counted from 1.
    std::wstring OfStep(std::size_t number, const char* ending) const;
    /// A file of output @p number of a run in time, counted from 0 for the initial state.
    std::wstring OfOutput(std::size_t number, const char* ending) const;
    /// A file of the step or output at @p index, counted from 0.
    std::wstring OfState(std::size_t index, const char* ending) const
    {
        return isInTime_ ? OfOutput(index, ending) : OfStep(index + 1, ending);
    }
    /// The files as seen from the folder, with slashes.
    /// @{
    std::string NameOfRun(const char* ending) const;
    std::string NameOfStep(std::size_t number, const char* ending) const;
    /// @}

    /// result.json in the folder.
    std::wstring Result() const { return folder_ + L"result.json"; }

    /// Makes the folders of step @p number, or of the run for 0.
    /// @returns false with @p reason when that failed
    bool MakeFolders(std::size_t number, std::string& reason) const;

private:
    /// As seen from the folder.
    std::wstring Relative(std::size_t number, const std::string& ending) const;

    std::wstring given_, folder_;
    std::size_t steps_;
    bool isInTime_;
    doc::file::Name document_; ///< without step and ending
};

} // namespace percova
