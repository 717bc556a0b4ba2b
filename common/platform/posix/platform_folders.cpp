#include "platform/platform_folders.h"

#include "platform/posix/ConfigurationFolder.h"
#include "platform/posix/SystemPath.h"

#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <pwd.h>
#include <string_view>

#include <sys/stat.h>
#include <unistd.h>

namespace platform
{
using posix::FromSystemPath;

namespace
{
std::string Variable(const char* name)
{
    // A program with more rights than its caller ignores the caller's folders.
    const char* const value = ::secure_getenv(name);
    return value == nullptr ? std::string() : std::string(value);
}

/// A folder from the environment, accepted by the desktop's rules only if absolute.
std::string VariableFolder(const char* name, const std::string& otherwise)
{
    const std::string value = Variable(name);
    return !value.empty() && value[0] == '/' ? value : otherwise;
}

std::string Home()
{
    if (std::string home = VariableFolder("HOME", {}); !home.empty())
        return home;
    std::array<char, 16384> buffer;
    passwd entry;
    passwd* found = nullptr;
    if (::getpwuid_r(::geteuid(), &entry, buffer.data(), buffer.size(), &found) == 0 &&
        found != nullptr && found->pw_dir != nullptr)
        return found->pw_dir;
    return "/";
}

/// One of the folders that the user's desktop keeps in user-dirs.dirs, as
/// XDG_DOCUMENTS_DIR="$HOME/Documents".
std::string DesktopFolder(std::string_view key, const char* otherwise)
{
    const std::string home = Home();
    std::ifstream file(posix::ConfigurationFolder() + "/user-dirs.dirs");
    for (std::string line; std::getline(file, line);)
    {
        const std::size_t open = line.find('"'), close = line.rfind('"');
        if (!line.starts_with(key) || open != key.size() + 1 || close <= open)
            continue;
        std::string value = line.substr(open + 1, close - open - 1);
        if (value.starts_with("$HOME"))
            return home + value.substr(5);
        if (value.starts_with('/'))
            return value;
    }
    return home + otherwise;
}

std::string DesktopPath() { return DesktopFolder("XDG_DESKTOP_DIR", "/Desktop"); }
std::string DocumentsPath() { return DesktopFolder("XDG_DOCUMENTS_DIR", "/Documents"); }
std::string DownloadsPath() { return DesktopFolder("XDG_DOWNLOAD_DIR", "/Downloads"); }
std::string PublicPath() { return DesktopFolder("XDG_PUBLICSHARE_DIR", "/Public"); }
std::string LocalDataPath() { return VariableFolder("XDG_DATA_HOME", Home() + "/.local/share"); }
std::string ProgramDataPath() { return "/usr/local/share"; }

struct KnownFolderRow
{
    FolderNumber number;
    std::string (*path)();
};

// The numbers are those of Windows' known folders.
constexpr KnownFolderRow kKnownFolders[] = {
    {{0xb4bfcc3a, 0xdb2c, 0x424c, {0xb0, 0x29, 0x7f, 0xe9, 0x9a, 0x87, 0xc6, 0x41}}, DesktopPath},
    {{0xfdd39ad0, 0x238f, 0x46af, {0xad, 0xb4, 0x6c, 0x85, 0x48, 0x03, 0x69, 0xc7}}, DocumentsPath},
    {{0x374de290, 0x123f, 0x4565, {0x91, 0x64, 0x39, 0xc4, 0x92, 0x5e, 0x46, 0x7b}}, DownloadsPath},
    {{0xf1b32785, 0x6fba, 0x4fcf, {0x9d, 0x55, 0x7b, 0x8e, 0x7f, 0x15, 0x70, 0x91}}, LocalDataPath},
    {{0x3eb685db, 0x65f9, 0x4cf6, {0xa0, 0x3a, 0xe3, 0xef, 0x65, 0x72, 0x9f, 0x3d}},
     posix::ConfigurationFolder},
    {{0x5e6c858f, 0x0e22, 0x4760, {0x9a, 0xfe, 0xea, 0x33, 0x17, 0xb6, 0x71, 0x73}}, Home},
    {{0x62ab5d82, 0xfdc1, 0x4dc3, {0xa9, 0xdd, 0x07, 0x0d, 0x1d, 0x49, 0x5d, 0x97}},
     ProgramDataPath},
    {{0xed4824af, 0xdce4, 0x45a8, {0x81, 0xe2, 0xfc, 0x79, 0x65, 0x08, 0x36, 0x34}}, PublicPath},
};
} // namespace

std::string posix::ConfigurationFolder()
{
    return VariableFolder("XDG_CONFIG_HOME", Home() + "/.config");
}

unsigned long CurrentFolder(std::wstring& path)
{
    std::array<char, PATH_MAX> buffer;
    if (::getcwd(buffer.data(), buffer.size()) == nullptr)
        return static_cast<unsigned long>(errno);
    path = FromSystemPath(buffer.data());
    return 0;
}

unsigned long SetCurrentFolder(const std::wstring& path)
{
    return ::chdir(posix::ToSystemPath(path).c_str()) == 0 ? 0 : static_cast<unsigned long>(errno);
}

unsigned long TemporaryFolder(std::wstring& path)
{
    std::string folder = VariableFolder("TMPDIR", "/tmp");
    struct stat about;
    if (::stat(folder.c_str(), &about) != 0)
        return static_cast<unsigned long>(errno);
    if (!S_ISDIR(about.st_mode))
        return ENOTDIR;
    if (folder.back() != '/')
        folder += '/';
    path = FromSystemPath(folder);
    return 0;
}

std::wstring KnownFolder(const FolderNumber& folder)
{
    for (const KnownFolderRow& row : kKnownFolders)
    {
        if (row.number == folder)
            return FromSystemPath(row.path());
    }
    return {};
}

LocalTime ToLocalTime(std::uint64_t time)
{
    const auto seconds = static_cast<std::time_t>(time / 10'000'000) - 11'644'473'600;
    std::tm local{};
    ::localtime_r(&seconds, &local);
    return {local.tm_year + 1900, local.tm_mon + 1, local.tm_mday,
            local.tm_hour,        local.tm_min,     local.tm_sec};
}

} // namespace platform
