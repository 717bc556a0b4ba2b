#include "platform/platform_file.h"
#include "platform/posix/Draft.h"
#include "platform/posix/SystemPath.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <limits>
#include <memory>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform
{
using posix::Descriptor;
using posix::Draft;
using posix::RenameNew;
using posix::ToSystemPath;
using posix::WriteAll;

namespace
{
using FileStatus = struct stat;

unsigned long Number() { return static_cast<unsigned long>(errno); }

/// Copies bytes from @p at up to @p end in the kernel, which shares extents where the file system
/// can. Whatever remains is left to the caller and begins at @p at.
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

/// Copies bytes from @p at up to @p end, or to the end of the file, whichever comes first.
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
        begin = std::max(begin, at); // below 0 where holes are not supported
        const off_t hole = ::lseek(from, begin, SEEK_HOLE);
        at = hole > begin ? hole : size;
        if (const unsigned long error = CopyInKernel(from, to, begin, at); error != 0)
            return error;
        if (const unsigned long error = CopyByHand(from, to, begin, at); error != 0)
            return error;
    }
    // Bytes appended meanwhile, or all of a file that reports no size.
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

unsigned long SetWriteTime(int file, const FileStatus& about)
{
    const timespec times[2] = {{0, UTIME_OMIT}, about.st_mtim};
    return ::futimens(file, times) == 0 ? 0 : Number();
}

/// The permissions of a copy of @p from that replaces @p there: those of @p there, without write
/// permission if the source is read-only.
mode_t ModeOver(const FileStatus& from, const FileStatus& there)
{
    const mode_t mask = (from.st_mode & 0222) == 0 ? 0555 : 0777;
    return there.st_mode & mask;
}

/// Writes the bytes of @p from over those of @p target, the file that @p there describes.
unsigned long CopyInPlace(const Descriptor& from, const FileStatus& about,
                          const std::string& target, const FileStatus& there)
{
    const Descriptor to(::open(target.c_str(), O_WRONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    FileStatus now{};
    if (!to.IsOpen() || ::fstat(to.Number(), &now) != 0)
        return Number();
    if (now.st_dev != there.st_dev || now.st_ino != there.st_ino)
        return EAGAIN; // replaced meanwhile
    if (::ftruncate(to.Number(), 0) != 0)
        return Number();
    if (const auto error = CopyBytes(from.Number(), to.Number(), about.st_size); error != 0)
        return error;
    if (now.st_uid != ::geteuid() && ::geteuid() != 0)
        return 0; // times and permissions are the owner's
    const mode_t mode = ModeOver(about, now);
    if (mode != (now.st_mode & 0777) && ::fchmod(to.Number(), mode) != 0)
        return Number();
    return SetWriteTime(to.Number(), about);
}

/// Moves the file @p from to another disk.
unsigned long MoveAcross(const std::string& from, const std::string& to)
{
    Descriptor source;
    FileStatus about{};
    if (const unsigned long error = OpenSource(from, false, source, about); error != 0)
        return error == EISDIR || error == ELOOP ? static_cast<unsigned long>(EXDEV) : error;
    Draft draft(to, 0600);
    if (draft.Error() != 0)
        return draft.Error();
    (void)!::fchown(draft.File(), about.st_uid, about.st_gid); // root preserves the owner
    if (const auto error = CopyBytes(source.Number(), draft.File(), about.st_size); error != 0)
        return error;
    if (::fchmod(draft.File(), about.st_mode & 0777) != 0)
        return Number();
    if (const unsigned long error = SetWriteTime(draft.File(), about); error != 0)
        return error;
    // The source is deleted next, so the copy and its name have to be on the disk.
    if (::fsync(draft.File()) != 0)
        return Number();
    if (const unsigned long error = draft.Place(); error != 0)
        return error;
    unsigned long error = draft.SyncFolder();
    if (error == 0 && ::unlink(from.c_str()) != 0)
        error = Number();
    if (error != 0)
        draft.Withdraw();
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
    const bool replaces = ::lstat(target.c_str(), &there) == 0;
    if (replaces)
    {
        // The target of a link is replaced, not the link.
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
        if (there.st_nlink > 1)
            return CopyInPlace(source, about, target, there);
    }
    Draft draft(target, 0600);
    unsigned long begun = draft.Error();
    if (begun == 0 && replaces && ::fchown(draft.File(), there.st_uid, there.st_gid) != 0)
        begun = Number();
    if (replaces && (begun == EPERM || begun == EACCES))
        return CopyInPlace(source, about, target,
                           there); // which this user may have permission to write
    if (begun != 0)
        return begun;
    if (const auto error = CopyBytes(source.Number(), draft.File(), about.st_size); error != 0)
        return error;
    const mode_t mode = replaces ? ModeOver(about, there) : about.st_mode & 0777;
    if (::fchmod(draft.File(), mode) != 0)
        return Number();
    if (const unsigned long error = SetWriteTime(draft.File(), about); error != 0)
        return error;
    return draft.Replace();
}

unsigned long MoveWhole(const std::wstring& from, const std::wstring& to)
{
    const std::string source = ToSystemPath(from), target = ToSystemPath(to);
    const unsigned long error = RenameNew(AT_FDCWD, source, AT_FDCWD, target);
    if (error == EXDEV)
        return MoveAcross(source, target);
    // Both names lead to one file: Windows lets a file keep its name.
    return error == EEXIST && source == target ? 0 : error;
}

} // namespace platform
