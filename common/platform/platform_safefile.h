/// @file
/// A file that appears under its name only when complete.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

namespace platform
{

/// A file being written. Until Commit it is invisible, and an existing file of its name is
/// unchanged.
///
/// The folder is opened once and everything happens relative to it. The bytes go to a new file that
/// no other user can have created or linked: one without a name or, where there is no such file,
/// one with a random name, created exclusively. A link with the target's name is replaced, not
/// followed. Functions return 0 or the system's error number. Threads: one at a time.
class SafeFile
{
public:
    SafeFile();
    ~SafeFile(); ///< without Commit, discards what was written
    SafeFile(const SafeFile&) = delete;
    SafeFile& operator=(const SafeFile&) = delete;

    /// Begins the file @p path. An existing file keeps its permissions if it belongs to this user;
    /// one that is read-only, or not a regular file, is refused.
    /// @param[out] readOnlyTarget  whether it was refused because it is read-only
    unsigned long Open(const std::wstring& path, bool& readOnlyTarget);
    bool IsOpen() const { return state_ != nullptr; }
    unsigned long Write(const void* bytes, std::size_t size);
    /// Writes the bytes to the disk, gives the file its name and writes the folder to the disk.
    /// After an error in the last step the new file is there, but may not survive a power failure.
    unsigned long Commit();
    /// Discards what was written.
    void Close();

private:
    struct State;
    std::unique_ptr<State> state_;
};

} // namespace platform
