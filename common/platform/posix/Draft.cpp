#include "platform/posix/Draft.h"

#include <cerrno>
#include <cstdio>
#include <random>

#include <fcntl.h>
#include <unistd.h>

namespace platform::posix
{
namespace
{
unsigned long Number() { return static_cast<unsigned long>(errno); }

/// Opens a folder for names and, if it may be read, for syncing.
Descriptor OpenFolder(const std::string& path)
{
    const char* const name = path.empty() ? "." : path.c_str();
    Descriptor folder(::open(name, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder.IsOpen() && errno == EACCES)
        folder = Descriptor(::open(name, O_PATH | O_DIRECTORY | O_CLOEXEC));
    return folder;
}

std::string HiddenName()
{
    std::random_device random; // the system's generator
    return ".kvi" + std::to_string(random()) + std::to_string(random());
}
} // namespace

Draft::Draft(const std::string& target, mode_t mode)
    : folder_(OpenFolder(target.substr(0, target.rfind('/') + 1))),
      leaf_(target.substr(target.rfind('/') + 1))
{
    Create(mode);
}

Draft::Draft(const Descriptor& folder, const std::string& leaf, mode_t mode)
    : folder_(::openat(folder.Number(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC)), leaf_(leaf)
{
    Create(mode);
}

void Draft::Create(mode_t mode)
{
    if (folder_.IsOpen() && leaf_.empty())
        errno = EISDIR;
    if (!folder_.IsOpen() || leaf_.empty())
    {
        error_ = Number();
        return;
    }
    file_ = Descriptor(::openat(folder_.Number(), ".", O_WRONLY | O_TMPFILE | O_CLOEXEC, mode));
    if (file_.IsOpen() && ::access(Nameless().c_str(), F_OK) == 0)
        return;
    if (!file_.IsOpen() && errno != EISDIR && errno != EOPNOTSUPP && errno != EINVAL)
        error_ = Number();
    else
        CreateHidden(mode);
}

void Draft::CreateHidden(mode_t mode)
{
    for (int tries = 0; tries < 100; ++tries)
    {
        const std::string name = HiddenName();
        file_ = Descriptor(::openat(folder_.Number(), name.c_str(),
                                    O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode));
        if (file_.IsOpen())
        {
            name_ = name;
            return;
        }
        if (errno != EEXIST)
            break;
    }
    error_ = Number();
}

Draft::~Draft()
{
    if (!name_.empty())
        ::unlinkat(folder_.Number(), name_.c_str(), 0);
}

unsigned long Draft::TargetStatus(struct stat& about) const
{
    return ::fstatat(folder_.Number(), leaf_.c_str(), &about, AT_SYMLINK_NOFOLLOW) == 0 ? 0
                                                                                        : Number();
}

unsigned long Draft::Link(const std::string& name) const
{
    const int linked =
        ::linkat(AT_FDCWD, Nameless().c_str(), folder_.Number(), name.c_str(), AT_SYMLINK_FOLLOW);
    return linked == 0 ? 0 : Number();
}

unsigned long Draft::Replace()
{
    if (name_.empty())
    {
        if (const unsigned long error = Link(leaf_); error != EEXIST)
            return error;
    }
    // No system call replaces a file by an unnamed one, so it gets a hidden name first.
    for (int tries = 0; name_.empty(); ++tries)
    {
        const std::string hidden = HiddenName();
        const unsigned long error = Link(hidden);
        if (error == 0)
            name_ = hidden;
        else if (error != EEXIST || tries == 100)
            return error;
    }
    if (!file_.Close() ||
        ::renameat(folder_.Number(), name_.c_str(), folder_.Number(), leaf_.c_str()) != 0)
        return Number();
    name_.clear();
    return 0;
}

unsigned long Draft::Place()
{
    if (name_.empty())
        return Link(leaf_);
    if (!file_.Close())
        return Number();
    const unsigned long error = RenameNew(folder_.Number(), name_, folder_.Number(), leaf_);
    if (error == 0)
        name_.clear();
    return error;
}

void Draft::Withdraw() const { ::unlinkat(folder_.Number(), leaf_.c_str(), 0); }

unsigned long Draft::SyncFolder() const
{
    if (::fsync(folder_.Number()) == 0)
        return 0;
    // A folder without read permission, or a file system that syncs folders itself.
    return errno == EBADF || errno == EINVAL || errno == EROFS ? 0 : Number();
}

unsigned long RenameNew(int fromFolder, const std::string& from, int toFolder,
                        const std::string& to)
{
    if (::renameat2(fromFolder, from.c_str(), toFolder, to.c_str(), RENAME_NOREPLACE) == 0)
        return 0;
    if (errno != EINVAL && errno != ENOSYS)
        return Number();
    // A file system without that operation: creating a hard link never replaces, but folders cannot
    // have one.
    if (::linkat(fromFolder, from.c_str(), toFolder, to.c_str(), 0) == 0)
    {
        if (::unlinkat(fromFolder, from.c_str(), 0) == 0)
            return 0;
        const unsigned long error = Number();
        ::unlinkat(toFolder, to.c_str(), 0);
        return error;
    }
    if (errno != EPERM && errno != EOPNOTSUPP)
        return Number();
    if (struct stat about; ::fstatat(toFolder, to.c_str(), &about, AT_SYMLINK_NOFOLLOW) == 0)
        return EEXIST;
    return ::renameat(fromFolder, from.c_str(), toFolder, to.c_str()) == 0 ? 0 : Number();
}

unsigned long WriteAll(int file, const char* bytes, std::size_t size, off_t at)
{
    while (size > 0)
    {
        const auto n = ::pwrite(file, bytes, size, at);
        if (n < 0 && errno != EINTR)
            return Number();
        const std::size_t written = n > 0 ? static_cast<std::size_t>(n) : 0;
        bytes += written;
        at += static_cast<off_t>(written);
        size -= written;
    }
    return 0;
}

} // namespace platform::posix
