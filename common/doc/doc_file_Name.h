/// @file
/// Names of a document's data files.
#pragma once

#include "doc/Step.h"
#include "foundation/kvi_export.h"

#include <cstdint>
#include <string>

namespace doc::file
{

/// One data file of a project document: the project, an analysis of it, a run and a step of that,
/// and the file. Also a pattern that selects several: every analysis, every step, every file.
///
/// A plain value with an order, usable as a key of a map. It does not refer to the disk; doc_file.h
/// finds and creates files.
/// @code
/// Name heads;
/// heads.ProjectPath(L"C:\\dams\\north.kvi").Analysis(L"seepage").Step(::Step::CreateFromInt(3));
/// heads.FNameExt(L"heads.csv");
/// Name every = heads; // of this step
/// every.AllFiles();
/// every.Selects(heads); // true
/// @endcode
class KVI_API Name
{
public:
    static constexpr std::uint32_t kNoRun = 0xFFFFFFFF; ///< the run that is not set

    /// @name Setters; they return the name, so that calls chain
    /// @{

    /// Full path of the project file; a slash in it is a separator, and is stored as a backslash.
    Name& ProjectPath(const std::wstring& path);
    Name& ProjectDirectory(const std::wstring& dir); ///< its folder, with the separator at the end
    Name& ProjectFName(const std::wstring& name);    ///< its file name, without extension
    Name& ProjectExt(const std::wstring& ext);       ///< its extension, with the dot
    /// Name of the analysis, as the user gave it.
    Name& Analysis(const std::wstring& name);
    /// Number of the run; kNoRun for none.
    Name& Run(std::uint32_t run);
    /// Step of the analysis.
    Name& Step(const ::Step& step);
    Name& FName(const std::wstring& name); ///< the file's name, without extension
    Name& Ext(const std::wstring& ext);    ///< its extension, with the dot
    /// Both: the extension begins at the last dot of @p text.
    Name& FNameExt(const std::wstring& text);
    Name& AllAnalyses();   ///< the analysis becomes "*"
    Name& AllSteps();      ///< the step becomes kvi::step::All()
    Name& AllFiles();      ///< the file name becomes "*", the extension empty
    Name& AllExt();        ///< the extension becomes ".*"
    Name& ClearAnalysis(); ///< the analysis alone becomes empty
    Name& Clear();         ///< as a new name: texts empty, run and step unset
    /// @}

    /// @name Getters
    /// @{

    /// Full path of the project file.
    const std::wstring& ProjectPath() const { return projectPath_; }
    /// Folder of the project file, with the separator at the end.
    std::wstring ProjectDirectory() const;
    /// File name of the project, without extension.
    std::wstring ProjectFName() const;
    /// Extension of the project file, with the dot.
    std::wstring ProjectExt() const;
    /// File name of the project, with its extension.
    std::wstring ProjectFNameExt() const;
    /// Name of the analysis.
    const std::wstring& Analysis() const { return analysis_; }
    std::uint32_t Run() const { return run_; } ///< kNoRun when it is not set
    /// Step of the analysis.
    const ::Step& Step() const { return step_; }
    /// Name of the file, without extension.
    const std::wstring& FName() const { return fname_; }
    /// Extension of the file, with the dot.
    const std::wstring& Ext() const { return ext_; }
    /// Name of the file, with its extension.
    std::wstring FNameExt() const { return fname_ + ext_; }
    /// @}

    /// Human-readable: the project path, the analysis with its run and step, and the file,
    /// separated by backslashes: "C:\dams\north.kvi\seepage (2)\3\heads.csv".
    std::wstring Description() const;
    /// The step's part of it: "3\", "*\" for all steps; empty without analysis, for other reserved
    /// steps, and for a step by number when the extension holds a "*".
    std::wstring StepFolder() const;

    bool IsEmpty() const { return Compare(Name()) == 0; } ///< whether it equals a new name
    bool IsMultiSelectAnalyses() const { return analysis_ == L"*"; }     ///< every analysis
    bool IsMultiSelectStep() const { return step_ == kvi::step::All(); } ///< every step
    /// Whether every file is meant: the name "*" and no extension.
    bool IsMultiSelectAllFiles() const { return fname_ == L"*" && ext_.empty(); }

    /// Whether this name, as a pattern, matches @p name; a name that is no pattern matches the one
    /// file of the same texts. Case is ignored.
    /// - Analysis "*": every analysis, and every run of it where this name has none.
    /// - All steps: every step that is set. 0 and -1 are the same step.
    /// - All files: every file. File name "*": every name with the extension. Extension ".*": every
    ///   extension and none; another "*" in it stands for any letters, also none.
    bool Selects(const Name& name) const;

    /// Negative, 0 or positive, by project path, analysis, run, step, file name and extension, the
    /// texts without regard to case.
    ///
    /// Extensions with their first digit at the same position after equal letters are compared by
    /// number: ".r2" comes before ".r10" and equals ".r02", and text after the number is ignored. A
    /// strict weak order, for numbers of any length.
    int Compare(const Name& other) const;
    /// @{
    /// By Compare.
    friend bool operator==(const Name& a, const Name& b) { return a.Compare(b) == 0; }
    /// Whether any part differs.
    friend bool operator!=(const Name& a, const Name& b) { return a.Compare(b) != 0; }
    /// Whether @p a comes before @p b.
    friend bool operator<(const Name& a, const Name& b) { return a.Compare(b) < 0; }
    /// Whether @p a comes after @p b.
    friend bool operator>(const Name& a, const Name& b) { return a.Compare(b) > 0; }
    /// @}

private:
    std::wstring projectPath_;
    std::wstring analysis_;
    std::uint32_t run_ = kNoRun;
    ::Step step_;
    std::wstring fname_;
    std::wstring ext_;
};

} // namespace doc::file
