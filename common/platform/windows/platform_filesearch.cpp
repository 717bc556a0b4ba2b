#include "platform/platform_filesearch.h"

#include "platform/windows/FileHandle.h"
#include "platform/windows/SystemPath.h"

namespace platform
{

struct FileSearch::State
{
    explicit State(const std::wstring& pattern)
        : search(::FindFirstFileW(windows::ToSystemPath(pattern).c_str(), &found)),
          error(search == INVALID_HANDLE_VALUE ? ::GetLastError() : 0)
    {
    }
    ~State()
    {
        if (search != INVALID_HANDLE_VALUE)
            ::FindClose(search);
    }
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    WIN32_FIND_DATAW found{};
    HANDLE search;
    unsigned long error;
    bool fresh = true; // found is an entry not yet handed out
};

FileSearch::FileSearch() = default;
FileSearch::~FileSearch() = default;

unsigned long FileSearch::Open(const std::wstring& pattern, const NameRules& /*the system's own*/)
{
    state_ = std::make_unique<State>(pattern);
    const unsigned long error = state_->error;
    if (error != 0)
        Close();
    return error == ERROR_FILE_NOT_FOUND ? 0 : error;
}

bool FileSearch::Next(FileEntry& entry)
{
    if (state_ == nullptr)
        return false;
    WIN32_FIND_DATAW& found = state_->found;
    if (!state_->fresh && !::FindNextFileW(state_->search, &found))
        return false;
    state_->fresh = false;
    entry.name = found.cFileName;
    entry.info.folder = (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    entry.info.link = (found.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
    entry.info.regular = !entry.info.folder;
    entry.info.readOnly = (found.dwFileAttributes & FILE_ATTRIBUTE_READONLY) != 0;
    entry.info.size = windows::Joined(found.nFileSizeHigh, found.nFileSizeLow);
    entry.info.created = windows::Ticks(found.ftCreationTime);
    entry.info.accessed = windows::Ticks(found.ftLastAccessTime);
    entry.info.written = windows::Ticks(found.ftLastWriteTime);
    return true;
}

void FileSearch::Close() { state_.reset(); }

} // namespace platform
