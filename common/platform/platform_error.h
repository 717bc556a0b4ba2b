/// @file
/// The system's error numbers and their texts.
#pragma once

#include <cerrno>
#include <optional>
#include <string>

namespace platform
{

/// The calling thread's last system error number; read it before anything else runs.
unsigned long LastErrorNumber();

/// Sets what LastErrorNumber returns.
void SetLastErrorNumber(unsigned long number);

/// Leaves the calling thread's last system error number, and errno, as it found them.
class ErrorNumberGuard
{
public:
    ErrorNumberGuard() : number_(LastErrorNumber()), errno_(errno) {}
    ~ErrorNumberGuard()
    {
        errno = errno_;
        SetLastErrorNumber(number_);
    }
    ErrorNumberGuard(const ErrorNumberGuard&) = delete;
    ErrorNumberGuard& operator=(const ErrorNumberGuard&) = delete;

private:
    const unsigned long number_;
    const int errno_;
};

/// The error number for an invalid handle.
unsigned long InvalidHandleNumber();

/// The system's message for error @p number, with its punctuation (Windows texts end with a line
/// break); nothing when it has no text.
std::optional<std::wstring> SystemText(unsigned long number);

} // namespace platform
