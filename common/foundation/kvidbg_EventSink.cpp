#include "foundation/kvidbg_EventSink.h"

#include "foundation/kvidbg_LogFilter.h"
#include "platform/platform_unload.h"

namespace kvi::diag
{
namespace
{
// Plain values, so they are usable before the first constructor and after the last destructor.
constinit std::atomic<IEventSink*> currentSink{nullptr};
constinit std::atomic<bool> safeMode{false};

/// At process exit, writes the lines buffered by the default sink; later records are written at
/// once.
struct WriteOutAtExit
{
    IEventSink& sink;
    ~WriteOutAtExit() { sink.Buffered(false); }
};

DefaultEventSink& DefaultSink()
{
    static DefaultEventSink& sink = platform::UntilUnload<ReleaseDefaultEventSink>();
    static const WriteOutAtExit atExit{sink};
    return sink;
}
} // namespace

DefaultEventSink& EventSink::Default() { return DefaultSink(); }

IEventSink::~IEventSink() = default;

IEventSink& EventSink::Instance()
{
    IEventSink* sink = currentSink.load(std::memory_order_acquire);
    return sink != nullptr ? *sink : DefaultSink();
}

DefaultEventSink* EventSink::CurrentDefault()
{
    const IEventSink* const sink = currentSink.load(std::memory_order_acquire);
    DefaultEventSink& own = DefaultSink();
    return sink == nullptr || sink == &own ? &own : nullptr; // it may have been replaced meanwhile
}

void EventSink::RegisterInstance(IEventSink* sink)
{
    currentSink.store(sink, std::memory_order_release);
}

void SinkFilePath(const std::wstring& path) { EventSink::Instance().OutputPath(path); }

void SetSafeMode(bool on)
{
    safeMode = on;
    if (on)
        EventSink::Instance().Flush();
}

bool IsSafeMode() { return safeMode; }

CatchErrorEventSink::CatchErrorEventSink(IEventSink& inner) : inner_(inner) {}

CatchErrorEventSink& CatchErrorEventSink::Instance()
{
    static CatchErrorEventSink& instance = []() -> CatchErrorEventSink& {
        auto* sink = new CatchErrorEventSink(EventSink::Instance()); // never destroyed
        EventSink::RegisterInstance(sink);
        return *sink;
    }();
    return instance;
}

void CatchErrorEventSink::Reset()
{
    criticals_ = 0;
    errors_ = 0;
    assertions_ = 0;
}

void CatchErrorEventSink::Flush() { inner_.Flush(); }

void CatchErrorEventSink::OutputPath(const std::wstring& path) { inner_.OutputPath(path); }

void CatchErrorEventSink::Assertion(const char* expression, const char* file, int line)
{
    ++assertions_;
    inner_.Assertion(expression, file, line);
}

void CatchErrorEventSink::Buffered(bool on) { inner_.Buffered(on); }

unsigned long long CatchErrorEventSink::Lost() const { return inner_.Lost(); }

void CatchErrorEventSink::Event(int level, const std::wstring& text)
{
    if (level == critical)
        ++criticals_;
    if (level == error)
        ++errors_;
    inner_.Event(level, text);
}

void CatchErrorEventSink::Log(const LogRecord& record, const std::wstring& text)
{
    inner_.Log(record, text);
}

} // namespace kvi::diag
