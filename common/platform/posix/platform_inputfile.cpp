#include "platform/platform_inputfile.h"

#include "platform/posix/SystemPath.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform
{
namespace
{
unsigned long Number() { return static_cast<unsigned long>(errno); }

unsigned long Close(int file, unsigned long error)
{
    ::close(file);
    return error;
}
} // namespace

InputFile::~InputFile()
{
    if (handle_ >= 0)
        ::close(static_cast<int>(handle_));
}

unsigned long InputFile::Open(const std::wstring& path, bool /*shared: always so here*/)
{
    const int file =
        ::open(posix::ToSystemPath(path).c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (file < 0)
        return Number();
    struct stat about;
    if (::fstat(file, &about) != 0)
        return Close(file, Number());
    if (!S_ISREG(about.st_mode))
        return Close(file, S_ISDIR(about.st_mode) ? EISDIR : ESPIPE);
    if (handle_ >= 0)
        ::close(static_cast<int>(handle_));
    handle_ = file;
    position_ = 0;
    return 0;
}

unsigned long InputFile::Read(void* buffer, std::size_t size, std::size_t& got)
{
    got = 0;
    while (got < size)
    {
        const auto n = ::pread(static_cast<int>(handle_), static_cast<char*>(buffer) + got,
                               size - got, static_cast<off_t>(position_));
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
    if (::fstat(static_cast<int>(handle_), &about) != 0)
        return Number();
    size = static_cast<std::uint64_t>(about.st_size);
    return 0;
}

} // namespace platform
