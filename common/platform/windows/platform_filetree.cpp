#include "platform/platform_filetree.h"

#include "platform/windows/FileHandle.h"
#include "platform/windows/SystemPath.h"

#include <vector>

namespace platform
{
using windows::Handle;
using windows::ToSystemPath;

namespace
{
/// A folder on the way down. Its handle denies deletion: while it is open, neither the folder nor
/// one above it can be renamed or replaced by a link.
struct Level
{
    Handle pin;
    std::wstring path;
    std::vector<std::wstring> folders; // not yet visited
};

class Walk
{
public:
    explicit Walk(const TreeDeletion& what) : what_(what) {}

    TreeFault Run(const std::wstring& folder)
    {
        Enter(folder);
        while (!levels_.empty())
        {
            Level& level = levels_.back();
            if (level.folders.empty())
            {
                Leave();
                continue;
            }
            const std::wstring next = level.path + L'\\' + level.folders.back();
            level.folders.pop_back();
            Enter(next);
        }
        return fault_;
    }

private:
    void Note(unsigned long error, const std::wstring& path)
    {
        const bool vanished = error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
        if (fault_.error == 0 && (levels_.empty() || !vanished))
            fault_ = {error, path};
    }

    void Enter(const std::wstring& path)
    {
        Handle pin(::CreateFileW(ToSystemPath(path).c_str(), FILE_LIST_DIRECTORY,
                                 FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                                 FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT,
                                 nullptr));
        BY_HANDLE_FILE_INFORMATION about;
        if (!pin.IsOpen() || !::GetFileInformationByHandle(pin.Get(), &about))
            return Note(::GetLastError(), path);
        const DWORD kind =
            about.dwFileAttributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT);
        if (kind != FILE_ATTRIBUTE_DIRECTORY)
            return Note(ERROR_DIRECTORY, path);
        levels_.push_back({std::move(pin), path, {}});
        List();
    }

    void List()
    {
        const std::wstring folder = levels_.back().path + L'\\';
        WIN32_FIND_DATAW found;
        const HANDLE search = ::FindFirstFileW(ToSystemPath(folder + L'*').c_str(), &found);
        if (search == INVALID_HANDLE_VALUE)
            return Note(::GetLastError(), levels_.back().path);
        // All names first: deleting while listing may skip some.
        std::vector<std::wstring> files;
        do
        {
            const std::wstring name = found.cFileName;
            const bool folderEntry = (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
            const bool link = (found.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
            if (name == L"." || name == L"..")
                continue;
            if (!folderEntry)
                files.push_back(name);
            else if (!link)
                levels_.back().folders.push_back(name);
            else if (what_.folders && !::RemoveDirectoryW(ToSystemPath(folder + name).c_str()))
                Note(::GetLastError(), folder + name);
        } while (::FindNextFileW(search, &found));
        ::FindClose(search);
        if (!what_.below)
            levels_.back().folders.clear();
        for (const std::wstring& name : files)
        {
            if (what_.wanted(name) && !::DeleteFileW(ToSystemPath(folder + name).c_str()))
                Note(::GetLastError(), folder + name);
        }
    }

    void Leave()
    {
        const std::wstring path = levels_.back().path;
        levels_.pop_back();
        // Removes only an empty folder, or a link that has replaced it.
        if (!levels_.empty() && what_.folders && !::RemoveDirectoryW(ToSystemPath(path).c_str()))
            Note(::GetLastError(), path);
    }

    const TreeDeletion& what_;
    std::vector<Level> levels_;
    TreeFault fault_;
};
} // namespace

TreeFault DeleteIn(const std::wstring& folder, const TreeDeletion& what)
{
    return Walk(what).Run(folder);
}

unsigned long DeleteEmptyFolder(const std::wstring& folder)
{
    return ::RemoveDirectoryW(ToSystemPath(folder).c_str()) ? 0 : ::GetLastError();
}

} // namespace platform
