/// @file
/// One target of the default sink, with its failure handling.
#pragma once

#include "platform/platform_logfile.h"

#include <cstdint>
#include <memory>
#include <string>

namespace foundation
{
class RecordLine;

/// The time in microseconds since 1970 (UTC).
std::int64_t Now();

/// Buffers lines and appends them to a file or the console; counts what cannot be written. Threads:
/// one at a time.
class Output
{
public:
    static Output Console(bool standardError);
    /// An empty @p path drops everything.
    static Output File(const std::wstring& path);

    /// The lines not written yet; a new one goes to the end, then Added is called.
    std::string& Gathered() { return gathered_; }
    void Added() { ++records_; }

    /// Writes the gathered lines; with @p gather only when a file has many of them. The
    /// first lines written after a failure follow one that reports the loss, made by @p lines.
    void Write(bool gather, std::int64_t now, RecordLine& lines);

    unsigned long long Lost() const { return lost_; }

    /// In a forked child: forgets the lines, and the losses, that the parent will write.
    void DropForParent();

private:
    void Fail(const platform::WriteResult& result, std::size_t head, std::int64_t started);
    void ReportReason(unsigned long error);

    std::unique_ptr<platform::LogFile> file_;
    bool toError_ = false;
    bool dropped_ = false;

    std::string gathered_;
    unsigned records_ = 0; // in gathered_

    unsigned long long lost_ = 0;
    unsigned long long unreported_ = 0; // of lost_, not yet reported in the target itself
    bool endsMidLine_ = false;          // the target ends in the middle of a line
    bool reasonReported_ = false;
    std::int64_t failedAt_ = 0, retryAt_ = 0; // microseconds
};

} // namespace foundation
