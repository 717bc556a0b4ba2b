#include "doc/doc_file.h"

#include "foundation/KviError.h"
#include "sys/sys_file.h"
#include "sys/sys_file_ValidName.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace doc::file
{
namespace
{
using sys::file::StringToValidFileName;
using sys::file::ValidFileNameToString;

// No text becomes a name with "&r" in it, so what follows can only be a run.
constexpr wchar_t kRunMark[] = L"&r";

/// Whether @p text as a name stays inside its folder.
bool StaysInside(const std::wstring& text)
{
    constexpr wchar_t separators[] = {L'\\', L'/', L'\0'};
    return text != L"." && text != L".." &&
           text.find_first_of(separators, 0, std::size(separators)) == std::wstring::npos;
}

/// @p text as the name of a file or folder on every system; undone by ValidFileNameToString.
std::wstring EntryName(const std::wstring& text)
{
    // A name is a device even with an extension, so the part before the first dot is encoded
    // separately.
    const std::size_t dot = std::min(text.find(L'.'), text.size());
    std::wstring name = StringToValidFileName(text.substr(0, dot));
    if (sys::file::IsDeviceName(name))
        name.insert(name.begin(), L'&');
    name += StringToValidFileName(text.substr(dot));
    if (name.ends_with(L'.')) // Windows drops it
        name += L'&';
    return name;
}

std::wstring AnalysisFolder(const Name& name)
{
    const std::wstring folder = EntryName(name.Analysis());
    return name.Run() == Name::kNoRun ? folder : folder + kRunMark + std::to_wstring(name.Run());
}

/// The number that @p text writes in the shortest way; none when it is another text or above
/// @p most.
std::optional<std::uint32_t> ReadNumber(const std::wstring& text, std::uint32_t most)
{
    if (text.empty() || text.size() > 10 || (text[0] == L'0' && text.size() > 1))
        return std::nullopt;
    std::uint64_t number = 0;
    for (const wchar_t c : text)
    {
        if (c < L'0' || c > L'9')
            return std::nullopt;
        number = 10 * number + static_cast<std::uint64_t>(c - L'0');
    }
    return number <= most ? std::optional(static_cast<std::uint32_t>(number)) : std::nullopt;
}

/// Takes analysis and run from the name of a folder. @returns whether it is the name of one
bool ReadAnalysis(Name& name, const std::wstring& folder)
{
    const std::size_t mark = folder.rfind(kRunMark);
    std::uint32_t run = Name::kNoRun;
    if (mark != std::wstring::npos)
    {
        const auto number = ReadNumber(folder.substr(mark + 2), Name::kNoRun - 1);
        if (!number)
            return false;
        run = *number;
    }
    name.Analysis(ValidFileNameToString(folder.substr(0, mark))).Run(run);
    return AnalysisFolder(name) == folder;
}

bool ReadStep(Name& name, const std::wstring& folder)
{
    const auto number = ReadNumber(folder, 0x7FFFFFFD); // above: reserved
    if (number)
        name.Step(Step::CreateFromInt(static_cast<int>(*number)));
    return number.has_value();
}

bool ReadFile(Name& name, const std::wstring& file)
{
    name.FNameExt(ValidFileNameToString(file));
    return EntryName(name.FNameExt()) == file;
}

/// The folder of the document's data; empty without a project file.
std::wstring DocumentFolder(const Name& name)
{
    const std::wstring project = name.ProjectFName();
    if (project.find_first_not_of(L'.') == std::wstring::npos)
        return {};
    return name.ProjectDirectory() + EntryName(project) + L'\\';
}

bool IsOneFile(const Name& name)
{
    if (name.IsMultiSelectAnalyses() || name.FName() == L"*" ||
        name.Ext().find(L'*') != std::wstring::npos)
        return false;
    const std::wstring file = name.FNameExt();
    if (file.empty() || !StaysInside(file) || !StaysInside(name.Analysis()) ||
        !(name.Ext().empty() || name.Ext().starts_with(L'.')))
        return false;
    const bool isStep = name.Step() != Step();
    if (name.Analysis().empty())
        return !isStep && name.Run() == Name::kNoRun;
    return !isStep || name.Step().AsStepNumber().value >= 0;
}

/// Path of the folder that holds the file of @p name, and of the file.
std::pair<std::wstring, std::wstring> Paths(const Name& name)
{
    std::wstring folder = DocumentFolder(name);
    if (!name.Analysis().empty())
        folder += AnalysisFolder(name) + L'\\' + name.StepFolder();
    return {folder, folder + EntryName(name.FNameExt())};
}

/// Names of the folders, or of the files, in the folder @p dir.
std::vector<std::wstring> List(const std::wstring& dir, bool folders)
{
    std::vector<std::wstring> names;
    sys::file::Finder finder{sys::file::Finder::FilterNone()};
    for (bool is = finder.FindFile(dir + (folders ? L"*\\" : L"*.*")); is;
         is = finder.FindNextFile())
    {
        const auto& entry = finder.Current();
        std::wstring name = folders ? entry.dir : entry.fname + entry.ext;
        if (folders)
        {
            name.erase(name.find_last_not_of(L'\\') + 1);
            name.erase(0, name.rfind(L'\\') + 1);
        }
        names.push_back(std::move(name));
    }
    return names;
}

/// Appends the files of one folder that @p pattern selects.
void FindInFolder(std::vector<Name>& found, const Name& pattern, const std::wstring& dir,
                  Name candidate)
{
    for (const std::wstring& file : List(dir, false))
    {
        if (ReadFile(candidate, file) && pattern.Selects(candidate))
            found.push_back(candidate);
    }
}

/// Appends those of one analysis.
void FindInAnalysis(std::vector<Name>& found, const Name& pattern, const std::wstring& dir,
                    Name candidate)
{
    if (pattern.Step() == Step())
        return FindInFolder(found, pattern, dir, candidate);
    for (const std::wstring& folder : List(dir, true))
    {
        if (ReadStep(candidate, folder) && pattern.Selects(candidate))
            FindInFolder(found, pattern, dir + folder + L'\\', candidate);
    }
}
} // namespace

gtl::status GetPath(std::wstring& path, const Name& name)
{
    if (!IsOneFile(name) || DocumentFolder(name).empty())
        return KviError::File::invalid_path(name.Description());
    path = Paths(name).second;
    return {};
}

gtl::status MakeFolder(std::wstring& path, const Name& name)
{
    std::wstring file;
    if (gtl::status named = GetPath(file, name); !named.ok())
        return named;
    if (gtl::status made = sys::file::CreateDirectory(Paths(name).first); !made.ok())
        return made;
    path = std::move(file);
    return {};
}

gtl::status FindFiles(std::vector<Name>& found, const Name& pattern)
{
    const std::wstring dir = DocumentFolder(pattern);
    if (dir.empty() || !StaysInside(pattern.Analysis()))
        return KviError::File::invalid_path(pattern.Description());
    std::vector<Name> names;
    Name candidate = pattern; // selected, and so it is while the parts read so far are
    if (pattern.Analysis().empty())
        FindInFolder(names, pattern, dir, candidate);
    else
    {
        for (const std::wstring& folder : List(dir, true))
        {
            if (ReadAnalysis(candidate, folder) && pattern.Selects(candidate))
                FindInAnalysis(names, pattern, dir + folder + L'\\', candidate);
        }
    }
    std::sort(names.begin(), names.end());
    found = std::move(names);
    return {};
}

} // namespace doc::file
