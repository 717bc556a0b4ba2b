#include "foundation/KVISysMsg.h"
#include "foundation/KviError.h"
#include "foundation/str.h"
#include "platform/platform_file.h"
#include "platform/platform_folders.h"
#include "platform/platform_library.h"
#include "platform/platform_path.h"
#include "sys/file/FileErrors.h"
#include "sys/sys_file.h"

namespace sys::file
{
namespace
{

std::wstring_view WithoutEnd(std::wstring_view root)
{
    while (!root.empty() && platform::IsSeparator(root.back()))
        root.remove_suffix(1);
    return root;
}

std::wstring_view RootText(const std::wstring& path)
{
    return std::wstring_view(path).substr(0, platform::RootOf(path).length);
}

bool SamePart(std::wstring_view a, std::wstring_view b)
{
    return platform::NamesIgnoreCase() ? str::compare_ignore_case(a, b) == 0 : a == b;
}

/// Opens a file that is there.
gtl::status Open(const std::wstring& path, void* window)
{
    if (!IsUsable(path))
        return KviError::File::invalid_path(path);
    if (!Exists(path))
        return KviError::File::file_not_found(path);
    const unsigned long error = platform::OpenWithProgram(GetAbsolutePath(path), window);
    const platform::FileFault fault = platform::FaultOf(error);
    // The file exists, so the program is missing.
    if (error != 0 &&
        (fault == platform::FileFault::noProgram || fault == platform::FileFault::missing))
        return KviError::File::shell_missing_association(path, KVISysMsg(error));
    return Failure(error, path, &KviError::File::open);
}
} // namespace

NativeString NativePath(const std::wstring& path) { return platform::SystemPath(path); }

std::wstring GetAbsolutePath(const std::wstring& path)
{
    std::wstring absolute;
    if (!IsUsable(path) || platform::AbsolutePath(path, absolute) != 0)
        return path.empty() ? path : platform::Normalised(path);
    return absolute;
}

std::wstring GetRelativePath(const std::wstring& path, const std::wstring& base)
{
    std::wstring target = GetAbsolutePath(path);
    const std::wstring folder = GetAbsolutePath(base.empty() ? L"." : base);
    const std::wstring_view root = RootText(target), baseRoot = RootText(folder);
    if (path.empty() || str::compare_ignore_case(WithoutEnd(root), WithoutEnd(baseRoot)) != 0)
        return target;
    const auto to = platform::PartsOf(std::wstring_view(target).substr(root.size()));
    const auto from = platform::PartsOf(std::wstring_view(folder).substr(baseRoot.size()));
    std::size_t common = 0;
    while (common < to.size() && common < from.size() && SamePart(to[common], from[common]))
        ++common;
    std::wstring relative;
    const auto add = [&](std::wstring_view part) {
        relative += relative.empty() ? L"" : L"\\";
        relative += part;
    };
    for (std::size_t i = common; i < from.size(); ++i)
        add(L"..");
    for (std::size_t i = common; i < to.size(); ++i)
        add(to[i]);
    if (relative.empty())
        return L".";
    if (common < to.size() && platform::IsSeparator(target.back()))
        relative += L'\\';
    // A name on Linux may look like a drive.
    return platform::RootOf(relative).length > 0 ? L".\\" + relative : relative;
}

gtl::status ResolveRelativePath(std::wstring& out, const std::wstring& path,
                                const std::wstring& base)
{
    if (!IsUsable(path) || !IsUsable(base))
        return KviError::File::invalid_path(IsUsable(path) ? base : path);
    const std::wstring folder = GetAbsolutePath(base);
    const platform::PathRoot root = platform::RootOf(path);
    std::wstring full;
    if (root.fixed && root.whole)
        full = path;
    else if (root.fixed)
        full = std::wstring(WithoutEnd(RootText(folder))) + path;
    else if (root.length == 0)
        full = platform::Joined(folder, path);
    else if (str::compare_ignore_case(RootText(folder).substr(0, 2), path.substr(0, 2)) == 0)
        full = platform::Joined(folder, path.substr(2));
    else
        full = GetAbsolutePath(path);
    bool above = false;
    full = platform::Normalised(full, &above);
    if (above)
        return KviError::File::invalid_path(path);
    out = std::move(full);
    return {};
}

gtl::status Find(std::wstring& found, const std::wstring& dir, const std::wstring& name,
                 const std::wstring& ext)
{
    if (!IsUsable(name))
        return KviError::File::invalid_path(name);
    const bool complete = !SplitPath(name).ext.empty();
    const std::wstring file = complete ? name : name + ext;
    const bool absolute = platform::RootOf(name).fixed;
    for (std::size_t begin = 0; begin <= dir.size();)
    {
        const std::size_t end = std::min(dir.find(L';', begin), dir.size());
        const std::wstring folder = dir.substr(begin, end - begin);
        const std::wstring path =
            absolute || folder.empty() ? file : platform::Joined(folder, file);
        begin = end + 1;
        platform::FileInfo info;
        const unsigned long error = IsUsable(path) ? platform::GetFileInfo(path, info) : 0;
        if (error != 0 && platform::FaultOf(error) != platform::FileFault::missing)
            return Failure(error, path, &KviError::File::find);
        if (error != 0 || !IsUsable(path) || info.folder)
            continue;
        found = GetAbsolutePath(path);
        return {};
    }
    return KviError::File::file_not_found(file);
}

gtl::status GetTempDirectory(std::wstring& path)
{
    const unsigned long error = platform::TemporaryFolder(path);
    return error == 0 ? gtl::status() : KviError::File::get_temp_path(KVISysMsg(error));
}

gtl::status GetTempFilename(std::wstring& path) { return GetTempFilename(path, L"kvi"); }

gtl::status GetTempFilename(std::wstring& path, const std::wstring& prefix)
{
    if (prefix.find_first_of(std::wstring_view(L"\\/:\0", 4)) != std::wstring::npos)
        return KviError::File::invalid_path(prefix);
    std::wstring folder, file;
    if (gtl::status failed = GetTempDirectory(folder); !failed.ok())
        return failed;
    const unsigned long error = platform::MakeTemporaryFile(folder, prefix, file);
    if (error == 0)
        path = platform::Normalised(file);
    return Failure(error, folder + prefix, &KviError::File::write);
}

std::wstring GetCurrentDirectory()
{
    std::wstring path;
    return platform::CurrentFolder(path) == 0 ? path : std::wstring();
}

gtl::status SetCurrentDirectory(const std::wstring& path)
{
    if (!IsUsable(path))
        return KviError::File::invalid_path(path);
    return FailureOfExisting(platform::SetCurrentFolder(path), path, &KviError::File::open);
}

std::wstring GetKnownFolderPath(const FolderNumber& folder)
{
    return platform::KnownFolder(std::bit_cast<platform::FolderNumber>(folder));
}

gtl::status ShellOpen(const SplitPath& path, void* window) { return Open(path.Path(), window); }

gtl::status ShellOpenRelative(const std::wstring& path, void* window)
{
    std::wstring full;
    // The path of the program comes in the system's spelling.
    const SplitPath program(platform::Normalised(platform::ModulePath(nullptr)));
    if (gtl::status failed = ResolveRelativePath(full, path, program.dir); !failed.ok())
        return failed;
    return Open(full, window);
}

} // namespace sys::file
