#include "output/ResultFiles.h"

#include "output/Output.h"
#include "problem/TextFile.h"

namespace percova
{

ResultFiles::ResultFiles(const std::filesystem::path& folder, const Problem& problem)
    : folder_(std::filesystem::absolute(folder).lexically_normal()),
      steps_(problem.time ? 1 : problem.steps.size()), isInTime_(problem.time.has_value())
{
    if (!folder_.has_filename()) // a separator at the end
        folder_ = folder_.parent_path();
    document_.ProjectPath(LibraryPath(folder_) + L".json");
    document_.FName(str::as_wstring(str::u8string(BaseName(problem))));
}

doc::file::Name ResultFiles::Named(std::size_t number, const char* ending) const
{
    doc::file::Name name = document_;
    if (number > 0 && HasStepFolders())
        name.Analysis(L"seepage").Step(::Step::CreateFromInt(static_cast<int>(number)));
    return name.Ext(std::wstring(ending, ending + std::char_traits<char>::length(ending)));
}

std::filesystem::path ResultFiles::OfRun(const char* ending) const { return OfStep(0, ending); }

std::filesystem::path ResultFiles::OfStep(std::size_t number, const char* ending) const
{
    std::wstring path;
    const gtl::status named = doc::file::GetPath(path, Named(number, ending));
    return named.ok() ? PathOf(path) : std::filesystem::path(); // refused by MakeFolders before
}

std::filesystem::path ResultFiles::OfOutput(std::size_t number, const char* ending) const
{
    std::string text = std::to_string(number);
    text.insert(0, text.size() < 4 ? 4 - text.size() : 0, '0');
    return OfRun(('.' + text + ending).c_str());
}

std::string ResultFiles::NameOfStep(std::size_t number, const char* ending) const
{
    const std::u8string name = (isInTime_ ? OfOutput(number, ending) : OfStep(number, ending))
                                   .lexically_relative(folder_)
                                   .generic_u8string();
    return {name.begin(), name.end()};
}

bool ResultFiles::MakeFolders(std::size_t number, std::string& reason) const
{
    std::wstring path;
    const gtl::status made = doc::file::MakeFolder(path, Named(number, ".json"));
    if (!made.ok())
        reason = str::as_u8string(made.as_wstring()).bytes();
    return made.ok();
}

} // namespace percova
