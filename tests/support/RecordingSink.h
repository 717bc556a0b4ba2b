/// @file
/// A log sink that records its input.
#pragma once

#include "foundation/kvidbg.h"

#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace support
{

/// The current sink for its lifetime. Threads: any.
class RecordingSink : public kvi::diag::IEventSink
{
public:
    struct Record
    {
        kvi::diag::LogRecord site;
        std::wstring text;
    };

    RecordingSink() { kvi::diag::EventSink::RegisterInstance(this); }
    ~RecordingSink() override { kvi::diag::EventSink::RegisterInstance(before_); }

    void Flush() override { Called('1'); }
    void OutputPath(const std::wstring&) override { Called('2'); }
    void Assertion(const char*, const char*, int) override { Called('3'); }
    void Buffered(bool) override { Called('4'); }
    unsigned long long Lost() const override { return 5; }
    void Event(int level, const std::wstring& text) override
    {
        Keep('6', {level, 0, "", 0, ""}, text);
    }
    void Log(const kvi::diag::LogRecord& site, const std::wstring& text) override
    {
        Keep('7', site, text);
    }

    /// The events and records since the last call.
    std::vector<Record> Take()
    {
        const std::lock_guard guard(lock_);
        return std::exchange(records_, {});
    }
    /// The texts of all of them, a line each.
    std::wstring TakeText()
    {
        std::wstring all;
        for (const Record& record : Take())
            all += record.text + L'\n';
        return all;
    }
    /// The positions of the operations called, such as "267".
    std::string Calls() const
    {
        const std::lock_guard guard(lock_);
        return calls_;
    }

private:
    void Called(char operation)
    {
        const std::lock_guard guard(lock_);
        calls_ += operation;
    }
    void Keep(char operation, const kvi::diag::LogRecord& site, const std::wstring& text)
    {
        const std::lock_guard guard(lock_);
        calls_ += operation;
        records_.push_back({site, text});
    }

    kvi::diag::IEventSink* const before_ = &kvi::diag::EventSink::Instance();
    mutable std::mutex lock_;
    std::string calls_;
    std::vector<Record> records_;
};

} // namespace support
