#include "platform/platform_file.h"

#include "platform/platform_path.h"
#include "platform/posix/Descriptor.h"
#include "platform/posix/SystemPath.h"

#include <cerrno>
#include <cstdlib>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform
{
using posix::ToSystemPath;

namespace
{
constexpr std::uint64_t kTicks = 10'000'000;                // 100 ns, in a second
constexpr std::int64_t kSecondsBefore1970 = 11'644'473'600; // since 1601

unsigned long Number() { return static_cast<unsigned long>(errno); }

std::uint64_t Ticks(const struct statx_timestamp& time)
{
    const std::int64_t seconds = time.tv_sec + kSecondsBefore1970;
    return seconds < 0 ? 0 : static_cast<std::uint64_t>(seconds) * kTicks + time.tv_nsec / 100;
}
} // namespace

FileFault FaultOf(unsigned long error)
{
    switch (error)
    {
    case ENOENT:
    case ENOTDIR:
        return FileFault::missing;
    case ENAMETOOLONG:
        return FileFault::tooLong;
    default:
        return error == ENOEXEC ? FileFault::noProgram : FileFault::other;
    }
}

unsigned long GetFileInfo(const std::wstring& path, FileInfo& info, bool follow)
{
    struct statx about;
    if (::statx(AT_FDCWD, ToSystemPath(path).c_str(), follow ? 0 : AT_SYMLINK_NOFOLLOW,
                STATX_BASIC_STATS | STATX_BTIME, &about) != 0)
        return Number();
    info.folder = S_ISDIR(about.stx_mode);
    info.regular = S_ISREG(about.stx_mode);
    info.link = S_ISLNK(about.stx_mode);
    info.readOnly = (about.stx_mode & 0222) == 0;
    info.size = info.regular ? about.stx_size : 0;
    info.created = (about.stx_mask & STATX_BTIME) != 0 ? Ticks(about.stx_btime) : 0;
    info.accessed = Ticks(about.stx_atime);
    info.written = Ticks(about.stx_mtime);
    return 0;
}

unsigned long MakeFolder(const std::wstring& path)
{
    return ::mkdir(ToSystemPath(path).c_str(), 0777) == 0 ? 0 : Number();
}

unsigned long SetReadOnlyAttribute(const std::wstring& path, bool readOnly)
{
    const std::string name = ToSystemPath(path);
    struct stat about;
    if (::stat(name.c_str(), &about) != 0)
        return Number();
    const mode_t mode = about.st_mode & 07777;
    const bool is = (mode & 0222) == 0;
    if (is == readOnly)
        return 0;
    const mode_t wanted = readOnly ? mode & ~mode_t{0222} : mode | mode_t{0200};
    return ::chmod(name.c_str(), wanted) == 0 ? 0 : Number();
}

unsigned long MakeTemporaryFile(const std::wstring& folder, const std::wstring& prefix,
                                std::wstring& path)
{
    constexpr std::string_view kEnding = ".tmp";
    std::string name = ToSystemPath(Joined(folder, prefix)) + "XXXXXX" + std::string(kEnding);
    const posix::Descriptor file(
        ::mkostemps(name.data(), static_cast<int>(kEnding.size()), O_CLOEXEC));
    if (!file.IsOpen())
        return Number();
    path = posix::FromSystemPath(name);
    return 0;
}

} // namespace platform
