#include "FileCommands.h"

#include "KVI.h"
#include "output/NewProblem.h"
#include "output/ProblemSchema.h"
#include "output/Summary.h"
#include "output/report/Report.h"
#include "output/report/StoredRun.h"
#include "problem/Shown.h"
#include "problem/TextFile.h"

#include <algorithm>
#include <filesystem>
#include <ostream>

namespace percova
{
namespace
{

Exit Failed(std::ostream& err, const std::string& reason, Exit exit)
{
    err << "percova: " << Shown(reason) << '\n';
    return exit;
}

/// The file as a problem file in the folder of @p problem names it.
std::string NameFrom(const std::wstring& problem, const std::wstring& file)
{
    const std::wstring folder = FolderOf(problem);
    std::string name = TextOf(file.starts_with(folder) ? file.substr(folder.size()) : file);
    std::replace(name.begin(), name.end(), '\\', '/');
    return name;
}

} // namespace

Exit MakeReport(const std::string& folder, const std::string& file, std::size_t pictures,
                std::ostream& out, std::ostream& err)
{
    StoredRun run;
    std::string reason;
    if (!ReadStoredRun(PathOf(folder), run, reason))
        return Failed(err, reason, Exit::WrongInput);
    const std::wstring path = file.empty() ? run.folder + L"report.html" : PathOf(file);
    if (!WriteWhole(
            path, [&](std::ostream& page) { WriteReport(page, run, pictures); }, reason))
        return Failed(err, reason, Exit::NotWritten);
    out << "written to " << Shown(TextOf(path)) << '\n';
    return Exit::Done;
}

Exit MakeProblem(const std::string& mesh, const std::string& file, std::ostream& out,
                 std::ostream& err)
{
    const std::wstring meshPath = sys::file::GetAbsolutePath(PathOf(mesh));
    Mesh read;
    Faults faults;
    const bool right = ReadMesh(PathOf(mesh), read, faults);
    PrintFaults(right ? out : err, faults);
    if (!right)
        return Exit::WrongInput;
    std::string id = TextOf(NameOf(meshPath));
    id.resize(std::min(id.rfind('.'), id.size()));
    const std::wstring path = sys::file::GetAbsolutePath(
        file.empty() ? FolderOf(meshPath) + NameOf(PathOf(id + ".problem.json")) : PathOf(file));
    std::error_code ignored;
    if (std::filesystem::exists(sys::file::NativePath(path), ignored))
        return Failed(err, TextOf(path) + " is there already; --out names another file",
                      Exit::NotWritten);
    std::string reason;
    if (!WriteNew(
            path,
            [&](std::ostream& problem) {
                WriteNewProblem(problem, read, id, NameFrom(path, meshPath));
            },
            reason))
        return Failed(err, reason, Exit::NotWritten);
    out << "written to " << Shown(TextOf(path))
        << "; percova check names what is to be filled in\n";
    return Exit::Done;
}

Exit PrintSchema(std::ostream& out)
{
    out << ProblemSchema();
    return Exit::Done;
}

} // namespace percova
