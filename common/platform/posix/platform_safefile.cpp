#include "platform/platform_safefile.h"

#include "platform/posix/Draft.h"
#include "platform/posix/SystemPath.h"

#include <cerrno>

#include <unistd.h>

namespace platform
{

struct SafeFile::State
{
    explicit State(const std::string& target) : draft(target, 0666) {}

    posix::Draft draft;
    off_t size = 0;
};

SafeFile::SafeFile() = default;
SafeFile::~SafeFile() = default;
void SafeFile::Close() { state_.reset(); }

unsigned long SafeFile::Open(const std::wstring& path, bool& readOnlyTarget)
{
    readOnlyTarget = false;
    state_.reset();
    auto state = std::make_unique<State>(posix::ToSystemPath(path));
    if (const unsigned long error = state->draft.Error(); error != 0)
        return error;
    struct stat there;
    if (const unsigned long error = state->draft.TargetStatus(there); error == 0)
    {
        if (!S_ISREG(there.st_mode) && !S_ISLNK(there.st_mode))
            return S_ISDIR(there.st_mode) ? EISDIR : ESPIPE;
        readOnlyTarget = S_ISREG(there.st_mode) && (there.st_mode & 0222) == 0;
        if (readOnlyTarget)
            return EACCES;
        if (S_ISREG(there.st_mode) && there.st_uid == ::geteuid() &&
            ::fchmod(state->draft.File(), there.st_mode & 0777) != 0)
            return static_cast<unsigned long>(errno);
    }
    else if (error != ENOENT)
        return error;
    state_ = std::move(state);
    return 0;
}

unsigned long SafeFile::Write(const void* bytes, std::size_t size)
{
    if (!state_)
        return EBADF;
    const auto error =
        posix::WriteAll(state_->draft.File(), static_cast<const char*>(bytes), size, state_->size);
    if (error == 0)
        state_->size += static_cast<off_t>(size);
    return error;
}

unsigned long SafeFile::Commit()
{
    if (!state_)
        return EBADF;
    const std::unique_ptr<State> state = std::move(state_);
    if (::fsync(state->draft.File()) != 0)
        return static_cast<unsigned long>(errno);
    const unsigned long error = state->draft.Replace();
    return error != 0 ? error : state->draft.SyncFolder();
}

} // namespace platform
