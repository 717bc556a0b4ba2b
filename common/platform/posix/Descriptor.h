/// @file
/// A file descriptor with an owner.
#pragma once

#include <utility>

#include <unistd.h>

namespace platform::posix
{

/// Owns a descriptor and closes it; negative means none.
class Descriptor
{
public:
    explicit Descriptor(int number = -1) : number_(number) {}
    ~Descriptor() { (void)Close(); } // its failure cannot be reported any more
    Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept
    {
        std::swap(number_, other.number_);
        return *this;
    }

    int Number() const { return number_; }
    bool IsOpen() const { return number_ >= 0; }
    /// @returns false when the last writes did not reach the file; errno has the reason
    bool Close()
    {
        const int number = std::exchange(number_, -1);
        return number < 0 || ::close(number) == 0;
    }

private:
    int number_;
};

} // namespace platform::posix
