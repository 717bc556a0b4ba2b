#include "foundation/log/LogOutput.h"

#include "foundation/kvidbg_LogFilter.h"
#include "foundation/log/RecordLine.h"
#include "foundation/str_fmt.h"
#include "platform/platform_error.h"
#include "platform/platform_utf8.h"

#include <chrono>
#include <string_view>

namespace foundation
{
namespace
{
constexpr std::size_t kGather = 32768;
constexpr std::int64_t kSlowWrite = 10'000; // microseconds
constexpr std::int64_t kRestFactor = 10;    // so a slow target uses at most a tenth of the time

/// How many records end in @p bytes: only continuation lines begin with a blank.
unsigned RecordEnds(std::string_view bytes)
{
    unsigned ends = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i)
        ends += bytes[i] == '\n' && (i + 1 == bytes.size() || bytes[i + 1] != ' ') ? 1 : 0;
    return ends;
}
} // namespace

std::int64_t Now()
{
    return std::chrono::duration_cast<std::chrono::microseconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

Output Output::Console(bool standardError)
{
    Output output;
    output.toError_ = standardError;
    return output;
}

Output Output::File(const std::wstring& path)
{
    Output output;
    if (path.empty())
        output.dropped_ = true;
    else
        output.file_ = std::make_unique<platform::LogFile>(path);
    return output;
}

void Output::Write(bool gather, std::int64_t now, RecordLine& lines)
{
    if (records_ == 0 || (gather && file_ != nullptr && gathered_.size() < kGather))
        return;
    const bool resting = now >= failedAt_ && now < retryAt_;
    if (!dropped_ && resting)
    {
        lost_ += records_;
        unreported_ += records_;
    }
    else if (!dropped_)
    {
        std::string head;
        if (endsMidLine_)
            head = "\n";
        if (unreported_ > 0)
            lines.Append(
                head, {kvi::diag::warning, 0, "", 0, ""},
                str::sprintf(L"%u records before this one could not be written", unreported_), now);
        if (!head.empty())
            gathered_.insert(0, head);
        const platform::WriteResult result = file_ != nullptr
                                                 ? file_->Write(gathered_, now)
                                                 : platform::WriteToConsole(toError_, gathered_);
        if (result.error != 0)
        {
            Fail(result, head.size(), now);
        }
        else
        {
            endsMidLine_ = false;
            unreported_ = 0;
        }
    }
    gathered_.clear();
    records_ = 0;
}

void Output::DropForParent()
{
    gathered_.clear();
    records_ = 0;
    unreported_ = 0;
    if (file_ != nullptr)
        file_->DropForParent();
}

void Output::Fail(const platform::WriteResult& result, std::size_t head, std::int64_t started)
{
    if (result.written >= head && head > 1)
        unreported_ = 0;
    const std::size_t lineBytes = result.written > head ? result.written - head : 0;
    const unsigned whole = RecordEnds(std::string_view(gathered_).substr(head, lineBytes));
    lost_ += records_ - whole;
    unreported_ += records_ - whole;
    if (result.written > 0)
        endsMidLine_ = gathered_[result.written - 1] != '\n';
    failedAt_ = Now();
    retryAt_ =
        failedAt_ - started > kSlowWrite ? failedAt_ + kRestFactor * (failedAt_ - started) : 0;
    ReportReason(result.error);
}

void Output::ReportReason(unsigned long error)
{
    if (reasonReported_ || (file_ == nullptr && toError_))
        return;
    reasonReported_ = true;
    std::wstring reason = platform::SystemText(error).value_or(L"no text");
    while (!reason.empty() && reason.back() <= L' ')
        reason.pop_back();
    const std::wstring text = str::sprintf(
        L"KVI: the log cannot be written to %s: %s (%u); records are counted until it can be\n",
        file_ != nullptr ? file_->Path() : L"standard output", reason, error);
    (void)platform::WriteToConsole(true,
                                   platform::ToUtf8(text)); // a failure has nowhere to be reported
}

} // namespace foundation
