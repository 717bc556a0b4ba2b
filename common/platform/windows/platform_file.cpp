#include "platform/platform_file.h"

#include "platform/windows/FileHandle.h"
#include "platform/windows/SystemPath.h"

#include <cstddef>
#include <random>
#include <vector>

namespace platform
{
using windows::Handle;
using windows::ToSystemPath;

namespace
{
void Fill(FileInfo& info, const WIN32_FILE_ATTRIBUTE_DATA& about)
{
    info.folder = (about.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    info.link = (about.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
    info.regular = !info.folder && (about.dwFileAttributes & FILE_ATTRIBUTE_DEVICE) == 0;
    info.readOnly = (about.dwFileAttributes & FILE_ATTRIBUTE_READONLY) != 0;
    info.size = info.folder ? 0 : windows::Joined(about.nFileSizeHigh, about.nFileSizeLow);
    info.created = windows::Ticks(about.ftCreationTime);
    info.accessed = windows::Ticks(about.ftLastAccessTime);
    info.written = windows::Ticks(about.ftLastWriteTime);
}
} // namespace

namespace windows
{

Handle OpenToAsk(const std::wstring& path)
{
    return Handle(::CreateFileW(ToSystemPath(path).c_str(), FILE_READ_ATTRIBUTES,
                                FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
}

void CopyAccessRights(const std::wstring& from, const std::wstring& to)
{
    DWORD size = 0;
    ::GetFileSecurityW(from.c_str(), DACL_SECURITY_INFORMATION, nullptr, 0, &size);
    std::vector<std::byte> rights(size);
    if (size != 0 &&
        ::GetFileSecurityW(from.c_str(), DACL_SECURITY_INFORMATION, rights.data(), size, &size))
        ::SetFileSecurityW(to.c_str(), DACL_SECURITY_INFORMATION, rights.data());
}

std::wstring RandomName()
{
    static constexpr wchar_t kLetters[] = L"abcdefghijklmnopqrstuvwxyz012345";
    std::random_device random; // the system's generator
    std::wstring name;
    for (int i = 0; i < 12; ++i)
        name += kLetters[random() % 32];
    return name;
}

} // namespace windows

FileFault FaultOf(unsigned long error)
{
    switch (error)
    {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_BAD_NETPATH:
    case ERROR_BAD_NET_NAME:
        return FileFault::missing;
    case ERROR_FILENAME_EXCED_RANGE:
    case ERROR_BUFFER_OVERFLOW:
        return FileFault::tooLong;
    case ERROR_INVALID_NAME:
    case ERROR_BAD_PATHNAME:
        return FileFault::badName;
    default:
        return error == ERROR_NO_ASSOCIATION ? FileFault::noProgram : FileFault::other;
    }
}

unsigned long GetFileInfo(const std::wstring& path, FileInfo& info, bool follow)
{
    WIN32_FILE_ATTRIBUTE_DATA about;
    if (!::GetFileAttributesExW(ToSystemPath(path).c_str(), GetFileExInfoStandard, &about))
        return ::GetLastError();
    FileInfo found;
    Fill(found, about);
    if (follow && found.link)
    {
        const Handle file = windows::OpenToAsk(path);
        BY_HANDLE_FILE_INFORMATION there;
        if (!file.IsOpen() || !::GetFileInformationByHandle(file.Get(), &there))
            return ::GetLastError();
        about = {there.dwFileAttributes, there.ftCreationTime, there.ftLastAccessTime,
                 there.ftLastWriteTime,  there.nFileSizeHigh,  there.nFileSizeLow};
        Fill(found, about);
    }
    info = found;
    return 0;
}

unsigned long MakeFolder(const std::wstring& path)
{
    return ::CreateDirectoryW(ToSystemPath(path).c_str(), nullptr) ? 0 : ::GetLastError();
}

unsigned long SetReadOnlyAttribute(const std::wstring& path, bool readOnly)
{
    const std::wstring name = ToSystemPath(path);
    const DWORD attributes = ::GetFileAttributesW(name.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES)
        return ::GetLastError();
    DWORD wanted = (attributes & ~DWORD{FILE_ATTRIBUTE_READONLY}) |
                   (readOnly ? DWORD{FILE_ATTRIBUTE_READONLY} : 0);
    if (wanted == 0)
        wanted = FILE_ATTRIBUTE_NORMAL;
    return ::SetFileAttributesW(name.c_str(), wanted) ? 0 : ::GetLastError();
}

unsigned long MakeTemporaryFile(const std::wstring& folder, const std::wstring& prefix,
                                std::wstring& path)
{
    // It inherits the access rights of the user's own folder.
    DWORD error = ERROR_FILE_EXISTS;
    for (int tries = 0; tries < 100 && error == ERROR_FILE_EXISTS; ++tries)
    {
        std::wstring name = folder + (folder.ends_with(L'\\') ? L"" : L"\\");
        name += prefix + windows::RandomName() + L".tmp";
        const Handle file(::CreateFileW(ToSystemPath(name).c_str(), GENERIC_WRITE, 0, nullptr,
                                        CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
        error = file.IsOpen() ? ERROR_SUCCESS : ::GetLastError();
        if (error == ERROR_SUCCESS)
            path = std::move(name);
    }
    return error;
}

} // namespace platform
