#include "problem/TextFile.h"

#include "KVI.h"

#include <algorithm>
#include <cerrno>
#include <exception>
#include <fstream>
#include <system_error>

namespace percova
{
namespace
{
/// The system's message for the last failure.
std::string SystemReason(int number, const std::string& instead)
{
    return number == 0 ? instead : std::generic_category().message(number);
}
} // namespace

std::string TextOf(const std::filesystem::path& path)
{
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

std::filesystem::path PathOf(const std::string& text)
{
    return std::filesystem::path(std::u8string(text.begin(), text.end()));
}

std::wstring LibraryPath(const std::filesystem::path& path)
{
    const std::u8string text = path.generic_u8string();
    std::wstring wide = str::as_wstring(str::u8string(std::string(text.begin(), text.end())));
    std::replace(wide.begin(), wide.end(), L'/', L'\\');
    return wide;
}

std::filesystem::path PathOf(std::wstring libraryPath)
{
    std::replace(libraryPath.begin(), libraryPath.end(), L'\\', L'/');
    return PathOf(str::as_u8string(libraryPath).bytes());
}

bool ReadWhole(const std::filesystem::path& path, std::string& text, std::string& reason)
{
    std::error_code ignored; // a missing file is reported when it is opened
    if (std::filesystem::is_directory(path, ignored))
    {
        reason = "cannot be read: it is a folder";
        return false;
    }
    // A device may never end, and a pipe may never be written to.
    const std::filesystem::file_status status = std::filesystem::status(path, ignored);
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status))
    {
        reason = "cannot be read: it is no regular file";
        return false;
    }
    errno = 0;
    std::ifstream in(path, std::ios::binary);
    if (!in)
    {
        reason = "cannot be opened: " + SystemReason(errno, "unknown reason");
        return false;
    }
    text.clear();
    // In pieces, for the file may grow meanwhile.
    constexpr std::size_t kPiece = std::size_t{1} << 22;
    for (std::size_t length = 0;;)
    {
        text.resize(length + kPiece);
        in.read(text.data() + length, static_cast<std::streamsize>(kPiece));
        length += static_cast<std::size_t>(in.gcount());
        if (!in)
        {
            text.resize(length);
            break;
        }
    }
    if (!in.bad())
        return true;
    reason = "cannot be read: " + SystemReason(errno, "unknown reason");
    return false;
}

bool WriteWhole(const std::filesystem::path& path, const std::function<void(std::ostream&)>& write,
                std::string& reason)
{
    std::filesystem::path part = path;
    part += ".part";
    std::error_code ignored;
    reason.clear();
    errno = 0;
    {
        std::ofstream out(part, std::ios::binary | std::ios::trunc);
        if (!out)
        {
            reason = TextOf(path) + " cannot be written: " + SystemReason(errno, "unknown reason");
            return false;
        }
        try
        {
            write(out);
        }
        catch (const std::exception& exception)
        {
            reason = TextOf(path) + " cannot be written: " + exception.what();
        }
        out.close(); // the last bytes may find the disk full
        if (!out && reason.empty())
            reason = TextOf(path) + " cannot be written: " + SystemReason(errno, "disk full?");
    }
    if (reason.empty())
    {
        std::error_code error;
        std::filesystem::rename(part, path, error);
        if (!error)
            return true;
        reason = TextOf(path) + " cannot be written: " + error.message();
    }
    std::filesystem::remove(part, ignored);
    return false;
}

} // namespace percova
