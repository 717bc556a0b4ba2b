/// @file
/// Appending the log's records: to a file that several processes may share, or to the console.
#pragma once

#include "platform/platform_openfile.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace platform
{

/// The outcome of a write.
struct WriteResult
{
    unsigned long error; ///< 0, or the system's error number
    std::size_t written; ///< bytes written; all of them when error is 0
};

/// A file to append to, open between writes.
///
/// Each Write is one append, so the lines of several processes stay whole. A file that was removed
/// meanwhile is created again and has what this Write wrote; of Writes within 20 microseconds of
/// each other, the next one or the destructor does so. After a rename the next check does so;
/// records written before it are in the renamed file. After a failed write the next one opens the
/// file again. No write terminates the process, even if the pipe is closed or the file has reached
/// the process's size limit. A write waits at most a fifth of a second for a pipe that nobody reads
/// (on Windows the system waits for the reader). A path that is another user's link is refused (on
/// Linux; root's are followed). Threads: one at a time.
class LogFile
{
public:
    /// Opens nothing yet. @p path may use backslashes on every target.
    explicit LogFile(std::wstring path);
    ~LogFile();
    LogFile(const LogFile&) = delete;
    LogFile& operator=(const LogFile&) = delete;

    const std::wstring& Path() const { return path_; }

    /// Appends @p bytes. @p now is the time in microseconds from any origin: it limits how often a
    /// removed file is looked for, a check that costs more than the write.
    WriteResult Write(std::string_view bytes, std::int64_t now);

    /// In a forked child: drops the records lost with a removed file, which the parent writes
    /// again.
    void DropForParent()
    {
        unchecked_.clear();
        rewrite_ = false;
    }

private:
    static const std::int64_t kLookEvery; // microseconds between checks of the path

    unsigned long Open();
    void FindSizeLimit();
    /// Whether the path still names the file that is open.
    bool IsCurrent() const;
    /// Whether the open file has lost its last name.
    bool IsRemoved() const;
    /// Closes the file; if it was removed, the unchecked bytes are written again.
    void Leave();
    WriteResult WriteRaw(std::string_view bytes);
    /// WriteRaw, preceded by the bytes lost with a removed file.
    WriteResult WriteToOpen(std::string_view bytes);

    std::wstring path_;
    OpenFile file_;
    std::uint64_t device_ = 0, number_ = 0; // identity of the open file in the file system
    std::int64_t looked_ = 0, checked_ = 0;
    bool regular_ = true;  // not a pipe, a device
    bool limited_ = false; // the process has a limit for the size of files
    // Bytes written since the file was last known to have a name; those of a removed file are
    // written to the next one.
    std::string unchecked_;
    bool rewrite_ = false;
};

/// Writes @p bytes to standard error (@p toError) or standard output, bypassing the C library's
/// buffer but after its contents, as far as the target accepts them; to a file in one append. Waits
/// no longer than LogFile does, and does not terminate the process either.
WriteResult WriteToConsole(bool toError, std::string_view bytes);

/// The calling thread's number as the system knows it, never 0.
unsigned long ThreadNumber();

} // namespace platform
