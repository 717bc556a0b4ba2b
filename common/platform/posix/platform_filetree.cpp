#include "platform/platform_filetree.h"

#include "platform/posix/Descriptor.h"
#include "platform/posix/SystemPath.h"

#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform
{
using posix::Descriptor;
using posix::FromSystemPath;
using posix::ToSystemPath;

namespace
{
constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

unsigned long Number() { return static_cast<unsigned long>(errno); }

/// Walks a tree of any depth with one descriptor: down by names that must not be links, up by ".."
/// that must lead to the folder it came from.
class Walk
{
public:
    Walk(const std::wstring& folder, const TreeDeletion& what) : what_(what), path_(folder) {}

    TreeFault Run()
    {
        if (!Enter(AT_FDCWD, ToSystemPath(path_)))
            return fault_;
        while (!levels_.empty())
        {
            Level& level = levels_.back();
            if (level.folders.empty())
            {
                if (!Leave())
                    return fault_;
                continue;
            }
            level.current = std::move(level.folders.back());
            level.folders.pop_back();
            const std::string name = level.current;
            path_ += L'\\' + FromSystemPath(name);
            if (!Enter(at_.Number(), name))
                Shorten();
        }
        return fault_;
    }

private:
    struct Level
    {
        dev_t device = 0;
        ino_t number = 0;
        std::vector<std::string> folders; // not yet visited
        std::string current;              // current position below it
    };

    void Note(unsigned long error, const std::string& name = {})
    {
        if (fault_.error == 0 && error != ENOENT)
            fault_ = {error, name.empty() ? path_ : path_ + L'\\' + FromSystemPath(name)};
    }

    void Shorten() { path_.erase(path_.rfind(L'\\')); }

    /// Opens the folder, deletes its files and notes its folders.
    bool Enter(int parent, const std::string& name)
    {
        Descriptor folder(::openat(parent, name.c_str(), kFolderFlags));
        struct stat about;
        if (!folder.IsOpen() || ::fstat(folder.Number(), &about) != 0)
        {
            const unsigned long error = Number();
            if (levels_.empty())
                fault_ = {error, path_}; // the tree itself is missing
            else
                Note(error);
            return false;
        }
        levels_.push_back({about.st_dev, about.st_ino, {}, {}});
        at_ = std::move(folder);
        for (const std::string& entry : Names())
            Handle(entry);
        return true;
    }

    /// Goes back up and deletes the folder just left. False when ".." is not the folder that was
    /// entered from.
    bool Leave()
    {
        levels_.pop_back();
        if (levels_.empty())
            return true;
        Descriptor up(::openat(at_.Number(), "..", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        struct stat about;
        Level& level = levels_.back();
        if (!up.IsOpen() || ::fstat(up.Number(), &about) != 0)
        {
            Note(Number());
            return false;
        }
        if (about.st_dev != level.device || about.st_ino != level.number)
        {
            Note(EXDEV); // the folder was moved away
            return false;
        }
        at_ = std::move(up);
        Shorten();
        if (what_.folders && ::unlinkat(at_.Number(), level.current.c_str(), AT_REMOVEDIR) != 0)
            Note(Number(), level.current);
        return true;
    }

    /// All names in the current folder: deleting while listing may skip some.
    std::vector<std::string> Names()
    {
        std::vector<std::string> names;
        const int again = ::openat(at_.Number(), ".", kFolderFlags);
        DIR* const list = again < 0 ? nullptr : ::fdopendir(again);
        if (list == nullptr)
        {
            Note(Number());
            if (again >= 0)
                ::close(again);
            return names;
        }
        // One thread reads this list.
        while (const dirent* entry = ::readdir(list)) // NOLINT(concurrency-mt-unsafe)
        {
            if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0)
                names.emplace_back(entry->d_name);
        }
        ::closedir(list);
        return names;
    }

    void Handle(const std::string& name)
    {
        struct stat about;
        if (::fstatat(at_.Number(), name.c_str(), &about, AT_SYMLINK_NOFOLLOW) != 0)
            return Note(Number(), name);
        if (S_ISDIR(about.st_mode))
        {
            if (what_.below)
                levels_.back().folders.push_back(name);
            return;
        }
        if (!what_.wanted(FromSystemPath(name)))
            return;
        // A read-only file is protected from deleting, as it is on Windows.
        if (!S_ISLNK(about.st_mode) && (about.st_mode & 0222) == 0)
            return Note(EACCES, name);
        if (::unlinkat(at_.Number(), name.c_str(), 0) != 0)
            Note(Number(), name);
    }

    const TreeDeletion& what_;
    std::wstring path_; // of the current folder
    Descriptor at_;     // likewise
    std::vector<Level> levels_;
    TreeFault fault_;
};
} // namespace

TreeFault DeleteIn(const std::wstring& folder, const TreeDeletion& what)
{
    return Walk(folder, what).Run();
}

unsigned long DeleteEmptyFolder(const std::wstring& folder)
{
    const std::string name = ToSystemPath(folder);
    if (::rmdir(name.c_str()) == 0)
        return 0;
    const unsigned long error = Number();
    struct stat about;
    if (error == ENOTDIR && ::lstat(name.c_str(), &about) == 0 && S_ISLNK(about.st_mode))
        return ::unlink(name.c_str()) == 0 ? 0 : Number();
    return error;
}

} // namespace platform
