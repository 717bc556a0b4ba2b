#include "platform/platform_file.h"
#include "platform/posix/posix_file_impl.h"
#include "platform/posix/posix_path_impl.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform
{
using posix::Descriptor;
using posix::ToSystemPath;

namespace
{
unsigned long Number() { return static_cast<unsigned long>(errno); }

/// A new file beside its later name, gone again unless it got that.
class Draft
{
public:
    explicit Draft(const std::string& target)
        : name_(target.substr(0, target.rfind('/') + 1) + ".kviXXXXXX"),
          file_(::mkostemp(name_.data(), O_CLOEXEC)), error_(file_.IsOpen() ? 0 : Number())
    {
    }
    ~Draft()
    {
        if (error_ == 0 && !placed_)
            ::unlink(name_.c_str());
    }
    Draft(const Draft&) = delete;
    Draft& operator=(const Draft&) = delete;

    unsigned long Error() const { return error_; }
    int File() const { return file_.Number(); }

    /// Closes the file and gives it the name @p target, in the place of what has it.
    unsigned long Replace(const std::string& target)
    {
        if (!file_.Close() || ::rename(name_.c_str(), target.c_str()) != 0)
            return Number();
        placed_ = true;
        return 0;
    }
    /// The same, for a name that nothing has.
    unsigned long Place(const std::string& target);

private:
    std::string name_;
    Descriptor file_;
    unsigned long error_;
    bool placed_ = false;
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

unsigned long Draft::Place(const std::string& target)
{
    if (!file_.Close())
        return Number();
    const unsigned long error = RenameNew(name_, target);
    placed_ = error == 0;
    return error;
}

unsigned long WriteAll(int to, const char* bytes, std::size_t size)
{
    while (size > 0)
    {
        const auto n = ::write(to, bytes, size);
        if (n < 0 && errno != EINTR)
            return Number();
        const std::size_t written = n > 0 ? static_cast<std::size_t>(n) : 0;
        bytes += written;
        size -= written;
    }
    return 0;
}

unsigned long CopyBytes(int from, int to)
{
    // Inside the kernel, as far as it can: shares blocks where the file system does.
    constexpr std::size_t kPiece = std::size_t{1} << 30;
    ssize_t n = 0;
    do
        n = ::copy_file_range(from, nullptr, to, nullptr, kPiece, 0);
    while (n > 0 || (n < 0 && errno == EINTR));
    if (n < 0 && errno != EXDEV && errno != EINVAL && errno != ENOSYS && errno != EOPNOTSUPP)
        return Number();
    // The rest, or all, by hand: some files say 0 above but have bytes.
    const auto buffer = std::make_unique<std::array<char, std::size_t{1} << 18>>();
    for (;;)
    {
        const auto got = ::read(from, buffer->data(), buffer->size());
        if (got == 0)
            return 0;
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return Number();
        if (const auto error = WriteAll(to, buffer->data(), static_cast<std::size_t>(got)))
            return error;
    }
}

/// Opens a regular file for reading, without waiting.
unsigned long OpenSource(const std::string& name, bool follow, Descriptor& file, struct stat& about)
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
unsigned long CopyContents(const Descriptor& from, const struct stat& about, int to)
{
    if (const unsigned long error = CopyBytes(from.Number(), to); error != 0)
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
    struct stat about;
    if (const unsigned long error = OpenSource(from, false, source, about); error != 0)
        return error == EISDIR || error == ELOOP ? static_cast<unsigned long>(EXDEV) : error;
    Draft draft(to);
    if (draft.Error() != 0)
        return draft.Error();
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
    struct stat about, there;
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
