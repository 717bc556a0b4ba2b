/// @file
/// A file opened for reading.
#pragma once

#include "platform/platform_openfile.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace platform
{

/// A regular file open for reading; positions have 64 bits. Threads: one at a time.
class InputFile
{
public:
    /// Opens @p path without waiting; anything but a regular file is refused.
    /// @param shared  whether other processes may write meanwhile, on systems that would prevent it
    /// @returns 0, or the system's error number
    unsigned long Open(const std::wstring& path, bool shared);

    /// Reads up to @p size bytes; fewer only at the end of the file.
    /// @returns 0, or the system's error number; @p got counts the bytes read before it
    unsigned long Read(void* buffer, std::size_t size, std::size_t& got);
    /// Sets where the next Read begins; past the end it reads nothing.
    void Seek(std::uint64_t position) { position_ = position; }
    std::uint64_t Position() const { return position_; }
    /// Bytes in the file now.
    unsigned long Size(std::uint64_t& size) const;

private:
    OpenFile file_;
    std::uint64_t position_ = 0;
};

} // namespace platform
