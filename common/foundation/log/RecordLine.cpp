#include "foundation/log/RecordLine.h"

#include "foundation/kvidbg_Category.h"
#include "foundation/kvidbg_LogFilter.h"
#include "foundation/str.h"
#include "foundation/str_fmt.h"
#include "platform/platform_logfile.h"
#include "platform/platform_text.h"
#include "platform/platform_utf8.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <type_traits>

namespace foundation
{
namespace
{
constexpr std::int64_t kMicroseconds = 1'000'000;
constexpr std::size_t kNamesKept = 16;

// Padded to one width, which aligns the columns that follow.
constexpr std::string_view kLevels[] = {"verbose     ", "information ", "warning     ",
                                        "error       ", "critical    "};

void AppendNumber(std::string& out, unsigned long number)
{
    char digits[24];
    out.append(digits, std::to_chars(digits, digits + sizeof digits, number).ptr);
}

/// Control characters, the two separators at which Unicode ends a line, and the marks that turn the
/// direction of the text after them.
bool IsControl(wchar_t c)
{
    const auto code = static_cast<std::make_unsigned_t<wchar_t>>(c);
    return code < 0x20 || (code >= 0x7F && code < 0xA0) || code == 0x61C || code == 0x200E ||
           code == 0x200F || (code >= 0x2028 && code <= 0x202E) ||
           (code >= 0x2066 && code <= 0x2069);
}

/// Whether @p text is printable ASCII all through. (No early exit: the loop is vectorised.)
template <class C>
bool IsPrintable(std::basic_string_view<C> text)
{
    using Unit = std::make_unsigned_t<C>;
    Unit odd = 0;
    for (const C c : text)
        odd |= static_cast<Unit>(static_cast<Unit>(static_cast<Unit>(c) - 0x20u) > 0x5Eu);
    return odd == 0;
}

void AppendPlain(std::string& out, std::wstring_view text)
{
    const std::size_t had = out.size();
    out.resize(had + text.size());
    char* to = out.data() + had;
    for (std::size_t i = 0; i < text.size(); ++i)
        to[i] = static_cast<char>(text[i]);
}

void AppendEscaped(std::wstring& out, wchar_t c)
{
    out += str::sprintf(c < 0x100 ? L"\\x%02x" : L"\\u%04x", static_cast<unsigned>(c));
}

/// @p text in one record: further lines indented, other control characters spelled out.
std::wstring Escaped(std::wstring_view text)
{
    std::wstring out;
    for (std::size_t i = 0; i < text.size(); ++i)
    {
        const wchar_t c = text[i];
        if (c == L'\r' && i + 1 < text.size() && text[i + 1] == L'\n')
            continue;
        if (c == L'\n' || c == L'\r')
            out += L"\n    ";
        else if (IsControl(c) && c != L'\t')
            AppendEscaped(out, c);
        else
            out += c;
    }
    return out;
}

/// @p names as one word: a category name cannot end the line or imitate the columns that follow it.
std::string OneWord(const std::string& names)
{
    if (IsPrintable(std::string_view(names)) && names.find(' ') == names.npos)
        return names;
    std::wstring word;
    for (const wchar_t c : platform::Wide(names))
    {
        if (IsControl(c) || str::is_space(c))
            AppendEscaped(word, c);
        else
            word += c;
    }
    return platform::ToUtf8(word);
}
} // namespace

bool RecordLine::IsPlain(std::string_view text) { return IsPrintable(text); }

void RecordLine::AppendTime(std::string& out, std::int64_t second)
{
    if (second != second_)
    {
        namespace chrono = std::chrono;
        const chrono::sys_seconds time{chrono::seconds(second)};
        const auto day = chrono::floor<chrono::days>(time);
        const chrono::year_month_day date(day);
        const chrono::hh_mm_ss clock(time - day);
        str::snprintf(secondText_, sizeof secondText_, "%04d-%02u-%02uT%02d:%02d:%02d.",
                      static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                      static_cast<unsigned>(date.day()), clock.hours().count(),
                      clock.minutes().count(), clock.seconds().count());
        second_ = second;
    }
    out.append(secondText_, kSecondLength);
}

void RecordLine::AppendCategories(std::string& out, int mask)
{
    if (mask == 0)
    {
        out += "- ";
        return;
    }
    if (generation_ != kvi::diag::impl::CategoryGeneration())
    {
        generation_ = kvi::diag::impl::CategoryGeneration();
        names_.clear();
    }
    const auto known = std::find_if(names_.begin(), names_.end(),
                                    [mask](const auto& entry) { return entry.first == mask; });
    if (known != names_.end())
    {
        out += known->second;
        return;
    }
    std::string names = OneWord(kvi::diag::CategoryNames(mask));
    names += names.empty() ? "- " : " ";
    out += names;
    if (names_.size() < kNamesKept)
        names_.emplace_back(mask, std::move(names));
}

/// Up to the text. One record after the other mostly differs in the milliseconds alone.
void RecordLine::AppendHead(std::string& out, const LogRecord& record, std::int64_t now)
{
    const std::int64_t second = now / kMicroseconds;
    const unsigned generation = kvi::diag::impl::CategoryGeneration();
    const unsigned long thread = platform::ThreadNumber();
    if (second != headSecond_ || record.level != headLevel_ || record.mask != headMask_ ||
        generation != headGeneration_ || thread != headThread_)
    {
        headSecond_ = -1; // in case memory runs out on the way
        head_.clear();
        AppendTime(head_, second);
        head_ += "000Z ";
        if (record.level >= kvi::diag::verbose && record.level <= kvi::diag::critical)
            head_ += kLevels[record.level];
        else
            (head_ += kvi::diag::LevelName(record.level)) += ' ';
        AppendCategories(head_, record.mask);
        AppendNumber(head_, thread);
        head_ += ' ';
        headSecond_ = second;
        headLevel_ = record.level;
        headMask_ = record.mask;
        headGeneration_ = generation;
        headThread_ = thread;
    }
    const std::size_t had = out.size();
    out += head_;
    const auto ms = static_cast<int>(now % kMicroseconds / 1000);
    char* const digits = out.data() + had + kSecondLength;
    digits[0] = static_cast<char>('0' + ms / 100);
    digits[1] = static_cast<char>('0' + ms / 10 % 10);
    digits[2] = static_cast<char>('0' + ms % 10);
}

void RecordLine::Append(std::string& out, const LogRecord& record, std::string_view text,
                        std::int64_t now)
{
    AppendHead(out, record, now);
    out += text;
    out += '\n';
}

void RecordLine::Append(std::string& out, const LogRecord& record, std::wstring_view text,
                        std::int64_t now)
{
    AppendHead(out, record, now);
    while (!text.empty() && (text.back() == L'\n' || text.back() == L'\r'))
        text.remove_suffix(1);
    if (IsPrintable(text))
        AppendPlain(out, text);
    else if (std::any_of(text.begin(), text.end(), IsControl))
        platform::AppendUtf8(out, Escaped(text));
    else
        platform::AppendUtf8(out, text);
    out += '\n';
}

} // namespace foundation
