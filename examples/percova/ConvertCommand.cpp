#include "ConvertCommand.h"

#include "KVI.h"
#include "output/report/ReportPage.h"
#include "output/report/StoredRun.h"
#include "problem/Shown.h"
#include "problem/TextFile.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <ostream>
#include <string>
#include <utility>

namespace percova
{
namespace
{

constexpr std::uint64_t kLargestPicture = std::uint64_t{1} << 24; // bytes

/// A file that is copied as it is.
struct CopiedFile
{
    std::wstring from, to;
    std::size_t folder = 0; ///< number of the step whose folder it is in, 0 for the run's
    bool isPicture = true;
};

/// The files of @p run that are copied to @p to.
std::vector<CopiedFile> CopiedFilesOf(const StoredRun& run, const ResultFiles& to)
{
    std::vector<CopiedFile> files;
    for (std::size_t state = 0; state < run.states.size(); ++state)
        files.push_back({run.FileOfState(state, ".svg"), to.OfState(state, ".svg"),
                         run.isInTime ? 0 : state + 1});
    if (run.isInTime)
    {
        files.push_back({run.FileOfRun(".history.csv"), to.OfRun(".history.csv"), 0, false});
        files.push_back({run.FileOfRun(".history.svg"), to.OfRun(".history.svg"), 0});
    }
    return files;
}

bool Exists(const std::wstring& path)
{
    std::error_code ignored;
    return std::filesystem::exists(sys::file::NativePath(path), ignored);
}

/// Reads a file that is to be copied.
/// @returns false with @p reason when it cannot be read or is no picture of percova
bool ReadCopied(const CopiedFile& file, std::string& text, std::string& reason)
{
    std::string ignored;
    if (ReadWhole(file.from, text, reason, file.isPicture ? kLargestPicture : kLargestFile) &&
        (!file.isPicture || report::InlinePicture(text, "picture", ignored, reason)))
        return true;
    reason = TextOf(file.from) + ' ' + reason;
    return false;
}

/// One run on its way to a folder.
class Conversion
{
public:
    /// @returns false with @p reason when the result cannot be used
    bool Read(const std::string& result, const std::string& folder, std::string& reason);
    bool MakeFolder(std::string& reason) const;
    bool Write(std::string& reason);
    /// What there is now, and what is missing.
    void Print(std::ostream& out) const;
    /// Whether both would write the same files.
    bool IsBeside(const Conversion& other) const
    {
        return files_->OfRun(".pvd") == other.files_->OfRun(".pvd");
    }
    const std::string& Name() const { return run_.base; }

private:
    StoredRun run_;
    std::unique_ptr<const ResultFiles> files_;
    std::vector<CopiedFile> copied_;
    std::vector<std::wstring> missing_;
    std::size_t tables_ = 0;
};

bool Conversion::Read(const std::string& result, const std::string& folder, std::string& reason)
{
    if (!ReadStoredRun(PathOf(result), run_, reason))
        return false;
    if (run_.states.empty())
    {
        reason = TextOf(run_.folder) + "result.json has no step or output yet";
        return false;
    }
    files_ =
        std::make_unique<ResultFiles>(run_.FilesIn(folder.empty() ? run_.folder : PathOf(folder)));
    for (CopiedFile& file : CopiedFilesOf(run_, *files_))
    {
        std::string text;
        if (!Exists(file.from))
            missing_.push_back(file.from);
        else if (file.from == file.to)
            continue;
        else if (!ReadCopied(file, text, reason))
            return false;
        else
            copied_.push_back(std::move(file));
    }
    run_.json.reset(); // large, and the tables have what is written
    return true;
}

bool Conversion::MakeFolder(std::string& reason) const
{
    if (files_->CheckFolder(reason) && files_->MakeFolders(0, reason))
        return true;
    reason = "the folder " + TextOf(files_->Folder()) + " cannot be made: " + reason;
    return false;
}

bool Conversion::Write(std::string& reason)
{
    if (!WriteTables(run_, *files_, tables_, reason))
        return false;
    for (const CopiedFile& file : copied_)
    {
        std::string text; // read again: all of them together may be large
        if ((file.folder != 0 && !files_->MakeFolders(file.folder, reason)) ||
            !ReadCopied(file, text, reason) ||
            !WriteWhole(
                file.to, [&](std::ostream& out) { out << text; }, reason))
            return false;
    }
    return true;
}

void Conversion::Print(std::ostream& out) const
{
    const auto pictures = std::count_if(copied_.begin(), copied_.end(),
                                        [](const auto& one) { return one.isPicture; });
    out << "written to " << Shown(TextOf(files_->Folder())) << ": " << tables_
        << (tables_ == 1 ? " table" : " tables");
    if (pictures != 0)
        out << ", " << pictures << (pictures == 1 ? " picture" : " pictures");
    out << '\n';
    if (!missing_.empty())
        out << "  missing: " << Shown(TextOf(missing_.front()))
            << (missing_.size() == 1 ? "" : " and " + std::to_string(missing_.size() - 1) + " more")
            << '\n';
}

Exit Failed(std::ostream& err, const std::string& reason, Exit exit)
{
    err << "percova: " << Shown(reason) << '\n';
    return exit;
}

} // namespace

Exit ConvertRuns(const std::vector<std::string>& results, const std::string& folder,
                 std::ostream& out, std::ostream& err)
{
    std::vector<Conversion> runs;
    std::string reason;
    for (const std::string& result : results)
    {
        Conversion run;
        if (!run.Read(result, folder, reason))
            return Failed(err, reason, Exit::WrongInput);
        if (std::any_of(runs.begin(), runs.end(),
                        [&](const Conversion& other) { return run.IsBeside(other); }))
            return Failed(err,
                          "two of the results are of the name '" + run.Name() +
                              "' and would be written to the same files",
                          Exit::WrongInput);
        runs.push_back(std::move(run));
    }
    for (Conversion& run : runs)
    {
        if (!run.MakeFolder(reason) || !run.Write(reason))
            return Failed(err, reason, Exit::NotWritten);
        run.Print(out);
    }
    return Exit::Done;
}

} // namespace percova
