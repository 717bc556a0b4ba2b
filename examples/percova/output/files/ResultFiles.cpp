#include "output/files/ResultFiles.h"

#include "problem/TextFile.h"

#include <algorithm>
#include <string_view>

namespace percova
{

std::string BaseName(const Problem& problem)
{
    const std::string file = TextOf(NameOf(problem.path));
    std::string name = file.substr(0, file.rfind('.'));
    if (name.ends_with(".problem"))
        name.resize(name.rfind('.'));
    // A name of dots only would be this folder or its parent.
    return name.find_first_not_of('.') == std::string::npos ? "results" : name;
}
namespace
{

constexpr std::wstring_view kDocument = L"results";

/// ".0012.vtu" for output 12 and ".vtu".
std::string EndingOfOutput(std::size_t number, const char* ending)
{
    std::string text = std::to_string(number);
    text.insert(0, text.size() < 4 ? 4 - text.size() : 0, '0');
    return '.' + text + ending;
}

} // namespace

ResultFiles::ResultFiles(const std::wstring& folder, const Problem& problem)
    : given_(folder), folder_(sys::file::GetAbsolutePath(folder)),
      steps_(problem.time ? 1 : problem.steps.size()), isInTime_(problem.time.has_value())
{
    if (!folder_.ends_with(L'\\'))
        folder_ += L'\\';
    document_.ProjectPath(std::wstring(kDocument) + L".json");
    document_.FName(str::as_wstring(str::u8string(BaseName(problem))));
}

bool ResultFiles::CheckFolder(std::string& reason) const
{
    constexpr wchar_t kReplacement = 0xFFFD;
    std::wstring asText; // without the system's own reading of names
    const bool isPath =
        sys::file::ResolveRelativePath(asText, given_, sys::file::GetCurrentDirectory()).ok();
    if (!asText.ends_with(L'\\'))
        asText += L'\\';
    if (given_.find(kReplacement) != std::wstring::npos)
        reason = "its name is no Unicode text";
    else if (!isPath || asText != folder_)
        reason = "the system does not take this name as it is";
    return reason.empty();
}

std::wstring ResultFiles::Relative(std::size_t number, const std::string& ending) const
{
    doc::file::Name name = document_;
    if (number > 0 && HasStepFolders())
        name.Analysis(L"seepage").Step(::Step::CreateFromInt(static_cast<int>(number)));
    std::wstring path;
    const gtl::status named =
        doc::file::GetPath(path, name.Ext(std::wstring(ending.begin(), ending.end())));
    // The document is a stand-in: the user's folder takes the place of its own.
    return named.ok() ? path.substr(kDocument.size() + 1) : std::wstring();
}

std::wstring ResultFiles::OfRun(const char* ending) const { return OfStep(0, ending); }

std::wstring ResultFiles::OfStep(std::size_t number, const char* ending) const
{
    return folder_ + Relative(number, ending);
}

std::wstring ResultFiles::OfOutput(std::size_t number, const char* ending) const
{
    return folder_ + Relative(0, EndingOfOutput(number, ending));
}

std::string ResultFiles::NameOfRun(const char* ending) const
{
    return str::as_u8string(Relative(0, ending)).bytes();
}

std::string ResultFiles::NameOfStep(std::size_t number, const char* ending) const
{
    std::wstring name =
        isInTime_ ? Relative(0, EndingOfOutput(number, ending)) : Relative(number, ending);
    std::replace(name.begin(), name.end(), L'\\', L'/');
    return str::as_u8string(name).bytes();
}

bool ResultFiles::MakeFolders(std::size_t number, std::string& reason) const
{
    const std::wstring name = Relative(number, ".json");
    const gtl::status made = name.empty()
                                 ? KviError::File::invalid_path(document_.FName())
                                 : sys::file::CreateDirectory(percova::FolderOf(folder_ + name));
    if (!made.ok())
        reason = ReasonOf(made);
    return made.ok();
}

} // namespace percova
