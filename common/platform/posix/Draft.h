/// @file
/// A new file that gets its name when complete.
#pragma once

#include "platform/posix/Descriptor.h"

#include <string>

#include <sys/stat.h>

namespace platform::posix
{

/// A new file without a name, so that a killed process leaves nothing. Where the file system has no
/// such files, or /proc is missing, it has a random hidden name at first. All names are relative to
/// the folder of the target, which is opened once.
class Draft
{
public:
    /// @param mode  permissions of the new file, reduced by the umask
    Draft(const std::string& target, mode_t mode);
    /// The target @p leaf in @p folder.
    Draft(const Descriptor& folder, const std::string& leaf, mode_t mode);
    ~Draft();
    Draft(const Draft&) = delete;
    Draft& operator=(const Draft&) = delete;

    /// 0, or the error number of a failed construction.
    unsigned long Error() const { return error_; }
    int File() const { return file_.Number(); }
    /// Status of the file at the target's name, links not followed. @returns 0, or an error number
    unsigned long TargetStatus(struct stat& about) const;

    /// Gives the file the target's name, replacing an existing file.
    unsigned long Replace();
    /// Gives the file the target's name, which must not exist.
    unsigned long Place();
    /// Deletes the target.
    void Withdraw() const;
    /// Writes the folder to the disk, where its file system can.
    unsigned long SyncFolder() const;

private:
    std::string Nameless() const { return "/proc/self/fd/" + std::to_string(file_.Number()); }
    unsigned long Link(const std::string& name) const;
    void Create(mode_t mode);
    void CreateHidden(mode_t mode);

    Descriptor folder_;
    std::string leaf_;
    Descriptor file_;
    std::string name_; // until the file has its own; empty when there is none
    unsigned long error_ = 0;
};

/// Renames @p from of the folder @p fromFolder to @p to, which must not exist.
unsigned long RenameNew(int fromFolder, const std::string& from, int toFolder,
                        const std::string& to);

/// Writes @p size bytes at @p at.
unsigned long WriteAll(int file, const char* bytes, std::size_t size, off_t at);

} // namespace platform::posix
