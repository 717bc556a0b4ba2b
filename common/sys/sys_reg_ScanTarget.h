/// @file
/// Scanning text by a format, into destinations that know their type and size.
#pragma once

#include "foundation/kvi_export.h"

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <variant>

namespace sys::reg
{

/// Where one field of a scanned text goes: a pointer to a number or a string, or an array of
/// characters. A plain "char*" is not accepted, since its size is unknown.
class KVI_API ScanTarget
{
public:
    /// @{
    /// The destination; it must outlive the scan only.
    ScanTarget(int* number) : place_(number) {} // NOLINT(google-explicit-constructor)
    /// An unsigned number.
    ScanTarget(unsigned* number) : place_(number) {} // NOLINT(google-explicit-constructor)
    /// A number.
    ScanTarget(long* number) : place_(number) {} // NOLINT(google-explicit-constructor)
    /// An unsigned number.
    ScanTarget(unsigned long* number) : place_(number) {} // NOLINT(google-explicit-constructor)
    /// A 64-bit number.
    ScanTarget(long long* number) : place_(number) {} // NOLINT(google-explicit-constructor)
    /// A real number.
    ScanTarget(float* number) : place_(number) {} // NOLINT(google-explicit-constructor)
    /// A real number.
    ScanTarget(double* number) : place_(number) {} // NOLINT(google-explicit-constructor)
    /// A text.
    ScanTarget(std::string* text) : place_(text) {} // NOLINT(google-explicit-constructor)
    /// Text in an array, truncated to fit and zero-terminated.
    template <std::size_t N>
    ScanTarget(char (&text)[N]) // NOLINT(google-explicit-constructor)
        : place_(std::span<char>(text, N))
    {
    }
    /// The same by pointer to the array.
    template <std::size_t N>
    ScanTarget(char (*text)[N]) // NOLINT(google-explicit-constructor)
        : place_(std::span<char>(*text, N))
    {
    }
    /// @}

    /// @cond  for Scan
    /// Reads a number from the front of @p text; false when there is none or the target is no
    /// number.
    bool Take(std::string_view& text, char conversion) const;
    /// Stores @p text, truncated to the capacity.
    bool Set(std::string_view text) const;
    /// Characters that Set has room for.
    std::size_t Room() const;
    /// Stores a count.
    bool SetCount(std::size_t count) const;
    /// @endcond

private:
    std::variant<int*, unsigned*, long*, unsigned long*, long long*, float*, double*, std::string*,
                 std::span<char>>
        place_;
};

/// Reads @p text as sscanf does: white space matches any, other characters themselves; %d %i %u %x
/// %o and %e %f %g read a number in the type of its destination, whatever the locale, %s a word, %c
/// characters, %[...] a set; "*" skips a field, a width bounds it, %n stores how far the scan came,
/// "h", "l", "L" are ignored. An array of N characters bounds its field to N - 1 and the zero. A
/// number beyond its type becomes the nearest one. The scan stops where text or destination do not
/// match.
/// @returns how many fields were stored, 0 also for an empty text
KVI_API int Scan(std::string_view text, const char* format, std::span<const ScanTarget> targets);

} // namespace sys::reg
