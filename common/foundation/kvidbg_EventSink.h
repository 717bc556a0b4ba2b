/// @file
/// Where the log's records go: the sink interface, the current sink, the library's own sinks.
#pragma once

#include "foundation/kvi_export.h"

#include <atomic>
#include <memory>
#include <string>
#include <string_view>

namespace kvi::diag
{

/// Where a record comes from. The texts live as long as the program.
struct LogRecord
{
    int level;            ///< such as kvi::diag::warning
    int mask;             ///< categories; 0: none
    const char* file;     ///< source file of the call; null when not known
    int line;             ///< its line
    const char* function; ///< its function
};

namespace impl
{
class SinkCall;
struct SinkFork;
} // namespace impl

/// Takes events and records. The operations are fixed by their position after the destructor.
///
/// A sink may log: what it logs from within Event or Log goes to the library's default sink.
/// Threads: every operation may be called from any thread. None throws.
class KVI_API IEventSink
{
public:
    virtual ~IEventSink();
    /// First: writes buffered records.
    virtual void Flush() = 0;
    /// Second: where later records go.
    virtual void OutputPath(const std::wstring& path) = 0;
    /// Third: reports a failed check.
    virtual void Assertion(const char* expression, const char* file, int line) = 0;
    /// Fourth: whether records may be buffered (true) or are written one by one (false).
    virtual void Buffered(bool on) = 0;
    /// Fifth: how many records could not be written so far.
    virtual unsigned long long Lost() const = 0;
    /// Sixth: a text without a call site.
    virtual void Event(int level, const std::wstring& text) = 0;
    /// Seventh: a record of LogMacroHandler and its finished text.
    virtual void Log(const LogRecord& record, const std::wstring& text) = 0;
};

/// Writes records as lines to the target its path names:
///
/// | path | target |
/// |---|---|
/// | "stdout" | standard output |
/// | "stderr" (at first) | standard error |
/// | "stdoutstderr" | standard error for error and critical, standard output for the others |
/// | "" | none: records are dropped |
/// | any other text | that file, appended to as UTF-8 |
///
/// A line is `2026-03-04T05:06:07.089Z warning     math 4711 text`: the time (UTC), the level, the
/// category names as they are registered, in lower case ("-" for none), the thread's number in the
/// system, the text. Further lines of a text are indented by four spaces; other control characters,
/// and blanks in category names, are written as \\xNN or \\uNNNN, so no record can imitate the
/// beginning of another one.
///
/// A line goes to a file in one append: lines of several threads and processes stay whole. A pipe
/// keeps lines of up to 4,096 bytes whole. A target that fails never stops or ends the caller: the
/// reason goes to standard error once for a path, later records are counted meanwhile, and the
/// first one that can be written again follows a line that says how many were lost. A target that
/// fails slowly is not tried again for ten times as long as it took. A file that was removed is
/// created again, with the record that was written meanwhile.
///
/// Buffered, the lines of a file are collected up to 32 KiB, to the next error or Flush, or to the
/// end of the process; safe mode disables that. A forked child continues with the same target;
/// lines buffered before the fork are written by the parent.
class KVI_API DefaultEventSink : public IEventSink
{
public:
    DefaultEventSink();
    ~DefaultEventSink() override;

    void Flush() override;
    void OutputPath(const std::wstring& path) override;
    void Buffered(bool on) override;
    unsigned long long Lost() const override;
    void Event(int level, const std::wstring& text) override;
    void Log(const LogRecord& record, const std::wstring& text) override;

private:
    friend class LogMacroHandler;
    friend struct impl::SinkFork;
    /// Log for printable ASCII text; false, without effect, for any other.
    bool LogPlain(const LogRecord& record, std::string_view text);

    struct State;
    std::unique_ptr<State> state_;
};

/// The default sink: a failed check is a critical record.
class KVI_API ReleaseDefaultEventSink : public DefaultEventSink
{
public:
    void Assertion(const char* expression, const char* file, int line) override;
};

/// The process's current sink.
class KVI_API EventSink
{
public:
    /// A ReleaseDefaultEventSink until another is registered; it lasts until the process has ended.
    static IEventSink& Instance();
    /// Makes @p sink the current one; null brings the default sink back. The caller keeps it, and
    /// keeps it alive while any thread may log.
    static void RegisterInstance(IEventSink* sink);

private:
    friend class LogMacroHandler;
    friend class impl::SinkCall;
    friend struct impl::SinkFork;
    static DefaultEventSink& Default();
    /// The default sink while it is the current one, else null.
    static DefaultEventSink* CurrentDefault();
};

/// Counts events and forwards them unchanged.
class KVI_API CatchErrorEventSink : public IEventSink
{
public:
    /// The one instance. The first call puts it in front of the sink that is current then.
    static CatchErrorEventSink& Instance();

    /// @name Counts since the last Reset
    unsigned Criticals() const { return criticals_; }   ///< events of level critical
    unsigned Errors() const { return errors_; }         ///< events of level error
    unsigned Assertions() const { return assertions_; } ///< failed checks
    void Reset();                                       ///< counts from 0 again

    void Flush() override;
    void OutputPath(const std::wstring& path) override;
    void Assertion(const char* expression, const char* file, int line) override;
    void Buffered(bool on) override;
    unsigned long long Lost() const override;
    void Event(int level, const std::wstring& text) override;
    void Log(const LogRecord& record, const std::wstring& text) override;

private:
    explicit CatchErrorEventSink(IEventSink& inner);

    IEventSink& inner_;
    std::atomic<unsigned> criticals_{0}, errors_{0}, assertions_{0};
};

/// Sends the current sink's later records to @p path.
KVI_API void SinkFilePath(const std::wstring& path);

/// @{
/// Safe mode: every record is written at once, whatever buffering was asked for, so that the
/// last one before a crash is in the file.
KVI_API void SetSafeMode(bool on);
/// Whether safe mode is on.
KVI_API bool IsSafeMode();
/// @}

} // namespace kvi::diag
