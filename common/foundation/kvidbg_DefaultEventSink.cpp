#include "foundation/kvidbg_Category.h"
#include "foundation/kvidbg_EventSink.h"
#include "foundation/kvidbg_LogFilter.h"
#include "foundation/log/LogOutput.h"
#include "foundation/log/RecordLine.h"
#include "foundation/str_fmt.h"
#include "platform/platform_error.h"
#include "platform/platform_fork.h"
#include "platform/platform_unload.h"

#include <mutex>
#include <string_view>

namespace kvi::diag
{
using foundation::Now;

/// All under one lock: lines are formatted and written one at a time.
struct DefaultEventSink::State
{
    State();
    ~State();
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    std::mutex lock;
    State* next; // of all sinks
    std::wstring path = L"stderr";
    bool buffered = false;
    foundation::RecordLine lines;
    foundation::Output output = foundation::Output::Console(true);
    foundation::Output errors = foundation::Output::Console(true); // of "stdoutstderr" only
    bool split = false;
    unsigned long long lostBefore = 0; // by targets of earlier paths

    unsigned long long Lost() const { return lostBefore + output.Lost() + errors.Lost(); }

    template <class View>
    void Write(const LogRecord& record, View text)
    {
        foundation::Output& out = split && record.level >= error ? errors : output;
        const std::int64_t now = Now();
        lines.Append(out.Gathered(), record, text, now);
        out.Added();
        const bool gather = buffered && record.level < error && !IsSafeMode();
        out.Write(gather, now, lines);
    }

    template <class View>
    void Log(const LogRecord& record, View text)
    {
        const platform::ErrorNumberGuard errorNumber;
        const std::lock_guard guard(lock);
        try
        {
            Write(record, text);
        }
        catch (...) // no memory for the line
        {
            ++lostBefore;
        }
    }
};

/// All sinks of this kind, and their fork handlers: their locks are free in the child, and buffered
/// lines are written by the parent alone.
struct impl::SinkFork
{
    using State = DefaultEventSink::State;

    static std::mutex& Lock()
    {
        static std::mutex& lock = platform::UntilUnload<std::mutex>();
        return lock;
    }
    static inline constinit State* first = nullptr;

    static void Before()
    {
        try
        {
            (void)EventSink::Default(); // completed if another thread is constructing it
        }
        catch (...) // NOLINT(bugprone-empty-catch): no memory; the child may try
        {
        }
        Lock().lock();
        for (State* state = first; state != nullptr; state = state->next)
            state->lock.lock();
    }
    static void InParent()
    {
        for (State* state = first; state != nullptr; state = state->next)
            state->lock.unlock();
        Lock().unlock();
    }
    static void InChild()
    {
        for (State* state = first; state != nullptr; state = state->next)
        {
            state->output.DropForParent();
            state->errors.DropForParent();
        }
        InParent();
    }
};

namespace
{
constinit platform::ForkHandler forkHandler{platform::ForkRank::log, impl::SinkFork::Before,
                                            impl::SinkFork::InParent, impl::SinkFork::InChild};
const bool kForkHandled = platform::AddForkHandler(forkHandler);
} // namespace

DefaultEventSink::State::State()
{
    const std::lock_guard guard(impl::SinkFork::Lock());
    next = impl::SinkFork::first;
    impl::SinkFork::first = this;
}

DefaultEventSink::State::~State()
{
    const std::lock_guard guard(impl::SinkFork::Lock());
    State** place = &impl::SinkFork::first;
    while (*place != this)
        place = &(*place)->next;
    *place = next;
}

DefaultEventSink::DefaultEventSink() : state_(std::make_unique<State>()) {}

DefaultEventSink::~DefaultEventSink() { DefaultEventSink::Flush(); }

void DefaultEventSink::Flush()
{
    const std::lock_guard guard(state_->lock);
    state_->output.Write(false, Now(), state_->lines);
}

void DefaultEventSink::OutputPath(const std::wstring& path)
{
    const std::lock_guard guard(state_->lock);
    if (path == state_->path)
        return;
    state_->output.Write(false, Now(), state_->lines);
    state_->lostBefore = state_->Lost();
    state_->path = path;
    state_->split = path == L"stdoutstderr";
    state_->errors = foundation::Output::Console(true);
    if (path == L"stdout" || path == L"stderr" || state_->split)
        state_->output = foundation::Output::Console(path == L"stderr");
    else
        state_->output = foundation::Output::File(path);
}

void DefaultEventSink::Buffered(bool on)
{
    const std::lock_guard guard(state_->lock);
    state_->buffered = on;
    if (!on)
        state_->output.Write(false, Now(), state_->lines);
}

unsigned long long DefaultEventSink::Lost() const
{
    const std::lock_guard guard(state_->lock);
    return state_->Lost();
}

void DefaultEventSink::Event(int level, const std::wstring& text)
{
    DefaultEventSink::Log({level, 0, "", 0, ""}, text);
}

void DefaultEventSink::Log(const LogRecord& record, const std::wstring& text)
{
    state_->Log(record, std::wstring_view(text));
}

bool DefaultEventSink::LogPlain(const LogRecord& record, std::string_view text)
{
    if (!foundation::RecordLine::IsPlain(text))
        return false;
    state_->Log(record, text);
    return true;
}

void ReleaseDefaultEventSink::Assertion(const char* expression, const char* file, int line)
{
    DefaultEventSink::Log({critical, 0, file, line, ""},
                          str::sprintf(L"failed check: %s at %s(%d)", expression, file, line));
}

} // namespace kvi::diag
