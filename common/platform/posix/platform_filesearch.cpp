#include "platform/platform_filesearch.h"

#include "platform/platform_path.h"
#include "platform/posix/SystemPath.h"

#include <algorithm>
#include <cerrno>
#include <dirent.h>
#include <vector>

namespace platform
{
namespace
{
/// All names in @p folder; the empty one is the current folder.
unsigned long NamesIn(const std::wstring& folder, std::vector<std::wstring>& names)
{
    DIR* const list = ::opendir(folder.empty() ? "." : posix::ToSystemPath(folder).c_str());
    if (list == nullptr)
        return static_cast<unsigned long>(errno);
    // One thread reads this list.
    while (const dirent* entry = ::readdir(list)) // NOLINT(concurrency-mt-unsafe)
        names.push_back(posix::FromSystemPath(entry->d_name));
    ::closedir(list);
    return 0;
}
} // namespace

struct FileSearch::State
{
    std::wstring folder;             // with its separator
    std::vector<std::wstring> names; // in order
    std::size_t next = 0;
};

FileSearch::FileSearch() = default;
FileSearch::~FileSearch() = default;

unsigned long FileSearch::Open(const std::wstring& pattern, const NameRules& rules)
{
    Close();
    auto state = std::make_unique<State>();
    const auto last = std::find_if(pattern.rbegin(), pattern.rend(), IsSeparator).base();
    state->folder.assign(pattern.begin(), last);
    const std::wstring name(last, pattern.end());
    if (name.find_first_of(L"*?") == std::wstring::npos)
    {
        state->names.push_back(name);
    }
    else
    {
        if (const auto error = NamesIn(state->folder, state->names); error != 0)
            return error;
        std::erase_if(state->names, [&](const auto& n) { return !rules.matches(n, name); });
        std::sort(state->names.begin(), state->names.end(), rules.before);
    }
    state_ = std::move(state);
    return 0;
}

bool FileSearch::Next(FileEntry& entry)
{
    while (state_ != nullptr && state_->next < state_->names.size())
    {
        entry.name = state_->names[state_->next++];
        const std::wstring path = state_->folder + entry.name;
        if (GetFileInfo(path, entry.info) == 0 || GetFileInfo(path, entry.info, false) == 0)
            return true;
    }
    return false;
}

void FileSearch::Close() { state_.reset(); }

} // namespace platform
