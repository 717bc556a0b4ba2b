#include "foundation/kvidbg.h"

#include "foundation/gtl_status.h"
#include "foundation/str.h"
#include "foundation/text/FormatToken.h"

#include <algorithm>

namespace kvi::diag
{
namespace
{
constexpr const wchar_t* kLevels[] = {L"verbose", L"information", L"warning", L"error",
                                      L"critical"};

/// Fills @p format and hands the text to @p send. A record that no memory is left for is not worth
/// the caller's life.
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

void LogMacroHandler::Send(std::string_view format, const str::fmt::impl::Argument* args,
                           std::size_t count) const noexcept
{
    if (LogFilter::Passes(record_.level, record_.mask) && !SendPlain(format, args, count))
        Deliver(format, args, count,
                [this](const std::wstring& text) { EventSink::Instance().Log(record_, text); });
}

bool LogMacroHandler::SendPlain(std::string_view format, const str::fmt::impl::Argument* args,
                                std::size_t count) const noexcept
{
    using Kind = str::fmt::impl::Argument::Kind;
    DefaultEventSink* const sink = EventSink::CurrentDefault();
    if (sink == nullptr || std::any_of(args, args + count, [](const auto& arg) {
            return arg.kind == Kind::Wide || arg.kind == Kind::Utf8;
        }))
        return false;
    try
    {
        std::string longer;
        str::fmt::impl::Pieces<char> text(longer);
        str::fmt::impl::Fill(text, format, args, count);
        return !text.Narrowed() && sink->LogPlain(record_, text.View());
    }
    catch (...) // no memory for it, but the other way may still count the record
    {
        return false;
    }
}

void LogMacroHandler::Send(std::wstring_view format, const str::fmt::impl::Argument* args,
                           std::size_t count) const noexcept
{
    if (LogFilter::Passes(record_.level, record_.mask))
        Deliver(format, args, count,
                [this](const std::wstring& text) { EventSink::Instance().Log(record_, text); });
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
    if (LogFilter::Passes(level, 0))
        Deliver(format, args, count,
                [level](const std::wstring& text) { EventSink::Instance().Event(level, text); });
}

} // namespace kvi::diag
