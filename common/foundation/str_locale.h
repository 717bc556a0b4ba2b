/// @file
/// Text for people: numbers, dates and lists with the separators of a locale.
#pragma once

#include "foundation/gtl_status.h"
#include "foundation/kvi_export.h"
#include "foundation/str.h"

#include <cstdint>
#include <ctime>
#include <locale>
#include <string>
#include <vector>

namespace str::locale
{

/// A locale, by the 32-bit number that Windows gives it. Copying one copies a pointer. The
/// separators are queried from the system once, for the first ID of that number; the process's C
/// locale is not used.
///
/// Threads: every function here may be called from any thread.
class KVI_API ID
{
public:
    /// A number that the system does not know has the separators of the invariant locale.
    explicit ID(std::uint32_t identifier);

    std::uint32_t identifier() const; ///< the locale's number
    /// The standard library's locale of that name; where it has none, its classic one with the
    /// separators of this.
    const std::locale& object() const;

    /// Same locale.
    bool operator==(const ID&) const = default;

    struct Record;
    /// @cond  what is known of the locale
    const Record& record() const { return *record_; }
    /// @endcond

private:
    const Record* record_;
};

/// The default of the calling thread, else that of the application, else the user's own locale.
KVI_API ID native();
/// Number 0x7f: "." and ",", for text that goes to files and programs.
KVI_API ID invariant();
/// French of Canada.
KVI_API ID french_canadian();

/// Makes @p id the default of every thread that has none of its own.
KVI_API void set_application_default(const ID& id);
/// Makes @p id the default of the calling thread.
KVI_API void set_thread_default(const ID& id);

/// Whether the system has the data of @p id.
KVI_API bool is_installed(const ID& id);

/// @name Separators
/// @{

/// What separates a number from its fraction, thousands, and the items of a list.
KVI_API std::wstring decimal_char(const ID& id = native());
KVI_API std::wstring thousandths_char(const ID& id = native()); ///< empty: no grouping
/// What separates the items of a list.
KVI_API std::wstring list_delim(const ID& id = native());
/// @}

/// Comparison without regard to case, the same in every locale.
using str::compare_ignore_case;

/// How whole numbers and times are written.
namespace format
{
/// The ways of writing them.
enum Type
{
    plain = 0,   ///< digits alone; "2026-11-21 10:05:00"
    grouped = 1, ///< whole numbers only: with thousands separators
    date = 2,    ///< times only: "2026-11-21"
    time = 3     ///< times only: "10:05:00"
};
} // namespace format

/// How floating-point numbers are written, with N digits.
namespace floatformat
{
/// The ways of writing them.
enum Type
{
    general = 0,    ///< N significant digits, no trailing zeros, an exponent where needed ("%g")
    fixed = 1,      ///< N digits after the decimal separator ("%f")
    scientific = 2, ///< N digits after it, and an exponent ("%e")
    grouped = 3     ///< as fixed, with thousands separators
};
} // namespace floatformat

/// No width: text of its natural length.
inline constexpr unsigned int kNoWidth = 0xffffffff;

/// @name Writing
/// @{

/// @p text becomes @p value, right to the last digit, with blanks in front up to @p width
/// characters. It stays as it was when the status is an error: a width above 65535, more than
/// 20000 digits or a time that does not exist is out of range (code 20220), a format that the
/// type does not have is not supported (20219).
KVI_API gtl::status to_string(std::wstring& text, int value, const ID& id = native(),
                              unsigned int width = kNoWidth);
/// The same for an unsigned number.
KVI_API gtl::status to_string(std::wstring& text, unsigned int value, const ID& id = native(),
                              unsigned int width = kNoWidth);
/// The same for a 64-bit number, in the format @p how.
KVI_API gtl::status to_string(std::wstring& text, long long value, const ID& id = native(),
                              unsigned int width = kNoWidth, format::Type how = format::plain);
/// The same for a real number, with @p digits digits in the format @p how.
KVI_API gtl::status to_string(std::wstring& text, double value, const ID& id = native(),
                              unsigned int width = kNoWidth, unsigned int digits = 8,
                              floatformat::Type how = floatformat::general);
/// "true" or "false", in every locale.
KVI_API gtl::status to_string(std::wstring& text, bool value, const ID& id = native());
/// Year first, in digits, in every locale: nothing to translate, no confusion of day and month.
KVI_API gtl::status to_string(std::wstring& text, const std::tm& value, const ID& id = native(),
                              format::Type how = format::plain);
/// Items with the list separator between them, or ";" where that is the decimal separator too.
KVI_API gtl::status to_string(std::wstring& text, const std::vector<int>& values,
                              const ID& id = native());
/// The same for real numbers.
KVI_API gtl::status to_string(std::wstring& text, const std::vector<double>& values,
                              const ID& id = native(), unsigned int digits = 8,
                              floatformat::Type how = floatformat::general);
/// @}

/// @name Reading
/// @{

/// All of @p text is read, but for white space at both ends; thousands separators are allowed, in
/// groups of three digits. @p value stays as it was when the status is an error, which names the
/// text (of a list the item) and what it should be:
/// - 20218: empty, or with a character in a place where the type has none;
/// - 20219: "0x..." for a number, a format that the type does not have;
/// - 20220: well formed but no value of the type, as "-1" for unsigned or the month 13;
/// - 20221: beyond the largest or the lowest number of the type.
KVI_API gtl::status from_string(int& value, const std::wstring& text, const ID& id = native());
/// The same for an unsigned number.
KVI_API gtl::status from_string(unsigned int& value, const std::wstring& text,
                                const ID& id = native());
/// The same for a 64-bit number.
KVI_API gtl::status from_string(long long& value, const std::wstring& text,
                                const ID& id = native());
/// Also "inf", "infinity" and "nan", in any case.
KVI_API gtl::status from_string(double& value, const std::wstring& text, const ID& id = native());
/// "true", "false" in any case, "1" and "0".
KVI_API gtl::status from_string(bool& value, const std::wstring& text, const ID& id = native());
/// What to_string writes in the same format, also with "T" between date and time. The day of the
/// week and of the year are set, daylight saving becomes unknown (-1); a date alone is at
/// midnight, a time alone leaves the date as it was.
KVI_API gtl::status from_string(std::tm& value, const std::wstring& text, const ID& id = native(),
                                format::Type how = format::plain);
/// Items separated as to_string writes them; empty text has no items.
KVI_API gtl::status from_string(std::vector<int>& values, const std::wstring& text,
                                const ID& id = native());
/// The same for real numbers.
KVI_API gtl::status from_string(std::vector<double>& values, const std::wstring& text,
                                const ID& id = native());
/// @}

} // namespace str::locale
