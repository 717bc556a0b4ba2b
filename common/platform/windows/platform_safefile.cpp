#include "platform/platform_safefile.h"

#include "platform/platform_file.h"
#include "platform/platform_path.h"
#include "platform/windows/FileHandle.h"
#include "platform/windows/SystemPath.h"

#include <algorithm>

namespace platform
{
using windows::Handle;
using windows::ToSystemPath;

struct SafeFile::State
{
    ~State()
    {
        if (!draft.IsOpen())
            return;
        draft.Close();
        ::DeleteFileW(draftName.c_str());
    }

    Handle folder; // keeps the folder and those above it from being renamed
    std::wstring target, draftName;
    Handle draft;
};

namespace
{
/// The folder of @p path, held open so that it cannot be renamed meanwhile.
Handle OpenFolder(const std::wstring& path)
{
    const std::size_t end = path.find_last_of(L"\\/:") + 1; // npos + 1 is 0
    const std::wstring folder = end == 0 ? L"." : path.substr(0, end);
    return Handle(::CreateFileW(ToSystemPath(folder).c_str(), FILE_LIST_DIRECTORY,
                                FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                                FILE_FLAG_BACKUP_SEMANTICS, nullptr));
}
} // namespace

SafeFile::SafeFile() = default;
SafeFile::~SafeFile() = default;
void SafeFile::Close() { state_.reset(); }

unsigned long SafeFile::Open(const std::wstring& path, bool& readOnlyTarget)
{
    readOnlyTarget = false;
    state_.reset();
    std::wstring full; // the current folder may change before Commit
    if (const unsigned long error = AbsolutePath(path, full); error != 0)
        return error;
    FileInfo there;
    if (GetFileInfo(full, there, false) == 0)
    {
        readOnlyTarget = !there.folder && there.readOnly;
        if (there.folder || readOnlyTarget || !there.regular)
            return ERROR_ACCESS_DENIED;
    }
    auto state = std::make_unique<State>();
    state->folder = OpenFolder(full);
    if (!state->folder.IsOpen())
        return ::GetLastError();
    state->target = ToSystemPath(full);
    DWORD error = ERROR_FILE_EXISTS;
    for (int tries = 0; tries < 100 && error == ERROR_FILE_EXISTS; ++tries)
    {
        state->draftName = ToSystemPath(full.substr(0, full.find_last_of(L"\\/:") + 1) + L"~kvi" +
                                        windows::RandomName() + L".tmp");
        state->draft = Handle(::CreateFileW(state->draftName.c_str(), GENERIC_WRITE, 0, nullptr,
                                            CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
        error = state->draft.IsOpen() ? ERROR_SUCCESS : ::GetLastError();
    }
    if (error != ERROR_SUCCESS)
        return error;
    windows::CopyAccessRights(state->target, state->draftName);
    state_ = std::move(state);
    return 0;
}

unsigned long SafeFile::Write(const void* bytes, std::size_t size)
{
    if (!state_)
        return ERROR_INVALID_HANDLE;
    const char* at = static_cast<const char*>(bytes);
    while (size > 0)
    {
        const DWORD piece = static_cast<DWORD>(std::min<std::size_t>(size, 1u << 30));
        DWORD written = 0;
        if (!::WriteFile(state_->draft.Get(), at, piece, &written, nullptr))
            return ::GetLastError();
        at += written;
        size -= written;
    }
    return 0;
}

unsigned long SafeFile::Commit()
{
    if (!state_)
        return ERROR_INVALID_HANDLE;
    const std::unique_ptr<State> state = std::move(state_);
    if (!::FlushFileBuffers(state->draft.Get()))
        return ::GetLastError();
    state->draft.Close();
    if (::MoveFileExW(state->draftName.c_str(), state->target.c_str(),
                      MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH))
        return 0;
    const DWORD error = ::GetLastError();
    ::DeleteFileW(state->draftName.c_str());
    return error;
}

} // namespace platform
