#include "Module.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>

namespace python
{
namespace
{

constexpr std::size_t kMost = 10'000; // records that wait to be fetched

struct Entry
{
    int level, line;
    std::string file;
    std::wstring text;
};

/// Keeps the log's records until a Python thread fetches them: the threads that log must not wait
/// for the interpreter.
class Queue final : public kvi::diag::IEventSink
{
public:
    void Flush() override {}
    void OutputPath(const std::wstring&) override {}
    void Buffered(bool) override {}
    unsigned long long Lost() const override
    {
        const std::lock_guard lock(mutex_);
        return lost_;
    }
    void Assertion(const char* expression, const char* file, int line) override
    {
        Put({kvi::diag::critical, line, file, str::as_wstring(expression)});
    }
    void Event(int level, const std::wstring& text) override { Put({level, 0, "", text}); }
    void Log(const kvi::diag::LogRecord& record, const std::wstring& text) override
    {
        Put({record.level, record.line, record.file != nullptr ? record.file : "", text});
    }

    /// The records that came, after a wait of at most @p seconds for the first.
    std::deque<Entry> Fetch(double seconds)
    {
        std::unique_lock lock(mutex_);
        came_.wait_for(lock, std::chrono::duration<double>(seconds),
                       [this] { return !entries_.empty() || isWoken_; });
        isWoken_ = false;
        return std::exchange(entries_, {});
    }
    void Wake()
    {
        const std::lock_guard lock(mutex_);
        isWoken_ = true;
        came_.notify_all();
    }

private:
    void Put(Entry entry)
    {
        const std::lock_guard lock(mutex_);
        if (entries_.size() < kMost)
            entries_.push_back(std::move(entry));
        else
            ++lost_;
        came_.notify_all();
    }

    mutable std::mutex mutex_;
    std::condition_variable came_;
    std::deque<Entry> entries_;
    unsigned long long lost_ = 0;
    bool isWoken_ = false;
};

Queue& TheQueue()
{
    static auto* const queue = new Queue; // records may come until the process has ended
    return *queue;
}

py::list Fetch(double seconds)
{
    std::deque<Entry> entries;
    {
        py::gil_scoped_release release;
        entries = TheQueue().Fetch(seconds);
    }
    py::list out;
    for (const Entry& entry : entries)
        out.append(py::make_tuple(entry.level, entry.file, entry.line, entry.text));
    return out;
}

} // namespace

void BindLog(py::module_& module)
{
    module.def("_log_open", [](int level) {
        kvi::diag::LogFilter::Set(level, -1);
        kvi::diag::EventSink::RegisterInstance(&TheQueue());
    });
    module.def("_log_close", [] {
        kvi::diag::EventSink::RegisterInstance(nullptr);
        TheQueue().Wake();
    });
    module.def("_log_fetch", &Fetch);
    module.def("_log_lost", [] { return TheQueue().Lost(); });
    module.def("_log_write", [](int level, const std::wstring& text) {
        kvi::diag::LogMacroHandler(level, 0, "python", 0, "")(text);
    });
}

} // namespace python
