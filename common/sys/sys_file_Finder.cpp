#include "sys/sys_file_Finder.h"

#include "foundation/str.h"
#include "platform/platform_filesearch.h"
#include "platform/platform_path.h"
#include "sys/file/FileErrors.h"

#include <utility>

namespace sys::file
{
namespace
{
constexpr unsigned kFiles = 1, kFolders = 2; // bits of the mode

bool Before(std::wstring_view a, std::wstring_view b)
{
    const int order = str::compare_ignore_case(a, b);
    return order != 0 ? order < 0 : a < b;
}
} // namespace

bool Finder::FilterNone::Match(const std::wstring& /*ext*/) const { return true; }

Finder::ExtensionFilter::ExtensionFilter(std::wstring ext) : ext_(std::move(ext)) {}

bool Finder::ExtensionFilter::Match(const std::wstring& ext) const
{
    return str::compare_ignore_case(ext, ext_) == 0;
}

struct Finder::State
{
    std::shared_ptr<const Filter> filter;
    unsigned mode = 0;
    std::wstring folder; // being searched, with its separator
    platform::FileSearch search;
    platform::FileEntry entry;
    SplitPath current;
};

Finder::Finder(std::shared_ptr<const Filter> filter) : state_(std::make_unique<State>())
{
    state_->filter = std::move(filter);
}

Finder::Finder(const Filter& filter)
    : Finder(std::shared_ptr<const Filter>(&filter, [](const Filter*) {}))
{
}

Finder::~Finder() = default;

bool Finder::FindFile(const std::wstring& pattern)
{
    Close();
    std::wstring path = pattern;
    const bool foldersOnly = path.ends_with(L'\\');
    if (foldersOnly)
        path.pop_back();
    const std::size_t nameBegin = path.find_last_of(L"\\/:") + 1; // npos + 1 is 0
    if (!IsUsable(path) || nameBegin == path.size())
        return false;
    const bool dotted = path.find(L'.', nameBegin) != std::wstring::npos;
    state_->mode = foldersOnly ? kFolders : dotted ? kFiles : kFiles | kFolders;
    state_->folder = path.substr(0, nameBegin);
    if (state_->search.Open(path, {&MatchesPattern, &Before}) != 0)
        return false;
    return Settle();
}

bool Finder::FindNextFile() { return Settle(); }

/// Goes on to the next entry that passes.
bool Finder::Settle()
{
    do
    {
        if (!state_->search.Next(state_->entry))
        {
            Close();
            return false;
        }
        SplitPath& current = state_->current;
        current.Assign(state_->folder, {}, {});
        if (state_->entry.info.folder)
            current.dir += state_->entry.name + L'\\';
        else
            current.FNameExt(state_->entry.name);
    } while (IsFiltered());
    return true;
}

bool Finder::IsFiltered() const
{
    const platform::FileEntry& entry = state_->entry;
    if (entry.info.folder)
        return entry.name == L"." || entry.name == L".." || (state_->mode & kFolders) == 0;
    return (state_->mode & kFiles) == 0 || !state_->filter->Match(state_->current.ext);
}

void Finder::Close()
{
    state_->search.Close();
    state_->entry = {};
    state_->current = {};
}

const SplitPath& Finder::Current() const { return state_->current; }
bool Finder::IsDirectory() const { return state_->entry.info.folder; }
std::uint64_t Finder::CurrentFileSize() const { return state_->entry.info.size; }
Time Finder::CurrentCreationTime() const { return {state_->entry.info.created}; }
Time Finder::CurrentLastAccessTime() const { return {state_->entry.info.accessed}; }
Time Finder::CurrentLastWriteTime() const { return {state_->entry.info.written}; }

} // namespace sys::file
