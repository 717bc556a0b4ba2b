/// @file
/// Names and locations of the files of a run.
#pragma once

#include "KVI.h"
#include "problem/Problem.h"

#include <cstddef>
#include <filesystem>
#include <string>

namespace percova
{

/// Names the result files of a problem by the library's document names.
///
/// The results' folder is the data folder of a document. The files of the whole run are in it, as
/// are those of a single step; the files of several steps are in separate folders, "seepage\1",
/// "seepage\2" and so on.
class ResultFiles
{
public:
    ResultFiles(const std::filesystem::path& folder, const Problem& problem);

    const std::filesystem::path& Folder() const { return folder_; }
    bool HasStepFolders() const { return steps_ > 1; }

    /// A file of the whole run, as "dam.pvd" for the ending ".pvd".
    std::filesystem::path OfRun(const char* ending) const;
    /// A file of step @p number, counted from 1.
    std::filesystem::path OfStep(std::size_t number, const char* ending) const;
    /// A file of output @p number of a run in time, counted from 0 for the initial state.
    std::filesystem::path OfOutput(std::size_t number, const char* ending) const;
    /// The files of steps and outputs as seen from the folder, with slashes.
    std::string NameOfStep(std::size_t number, const char* ending) const;

    /// Makes the folders of step @p number, or of the run for 0.
    /// @returns false with @p reason when that failed
    bool MakeFolders(std::size_t number, std::string& reason) const;

private:
    doc::file::Name Named(std::size_t number, const char* ending) const;

    std::filesystem::path folder_;
    std::size_t steps_;
    bool isInTime_;
    doc::file::Name document_; ///< without step and ending
};

} // namespace percova
