#include "foundation/kvidbg.h"

#include "foundation/gtl_status.h"
#include "foundation/str.h"
#include "foundation/text/FormatToken.h"
#include "platform/platform_error.h"

#include <algorithm>

namespace kvi::diag
{
namespace
{
constexpr const wchar_t* kLevels[] = {L"verbose", L"information", L"warning", L"error",
                                      L"critical"};

// How many calls of a sink this thread is in.
thread_local int sinkDepth = 0;

/// Fills @p format and hands the text to @p send. If memory runs out, the record is dropped.
template <class View, class Send>
void Deliver(View format, const str::fmt::impl::Argument* args, std::size_t count,
             Send send) noexcept
{
    try
    {
        std::wstring text;
        text.reserve(format.size() + 64);
        str::fmt::impl::Append(text, format, args, count);
        send(text);
    }
    catch (...) // NOLINT(bugprone-empty-catch)
    {
    }
}
} // namespace

/// A call of the current sink. Records logged by a sink itself go to the default sink, so that no
/// sink calls itself endlessly.
class impl::SinkCall
{
public:
    SinkCall() { ++sinkDepth; }
    ~SinkCall() { --sinkDepth; }
    SinkCall(const SinkCall&) = delete;
    SinkCall& operator=(const SinkCall&) = delete;

    IEventSink& Sink() const
    {
        return sinkDepth > 1 ? EventSink::Default() : EventSink::Instance();
    }
};

int LevelByName(std::wstring_view name)
{
    for (int level = verbose; level <= critical; ++level)
        if (str::compare_ignore_case(name, kLevels[level]) == 0)
            return level;
    return kNoLevel;
}

std::string LevelName(int level)
{
    if (level < verbose || level > critical)
        return str::sprintf("%d", level);
    const std::wstring_view name = kLevels[level];
    return {name.begin(), name.end()};
}

void LogMacroHandler::Forward(const std::wstring& text) const
{
    const impl::SinkCall call;
    call.Sink().Log(record_, text);
}

void LogMacroHandler::Send(std::string_view format, const str::fmt::impl::Argument* args,
                           std::size_t count) const noexcept
{
    const platform::ErrorNumberGuard guard;
    if (LogFilter::Passes(record_.level, record_.mask) && !SendPlain(format, args, count))
        Deliver(format, args, count, [this](const std::wstring& text) { Forward(text); });
}

bool LogMacroHandler::SendPlain(std::string_view format, const str::fmt::impl::Argument* args,
                                std::size_t count) const noexcept
{
    using Kind = str::fmt::impl::Argument::Kind;
    DefaultEventSink* const sink = EventSink::CurrentDefault();
    if (sink == nullptr || std::any_of(args, args + count, [](const auto& arg) {
            return arg.kind == Kind::Wide || arg.kind == Kind::Utf8 || arg.kind == Kind::Status;
        }))
        return false;
    try
    {
        std::string longer;
        str::fmt::impl::Pieces<char> text(longer);
        str::fmt::impl::Fill(text, format, args, count);
        return !text.Narrowed() && sink->LogPlain(record_, text.View());
    }
    catch (...) // out of memory, but the other path may still count the record
    {
        return false;
    }
}

void LogMacroHandler::Send(std::wstring_view format, const str::fmt::impl::Argument* args,
                           std::size_t count) const noexcept
{
    const platform::ErrorNumberGuard guard;
    if (LogFilter::Passes(record_.level, record_.mask))
        Deliver(format, args, count, [this](const std::wstring& text) { Forward(text); });
}

void LogMacroHandler::operator()(const std::string& text) const { (*this)("%s", text); }

void LogMacroHandler::operator()(const std::wstring& text) const { (*this)(L"%s", text); }

std::string FormatContext(const char* file, int line, const char* function)
{
    return str::sprintf("Function: %s\nLine: %s(%s)", function, file, line);
}

std::wstring to_wstring(const gtl::status& status) { return status.as_wstring(); }

std::wstring to_wstring(int value) { return str::sprintf(L"%d", value); }

std::wstring to_wstring(unsigned int value) { return str::sprintf(L"%u", value); }

std::wstring to_wstring(const std::string& text) { return str::as_wstring(text); }

std::wstring to_wstring(const char* text) { return str::sprintf(L"%s", text); }

void impl::SendEvent(int level, std::string_view format, const str::fmt::impl::Argument* args,
                     std::size_t count) noexcept
{
    const platform::ErrorNumberGuard guard;
    if (LogFilter::Passes(level, 0))
        Deliver(format, args, count, [level](const std::wstring& text) {
            const SinkCall call;
            call.Sink().Event(level, text);
        });
}

} // namespace kvi::diag
