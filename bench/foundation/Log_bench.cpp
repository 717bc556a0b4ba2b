#include "foundation/kvidbg.h"
#include "foundation/str.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>
#include <string>

namespace
{
namespace fs = std::filesystem;

const kvi::diag::DeclareCategoryMask kSolve("Bench.Solve");

/// A log file in the folder for temporary files, removed at the end.
struct LogFile
{
    fs::path path;
    explicit LogFile(const char* name) : path(fs::temp_directory_path() / name)
    {
        fs::remove(path);
    }
    ~LogFile() { fs::remove(path); }

    std::string LastLine() const
    {
        std::ifstream file(path);
        std::string line, last;
        while (std::getline(file, line))
            last = line;
        return last;
    }
};

/// Points the default sink at a file, and away from it again.
struct KviLog
{
    LogFile file{"kvi_bench.log"};
    explicit KviLog(bool buffered)
    {
        kvi::diag::SinkFilePath(str::as_wstring(file.path.string()));
        kvi::diag::EventSink::Instance().Buffered(buffered);
        kvi::diag::LogFilter::Set(kvi::diag::information, -1);
    }
    ~KviLog()
    {
        kvi::diag::EventSink::Instance().Buffered(false);
        kvi::diag::SinkFilePath(L"stderr");
    }
};

struct SpdLog
{
    LogFile file{"spdlog_bench.log"};
    std::shared_ptr<spdlog::logger> logger = std::make_shared<spdlog::logger>(
        "solve", std::make_shared<spdlog::sinks::basic_file_sink_mt>(file.path.string()));
};

void KviFiltered(benchmark::State& state)
{
    kvi::diag::LogFilter::Set(kvi::diag::warning, -1);
    int step = 0;
    int* escaped = &step; // what ClobberMemory below may have changed
    benchmark::DoNotOptimize(escaped);
    for (auto _ : state)
    {
        KVI_LOG(kvi::diag::information, kSolve, "step %d: residual %.3e", step, 1e-3);
        benchmark::ClobberMemory();
    }
}

void SpdFiltered(benchmark::State& state)
{
    SpdLog log;
    log.logger->set_level(spdlog::level::warn);
    int step = 0;
    int* escaped = &step;
    benchmark::DoNotOptimize(escaped);
    for (auto _ : state)
    {
        log.logger->info("step {}: residual {:.3e}", step, 1e-3);
        benchmark::ClobberMemory();
    }
}

constexpr const char* kLastText = "step 7: residual 1.250e-03 in equation 31415";

void KviLine(benchmark::State& state, bool buffered)
{
    KviLog log(buffered);
    int step = 7;
    double residual = 1.25e-3;
    const auto line = [&] {
        KVI_LOG(kvi::diag::information, kSolve, "step %d: residual %.3e in equation %d", step,
                residual, 31415);
    };
    line();
    kvi::diag::EventSink::Instance().Flush();
    if (!log.file.LastLine().ends_with(kLastText))
        return state.SkipWithError("wrong line");
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(step);
        benchmark::DoNotOptimize(residual);
        line();
    }
}

// By default spdlog writes local time, the logger's name, the level and the text, through a
// specialised formatter. With @p sameColumns its lines look like KVI's: UTC and the thread's
// number.
void SpdLine(benchmark::State& state, bool buffered, bool sameColumns)
{
    SpdLog log;
    if (sameColumns)
        log.logger->set_pattern("%Y-%m-%dT%H:%M:%S.%eZ %-11l %n %t %v",
                                spdlog::pattern_time_type::utc);
    int step = 7;
    double residual = 1.25e-3;
    log.logger->flush_on(buffered ? spdlog::level::off : spdlog::level::trace);
    const auto line = [&] {
        log.logger->info("step {}: residual {:.3e} in equation {}", step, residual, 31415);
    };
    line();
    log.logger->flush();
    if (!log.file.LastLine().ends_with(kLastText))
        return state.SkipWithError("wrong line");
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(step);
        benchmark::DoNotOptimize(residual);
        line();
    }
}

BENCHMARK(KviFiltered)->Name("9|filtered-out log call|kvi");
BENCHMARK(SpdFiltered)->Name("9|filtered-out log call|spdlog");
BENCHMARK_CAPTURE(KviLine, buffered, true)->Name("9|log line, buffered|kvi");
BENCHMARK_CAPTURE(SpdLine, buffered, true, false)->Name("9|log line, buffered|spdlog");
BENCHMARK_CAPTURE(SpdLine, sameColumns, true, true)
    ->Name("9|log line, buffered|spdlog, same columns");
BENCHMARK_CAPTURE(KviLine, flushed, false)->Name("9|log line, flushed|kvi");
BENCHMARK_CAPTURE(SpdLine, flushed, false, false)->Name("9|log line, flushed|spdlog");
} // namespace
