#include "foundation/kvidbg_RecordLine.h"

#include "foundation/kvidbg_Category.h"
#include "foundation/kvidbg_LogFilter.h"
#include "foundation/str_fmt.h"
#include "platform/platform_logfile.h"
#include "platform/platform_utf8.h"

#include <algorithm>
#include <charconv>
#include <chrono>

namespace kvi::diag::impl
{
namespace
{
constexpr std::int64_t kMicroseconds = 1'000'000;
constexpr std::size_t kNamesKept = 16;

// Padded to one width, so that the columns behind stand in line.
constexpr std::string_view kLevels[] = {"verbose     ", "information ", "warning     ",
                                        "error       ", "critical    "};

void AppendNumber(std::string& out, unsigned long number)
{
    char digits[24];
    out.append(digits, std::to_chars(digits, digits + sizeof digits, number).ptr);
}

bool IsControl(wchar_t c) { return c < L' ' || c == 0x7F; }

/// Whether @p text is printable ASCII all through. (No early way out: it becomes vector code.)
bool IsPlain(std::wstring_view text)
{
    unsigned odd = 0;
    for (const wchar_t c : text)
        odd |= static_cast<unsigned>(static_cast<unsigned>(c) - 0x20u > 0x5Eu);
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

/// @p text in one record: further lines indented, other control characters spelled out.
std::wstring Spelled(std::wstring_view text)
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
            out += str::sprintf(L"\\x%02x", static_cast<unsigned>(c));
        else
            out += c;
    }
    return out;
}
} // namespace

void RecordLine::AppendTime(std::string& out, std::int64_t now)
{
    const std::int64_t second = now / kMicroseconds;
    char text[kSecondLength + 5];
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
    const auto ms = static_cast<int>(now % kMicroseconds / 1000);
    char* const digits = std::copy_n(secondText_, kSecondLength, text);
    digits[0] = static_cast<char>('0' + ms / 100);
    digits[1] = static_cast<char>('0' + ms / 10 % 10);
    digits[2] = static_cast<char>('0' + ms % 10);
    digits[3] = 'Z';
    digits[4] = ' ';
    out.append(text, sizeof text);
}

void RecordLine::AppendCategories(std::string& out, int mask)
{
    if (mask == 0)
    {
        out += "- ";
        return;
    }
    if (generation_ != CategoryGeneration())
    {
        generation_ = CategoryGeneration();
        names_.clear();
    }
    const auto known = std::find_if(names_.begin(), names_.end(),
                                    [mask](const auto& entry) { return entry.first == mask; });
    if (known != names_.end())
    {
        out += known->second;
        return;
    }
    std::string names = CategoryNames(mask);
    names += names.empty() ? "- " : " ";
    out += names;
    if (names_.size() < kNamesKept)
        names_.emplace_back(mask, std::move(names));
}

void RecordLine::Append(std::string& out, const LogRecord& record, const std::wstring& text,
                        std::int64_t now)
{
    AppendTime(out, now);
    if (record.level >= verbose && record.level <= critical)
        out += kLevels[record.level];
    else
        (out += LevelName(record.level)) += ' ';
    AppendCategories(out, record.mask);
    AppendNumber(out, platform::ThreadNumber());
    out += ' ';
    std::wstring_view body(text);
    while (!body.empty() && (body.back() == L'\n' || body.back() == L'\r'))
        body.remove_suffix(1);
    if (IsPlain(body))
        AppendPlain(out, body);
    else if (std::any_of(body.begin(), body.end(), IsControl))
        platform::AppendUtf8(out, Spelled(body));
    else
        platform::AppendUtf8(out, body);
    out += '\n';
}

} // namespace kvi::diag::impl
