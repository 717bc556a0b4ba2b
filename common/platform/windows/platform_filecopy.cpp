#include "platform/platform_file.h"
#include "platform/windows/FileHandle.h"
#include "platform/windows/SystemPath.h"

namespace platform
{
using windows::Handle;
using windows::ToSystemPath;

namespace
{
bool SameFile(const std::wstring& a, const std::wstring& b)
{
    const Handle first = windows::OpenToAsk(a), second = windows::OpenToAsk(b);
    BY_HANDLE_FILE_INFORMATION one, other;
    return first.IsOpen() && second.IsOpen() && ::GetFileInformationByHandle(first.Get(), &one) &&
           ::GetFileInformationByHandle(second.Get(), &other) &&
           one.dwVolumeSerialNumber == other.dwVolumeSerialNumber &&
           one.nFileIndexHigh == other.nFileIndexHigh && one.nFileIndexLow == other.nFileIndexLow;
}

/// Writes the bytes of the file @p path to the disk.
unsigned long Flush(const std::wstring& path)
{
    const DWORD attributes = ::GetFileAttributesW(path.c_str());
    ::SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL); // a read-only one cannot be opened
    const Handle file(::CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                    OPEN_EXISTING, 0, nullptr));
    const bool flushed = file.IsOpen() && ::FlushFileBuffers(file.Get());
    const DWORD error = flushed ? ERROR_SUCCESS : ::GetLastError();
    ::SetFileAttributesW(path.c_str(), attributes);
    return error;
}

/// Copies @p from under a temporary name first, so that a full disk leaves the target unchanged,
/// then renames it. @param replace whether an existing file @p to is replaced
unsigned long CopyByDraft(const std::wstring& from, const std::wstring& to, bool replace)
{
    const std::wstring draft = ToSystemPath(to.substr(0, to.find_last_of(L"\\/:") + 1) + L"~kvi" +
                                            windows::RandomName() + L".tmp");
    if (!::CopyFileW(ToSystemPath(from).c_str(), draft.c_str(), TRUE))
    {
        const DWORD error = ::GetLastError();
        if (error != ERROR_FILE_EXISTS)
            ::DeleteFileW(draft.c_str());
        return error;
    }
    DWORD error = ERROR_SUCCESS;
    if (replace)
    {
        const DWORD attributes = ::GetFileAttributesW(draft.c_str());
        windows::CopyAccessRights(ToSystemPath(to), draft);
        ::SetFileAttributesW(draft.c_str(), attributes); // rights may imply "read-only" or not
    }
    else
        error = Flush(draft); // the source is deleted next
    if (error == ERROR_SUCCESS &&
        ::MoveFileExW(draft.c_str(), ToSystemPath(to).c_str(),
                      MOVEFILE_WRITE_THROUGH | (replace ? MOVEFILE_REPLACE_EXISTING : 0)))
        return 0;
    if (error == ERROR_SUCCESS)
        error = ::GetLastError();
    ::SetFileAttributesW(draft.c_str(), FILE_ATTRIBUTE_NORMAL); // a read-only one would stay
    ::DeleteFileW(draft.c_str());
    return error;
}
} // namespace

unsigned long CopyWhole(const std::wstring& from, const std::wstring& to, bool& readOnlyTarget)
{
    readOnlyTarget = false;
    FileInfo target;
    if (GetFileInfo(to, target) == 0)
    {
        if (SameFile(from, to))
            return ERROR_SHARING_VIOLATION;
        readOnlyTarget = !target.folder && target.readOnly;
        if (target.folder || readOnlyTarget)
            return ERROR_ACCESS_DENIED;
    }
    return CopyByDraft(from, to, true);
}

unsigned long MoveWhole(const std::wstring& from, const std::wstring& to)
{
    const std::wstring source = ToSystemPath(from), target = ToSystemPath(to);
    if (::MoveFileExW(source.c_str(), target.c_str(), 0))
        return 0;
    const unsigned long error = ::GetLastError();
    FileInfo info;
    if (error != ERROR_NOT_SAME_DEVICE || GetFileInfo(from, info, false) != 0 || info.folder)
        return error;
    if (const unsigned long failed = CopyByDraft(from, to, false); failed != 0)
        return failed;
    if (::DeleteFileW(source.c_str()))
        return 0;
    const unsigned long kept = ::GetLastError();
    ::SetFileAttributesW(target.c_str(), FILE_ATTRIBUTE_NORMAL); // a read-only one would stay
    ::DeleteFileW(target.c_str());
    return kept;
}

} // namespace platform
