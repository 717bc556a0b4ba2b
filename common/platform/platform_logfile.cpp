#include "platform/platform_logfile.h"

#include <utility>

namespace platform
{
namespace
{
constexpr int kMostRemovals = 3;         // of the file while one record is written
constexpr std::int64_t kCheckEvery = 20; // microseconds: the check costs half as much as a write
constexpr std::size_t kMostUnchecked = 65536;
} // namespace

LogFile::LogFile(std::wstring path) : path_(std::move(path)) {}

LogFile::~LogFile()
{
    if (file_.IsOpen())
        Leave();
    if (rewrite_ && Open() == 0)
        (void)WriteToOpen({}); // a failure can no longer be reported
}

WriteResult LogFile::Write(std::string_view bytes, std::int64_t now)
{
    if (now - looked_ > kLookEvery || now < looked_)
    {
        looked_ = now;
        FindSizeLimit();
        if (file_.IsOpen() && !IsCurrent())
            Leave();
    }
    for (int removals = 0;; ++removals)
    {
        if (const unsigned long error = file_.IsOpen() ? 0 : Open(); error != 0)
            return {error, 0};
        const WriteResult result = WriteToOpen(bytes);
        if (result.error != 0)
        {
            if (!rewrite_)
                unchecked_.clear();
            (void)file_.Close();
            return result;
        }
        if (!regular_)
            return result;
        if (now - checked_ <= kCheckEvery && now >= checked_ && unchecked_.size() < kMostUnchecked)
        {
            unchecked_ += bytes;
            return result;
        }
        checked_ = now;
        if (removals == kMostRemovals || !IsRemoved())
        {
            unchecked_.clear();
            return result;
        }
        Leave(); // discards the bytes, too
    }
}

void LogFile::Leave()
{
    rewrite_ = rewrite_ || (regular_ && !unchecked_.empty() && IsRemoved());
    if (!rewrite_)
        unchecked_.clear();
    (void)file_.Close();
}

WriteResult LogFile::WriteToOpen(std::string_view bytes)
{
    if (rewrite_)
    {
        const WriteResult before = WriteRaw(unchecked_);
        if (before.error != 0)
            return {before.error, 0};
        rewrite_ = false;
    }
    return WriteRaw(bytes);
}

} // namespace platform
