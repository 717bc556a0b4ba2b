/// @file
/// Appending the log's records: to a file that several processes may share, or to the console.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace platform
{

/// How far a write came.
struct WriteResult
{
    unsigned long error; ///< 0, or the system's error number
    std::size_t written; ///< bytes that went out; all of them when error is 0
};

/// A file to append to, open between writes.
///
/// Each Write is one append, so the lines of several processes stay whole. A file that was removed
/// or renamed meanwhile is made anew under its name; after a failed write the next one opens the
/// file again. No write waits longer than a fifth of a second on a pipe nobody reads, and none ends
/// the process. Threads: one at a time.
class LogFile
{
public:
    /// Opens nothing yet. @p path may use backslashes on every target.
    explicit LogFile(std::wstring path);
    ~LogFile();
    LogFile(const LogFile&) = delete;
    LogFile& operator=(const LogFile&) = delete;

    const std::wstring& Path() const { return path_; }

    /// Appends @p bytes. @p now is the time in microseconds from any start: it paces the look for a
    /// removed file, which would cost more than the write.
    WriteResult Write(std::string_view bytes, std::int64_t now);

private:
    unsigned long Open();
    void Close();
    /// Whether the path still names the file that is open.
    bool IsCurrent() const;

    std::wstring path_;
    std::intptr_t handle_ = -1;
    std::uint64_t device_ = 0, number_ = 0; // what the file system knows the open file by
    std::int64_t looked_ = 0;
    bool regular_ = true; // not a pipe, a device
};

/// Writes @p bytes to standard error (@p toError) or standard output, past the C library's buffers
/// but after what they held. Waits and ends no more than LogFile does.
WriteResult WriteToConsole(bool toError, std::string_view bytes);

/// The calling thread's number as the system knows it, never 0.
unsigned long ThreadNumber();

} // namespace platform
