#include "platform/platform_inputfile.h"

#include "platform/posix/Descriptor.h"
#include "platform/posix/SystemPath.h"

#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform
{
namespace
{
unsigned long Number() { return static_cast<unsigned long>(errno); }
} // namespace

unsigned long InputFile::Open(const std::wstring& path, bool /*shared: always so here*/)
{
    posix::Descriptor file(
        ::open(posix::ToSystemPath(path).c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat about;
    if (!file.IsOpen() || ::fstat(file.Number(), &about) != 0)
        return Number();
    if (!S_ISREG(about.st_mode))
        return S_ISDIR(about.st_mode) ? EISDIR : ESPIPE;
    file_ = std::move(file);
    position_ = 0;
    return 0;
}

unsigned long InputFile::Read(void* buffer, std::size_t size, std::size_t& got)
{
    got = 0;
    while (got < size)
    {
        const auto n = ::pread(posix::NumberOf(file_), static_cast<char*>(buffer) + got, size - got,
                               static_cast<off_t>(position_));
        if (n == 0)
            break;
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return Number();
        got += static_cast<std::size_t>(n);
        position_ += static_cast<std::uint64_t>(n);
    }
    return 0;
}

unsigned long InputFile::Size(std::uint64_t& size) const
{
    struct stat about;
    if (::fstat(posix::NumberOf(file_), &about) != 0)
        return Number();
    size = static_cast<std::uint64_t>(about.st_size);
    return 0;
}

} // namespace platform
