#include "platform/platform_file.h"
#include "platform/posix/posix_file_impl.h"
#include "platform/posix/posix_path_impl.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <memory>
#include <random>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform
{
using posix::Descriptor;
using posix::ToSystemPath;

namespace
{
using FileStatus = struct stat;

unsigned long Number() { return static_cast<unsigned long>(errno); }

/// A new file without a name, which it gets when it is whole: a process that is killed leaves
/// nothing. Where a file system or the system has no such files it has a hidden name at first.
class Draft
{
public:
    explicit Draft(const std::string& target)
        : folder_(target.substr(0, target.rfind('/') + 1)),
          file_(::open(folder_.empty() ? "." : folder_.c_str(), O_WRONLY | O_TMPFILE | O_CLOEXEC,
                       0600))
    {
        // The kernel's path of a file without a name: /proc may be missing.
        if (file_.IsOpen() && ::access(Nameless().c_str(), F_OK) == 0)
            return;
        if (!file_.IsOpen() && errno != EISDIR && errno != EOPNOTSUPP && errno != EINVAL)
        {
            error_ = Number();
            return;
        }
        name_ = folder_ + ".kviXXXXXX";
        file_ = Descriptor(::mkostemp(name_.data(), O_CLOEXEC));
        if (!file_.IsOpen())
        {
            error_ = Number();
            name_.clear();
        }
    }
    ~Draft()
    {
        if (!name_.empty())
            ::unlink(name_.c_str());
    }
    Draft(const Draft&) = delete;
    Draft& operator=(const Draft&) = delete;

    unsigned long Error() const { return error_; }
    int File() const { return file_.Number(); }

    /// Gives the file the name @p target, in the place of what has it.
    unsigned long Replace(const std::string& target);
    /// Gives the file the name @p target, which nothing may have.
    unsigned long Place(const std::string& target);

private:
    std::string Nameless() const { return "/proc/self/fd/" + std::to_string(file_.Number()); }
    unsigned long Link(const std::string& target) const
    {
        const int linked =
            ::linkat(AT_FDCWD, Nameless().c_str(), AT_FDCWD, target.c_str(), AT_SYMLINK_FOLLOW);
        return linked == 0 ? 0 : Number();
    }

    std::string folder_; // with its separator, or empty
    Descriptor file_;
    std::string name_; // until the file has its own; empty when there is none
    unsigned long error_ = 0;
};

/// Renames what nothing else has the new name of.
unsigned long RenameNew(const std::string& from, const std::string& to)
{
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0)
        return 0;
    if (errno != EINVAL && errno != ENOSYS)
        return Number();
    // A file system without that operation: a second name never replaces, but folders have none.
    if (::link(from.c_str(), to.c_str()) == 0)
    {
        if (::unlink(from.c_str()) == 0)
            return 0;
        const unsigned long error = Number();
        ::unlink(to.c_str());
        return error;
    }
    if (errno != EPERM && errno != EOPNOTSUPP)
        return Number();
    if (struct stat about; ::lstat(to.c_str(), &about) == 0)
        return EEXIST;
    return ::rename(from.c_str(), to.c_str()) == 0 ? 0 : Number();
}

unsigned long Draft::Replace(const std::string& target)
{
    if (name_.empty())
    {
        if (const unsigned long error = Link(target); error != EEXIST)
            return error;
    }
    // No call gives a file without a name one that is taken, so it passes through a hidden one.
    std::random_device random;
    for (int tries = 0; name_.empty(); ++tries)
    {
        const std::string hidden = folder_ + ".kvi" + std::to_string(random());
        const unsigned long error = Link(hidden);
        if (error == 0)
            name_ = hidden;
        else if (error != EEXIST || tries == 100)
            return error;
    }
    if (!file_.Close() || ::rename(name_.c_str(), target.c_str()) != 0)
        return Number();
    name_.clear();
    return 0;
}

unsigned long Draft::Place(const std::string& target)
{
    if (name_.empty())
        return Link(target);
    if (!file_.Close())
        return Number();
    const unsigned long error = RenameNew(name_, target);
    if (error == 0)
        name_.clear();
    return error;
}

unsigned long WriteAll(int to, const char* bytes, std::size_t size, off_t at)
{
    while (size > 0)
    {
        const auto n = ::pwrite(to, bytes, size, at);
        if (n < 0 && errno != EINTR)
            return Number();
        const std::size_t written = n > 0 ? static_cast<std::size_t>(n) : 0;
        bytes += written;
        at += static_cast<off_t>(written);
        size -= written;
    }
    return 0;
}

/// Copies bytes from @p at up to @p end inside the kernel, which shares them where the file system
/// can; what it cannot is left to the caller. @p at is then where the rest begins.
unsigned long CopyInKernel(int from, int to, off_t& at, off_t end)
{
    off_t target = at;
    while (at < end)
    {
        const auto n =
            ::copy_file_range(from, &at, to, &target, static_cast<std::size_t>(end - at), 0);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0 && errno != EXDEV && errno != EINVAL && errno != ENOSYS && errno != EOPNOTSUPP)
            return Number();
        if (n <= 0)
            return 0;
    }
    return 0;
}

/// Copies bytes from @p at up to @p end, or to the end of the file when that comes first.
unsigned long CopyByHand(int from, int to, off_t at, off_t end)
{
    const auto buffer = std::make_unique<std::array<char, std::size_t{1} << 18>>();
    while (at < end)
    {
        const auto room = std::min<off_t>(end - at, static_cast<off_t>(buffer->size()));
        const auto got = ::pread(from, buffer->data(), static_cast<std::size_t>(room), at);
        if (got == 0)
            return 0;
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return Number();
        if (const auto error = WriteAll(to, buffer->data(), static_cast<std::size_t>(got), at))
            return error;
        at += got;
    }
    return 0;
}

/// Copies the @p size bytes of @p from into the empty file @p to; holes stay holes.
unsigned long CopyBytes(int from, int to, off_t size)
{
    for (off_t at = 0; at < size;)
    {
        off_t begin = ::lseek(from, at, SEEK_DATA);
        if (begin < 0 && errno == ENXIO) // a hole up to the end
        {
            if (::ftruncate(to, size) != 0)
                return Number();
            break;
        }
        begin = std::max(begin, at); // below 0 where holes are not known
        const off_t hole = ::lseek(from, begin, SEEK_HOLE);
        at = hole > begin ? hole : size;
        if (const unsigned long error = CopyInKernel(from, to, begin, at); error != 0)
            return error;
        if (const unsigned long error = CopyByHand(from, to, begin, at); error != 0)
            return error;
    }
    // Bytes that came meanwhile, or all of a file that does not know its size.
    return CopyByHand(from, to, size, std::numeric_limits<off_t>::max());
}

/// Opens a regular file for reading, without waiting.
unsigned long OpenSource(const std::string& name, bool follow, Descriptor& file, FileStatus& about)
{
    file = Descriptor(::open(name.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY |
                                               (follow ? 0 : O_NOFOLLOW)));
    if (!file.IsOpen() || ::fstat(file.Number(), &about) != 0)
        return Number();
    if (S_ISREG(about.st_mode))
        return 0;
    return S_ISDIR(about.st_mode) ? EISDIR : ESPIPE;
}

/// Writes the bytes, permissions and time of @p from into @p to.
unsigned long CopyContents(const Descriptor& from, const FileStatus& about, int to)
{
    if (const auto error = CopyBytes(from.Number(), to, about.st_size); error != 0)
        return error;
    const timespec times[2] = {{0, UTIME_OMIT}, about.st_mtim};
    if (::fchmod(to, about.st_mode & 0777) != 0 || ::futimens(to, times) != 0)
        return Number();
    return 0;
}

/// Moves the file @p from to another disk.
unsigned long MoveAcross(const std::string& from, const std::string& to)
{
    Descriptor source;
    FileStatus about{};
    if (const unsigned long error = OpenSource(from, false, source, about); error != 0)
        return error == EISDIR || error == ELOOP ? static_cast<unsigned long>(EXDEV) : error;
    Draft draft(to);
    if (draft.Error() != 0)
        return draft.Error();
    (void)!::fchown(draft.File(), about.st_uid, about.st_gid); // root keeps whose file it is
    if (const unsigned long error = CopyContents(source, about, draft.File()); error != 0)
        return error;
    // The other copy goes away next, so this one has to be on the disk.
    if (::fsync(draft.File()) != 0)
        return Number();
    if (const unsigned long error = draft.Place(to); error != 0)
        return error;
    if (::unlink(from.c_str()) == 0)
        return 0;
    const unsigned long error = Number();
    ::unlink(to.c_str());
    return error;
}
} // namespace

unsigned long CopyWhole(const std::wstring& from, const std::wstring& to, bool& readOnlyTarget)
{
    readOnlyTarget = false;
    Descriptor source;
    FileStatus about{}, there{};
    if (const auto error = OpenSource(ToSystemPath(from), true, source, about); error != 0)
        return error;
    std::string target = ToSystemPath(to);
    if (::lstat(target.c_str(), &there) == 0)
    {
        // What a link leads to is replaced, not the link.
        const std::unique_ptr<char, decltype(&std::free)> real(::realpath(target.c_str(), nullptr),
                                                               &std::free);
        if (real == nullptr || ::stat(real.get(), &there) != 0)
            return Number();
        target = real.get();
        if (there.st_dev == about.st_dev && there.st_ino == about.st_ino)
            return EEXIST;
        if (!S_ISREG(there.st_mode))
            return S_ISDIR(there.st_mode) ? EISDIR : ESPIPE;
        readOnlyTarget = (there.st_mode & 0222) == 0;
        if (readOnlyTarget)
            return EACCES;
    }
    Draft draft(target);
    if (draft.Error() != 0)
        return draft.Error();
    if (const unsigned long error = CopyContents(source, about, draft.File()); error != 0)
        return error;
    return draft.Replace(target);
}

unsigned long MoveWhole(const std::wstring& from, const std::wstring& to)
{
    const std::string source = ToSystemPath(from), target = ToSystemPath(to);
    const unsigned long error = RenameNew(source, target);
    if (error == EXDEV)
        return MoveAcross(source, target);
    // Both names lead to one file: Windows lets a file keep its name.
    return error == EEXIST && source == target ? 0 : error;
}

} // namespace platform
