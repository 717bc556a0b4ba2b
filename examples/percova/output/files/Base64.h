/// @file
/// Binary data as text.
#pragma once

#include <cstddef>
#include <functional>
#include <ostream>

namespace percova
{

/// Writes the @p size bytes that @p fill(first, last, bytes) gives, from @p first to @p last - 1,
/// as base64 text (RFC 4648). It is called for pieces whose ends are multiples of 24 or @p size, on
/// all threads.
void WriteBase64(std::ostream& out, std::size_t size,
                 const std::function<void(std::size_t, std::size_t, char*)>& fill);

} // namespace percova
