/// @file
/// Logging: the call-site macro and the functions it uses.
#pragma once

#include "foundation/kvi_export.h"
#include "foundation/kvidbg_Category.h"
#include "foundation/kvidbg_EventSink.h"
#include "foundation/kvidbg_LogFilter.h"
#include "foundation/str_fmt.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace gtl
{
class status;
}

/// Logs with a level, a category mask (or a DeclareCategoryMask object, or 0) and a format with its
/// arguments. A record below the filter's level costs a load and a comparison; the arguments of a
/// record that the filter rejects are not evaluated.
/// @code
/// static const kvi::diag::DeclareCategoryMask kMath("Math");
/// KVI_LOG(kvi::diag::warning, kMath, "equation %d: pivot %g", equation, pivot);
/// @endcode
#define KVI_LOG(level, mask, ...)                                                                  \
    do                                                                                             \
    {                                                                                              \
        if (const int kviLevel = (level); kvi::diag::LogFilter::MinLevel() <= kviLevel)            \
            [[unlikely]]                                                                           \
            if (const int kviMask = (mask); kvi::diag::LogFilter::Passes(kviLevel, kviMask))       \
                kvi::diag::LogMacroHandler(kviLevel, kviMask, __FILE__, __LINE__,                  \
                                           __func__)(__VA_ARGS__);                                 \
    } while (false)

namespace kvi::diag
{

/// Passes the records of one call site to the current sink, unless the filter rejects them. No call
/// throws; the caller's errno and last system error stay as they were.
class KVI_API LogMacroHandler
{
public:
    /// @param file, function  texts that live as long as the program
    LogMacroHandler(int level, int mask, const char* file, int line, const char* function)
        : record_{level, mask, file, line, function}
    {
    }

    /// Logs @p format filled with @p args, see str_fmt.h.
    template <class... A>
    void operator()(const char* format, const A&... args) const
    {
        const str::fmt::impl::Argument list[sizeof...(A) + 1] = {
            str::fmt::impl::MakeArgument(args)..., {}};
        Send(std::string_view(format), list, sizeof...(A));
    }
    /// The same in wide text.
    template <class... A>
    void operator()(const wchar_t* format, const A&... args) const
    {
        const str::fmt::impl::Argument list[sizeof...(A) + 1] = {
            str::fmt::impl::MakeArgument(args)..., {}};
        Send(std::wstring_view(format), list, sizeof...(A));
    }
    /// @{
    /// Logs a finished text: "%" has no special meaning.
    void operator()(const std::string& text) const;
    /// The same for wide text.
    void operator()(const std::wstring& text) const;
    /// @}

private:
    void Send(std::string_view format, const str::fmt::impl::Argument* args,
              std::size_t count) const noexcept;
    void Send(std::wstring_view format, const str::fmt::impl::Argument* args,
              std::size_t count) const noexcept;
    void Forward(const std::wstring& text) const;
    /// The fast path to the default sink, without conversion to wide text; false when it is
    /// unavailable.
    bool SendPlain(std::string_view format, const str::fmt::impl::Argument* args,
                   std::size_t count) const noexcept;

    LogRecord record_;
};

/// "Function: ...\nLine: file(line)", for a text that names its source location.
KVI_API std::string FormatContext(const char* file, int line, const char* function);

/// @{
/// The text that the log shows for a value.
KVI_API std::wstring to_wstring(const gtl::status& status); ///< its finished message
/// Decimal digits.
KVI_API std::wstring to_wstring(int value);
/// Decimal digits.
KVI_API std::wstring to_wstring(unsigned int value);
/// The text, from the system's code page.
KVI_API std::wstring to_wstring(const std::string& text);
/// The text, from the system's code page.
KVI_API std::wstring to_wstring(const char* text);
/// @}

namespace impl
{
/// Sends a record without file and line to the current sink.
KVI_API void SendEvent(int level, std::string_view format, const str::fmt::impl::Argument* args,
                       std::size_t count) noexcept;
} // namespace impl

/// Sends a text of level information, without category or call site, to the current sink when that
/// level passes the filter.
template <class... A>
void logprintf(const char* format, const A&... args)
{
    const str::fmt::impl::Argument list[sizeof...(A) + 1] = {str::fmt::impl::MakeArgument(args)...,
                                                             {}};
    impl::SendEvent(information, format, list, sizeof...(A));
}

} // namespace kvi::diag
