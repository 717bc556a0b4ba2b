/// @file
/// The layout of the default sink's lines.
#pragma once

#include "foundation/kvidbg_EventSink.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace foundation
{

using kvi::diag::LogRecord;

/// Formats lines; caches parts that the next one is likely to need again. Threads: one at a time.
class RecordLine
{
public:
    /// Appends the line of @p record with @p text to @p out.
    /// @param now  microseconds since 1970 (UTC)
    void Append(std::string& out, const LogRecord& record, std::wstring_view text,
                std::int64_t now);
    /// The same with a text that IsPlain.
    void Append(std::string& out, const LogRecord& record, std::string_view text, std::int64_t now);
    /// Whether @p text is printable ASCII all through.
    static bool IsPlain(std::string_view text);

private:
    void AppendHead(std::string& out, const LogRecord& record, std::int64_t now);
    void AppendTime(std::string& out, std::int64_t second);
    void AppendCategories(std::string& out, int mask);

    static constexpr std::size_t kSecondLength = 20; // of "2026-03-04T05:06:07."

    // What precedes the text, without the milliseconds, and what it was made from.
    std::string head_;
    std::int64_t headSecond_ = -1;
    int headLevel_ = 0, headMask_ = 0;
    unsigned headGeneration_ = 0;
    unsigned long headThread_ = 0;

    std::int64_t second_ = -1;
    char secondText_[kSecondLength + 1] = "";
    unsigned generation_ = 0;
    std::vector<std::pair<int, std::string>> names_; // by mask, of this generation
};

} // namespace foundation
