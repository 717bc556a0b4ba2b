/// @file
/// Carries a status through code that throws.
#pragma once

#include "foundation/gtl_status.h"

#include <exception>
#include <string>

namespace gtl
{

/// Threads: a caught exception and its copies share the status, so they belong to one thread.
class KVI_API status_exception : public std::exception
{
public:
    /// Carries @p status, which is an error.
    explicit status_exception(gtl::status status);
    ~status_exception() override;

    const gtl::status& status() const noexcept { return status_; } ///< the error
    /// The finished message in the system's narrow encoding.
    const char* what() const noexcept override;

private:
    gtl::status status_;
    std::string what_;
};

} // namespace gtl
