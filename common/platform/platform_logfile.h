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
/// meanwhile is created again and has what this Write wrote; of Writes that follow one another
/// within 20 microseconds the next one, or the destructor, sees to that. After a rename the next
/// look does so, and what comes before it is in the renamed file. After a failed write the next one
/// opens the file again. No write ends the process, be the pipe closed or the file as long as the
/// process may make it. None waits longer than a fifth of a second for a pipe that nobody reads (on
/// Windows the system waits for the reader). Threads: one at a time.
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

    /// In a forked child: leaves it to the parent to write again what a removed file took with it.
    void LeaveToParent()
    {
        unchecked_.clear();
        rewrite_ = false;
    }

private:
    static const std::int64_t kLookEvery; // microseconds between looks at the path

    unsigned long Open();
    void Close();
    void FindSizeLimit();
    /// Whether the path still names the file that is open.
    bool IsCurrent() const;
    /// Whether the open file has lost its last name.
    bool IsRemoved() const;
    /// Closes the file; if it was removed, what has not been checked is written once more.
    void Leave();
    WriteResult WriteRaw(std::string_view bytes);
    /// WriteRaw, preceded by what a removed file took with it.
    WriteResult WriteToOpen(std::string_view bytes);

    std::wstring path_;
    std::intptr_t handle_ = -1;
    std::uint64_t device_ = 0, number_ = 0; // what the file system knows the open file by
    std::int64_t looked_ = 0, checked_ = 0;
    bool regular_ = true;  // not a pipe, a device
    bool limited_ = false; // the process has a limit for the size of files
    // Written since the file was last seen to have a name; those of a removed file are written to
    // the next one.
    std::string unchecked_;
    bool rewrite_ = false;
};

/// Writes @p bytes to standard error (@p toError) or standard output, past the C library's buffer
/// but after what that held, as far as the target takes it; a file gets them in one append. Waits
/// and ends no more than LogFile does.
WriteResult WriteToConsole(bool toError, std::string_view bytes);

/// The calling thread's number as the system knows it, never 0.
unsigned long ThreadNumber();

} // namespace platform
