/// @file
/// The owner of an open file.
#pragma once

#include <cstdint>
#include <utility>

namespace platform
{

/// Owns what the system calls an open file, a descriptor or a Windows handle, and closes it.
class OpenFile
{
public:
    explicit OpenFile(std::intptr_t number = kNone) : number_(number) {}
    ~OpenFile() { (void)Close(); } // its failure cannot be reported any more
    OpenFile(OpenFile&& other) noexcept : number_(std::exchange(other.number_, kNone)) {}
    OpenFile& operator=(OpenFile&& other) noexcept
    {
        std::swap(number_, other.number_);
        return *this;
    }

    std::intptr_t Number() const { return number_; }
    bool IsOpen() const { return number_ != kNone; }
    /// @returns false when the last writes did not reach the file; the system has the reason
    bool Close();

private:
    static constexpr std::intptr_t kNone = -1;

    std::intptr_t number_;
};

} // namespace platform
