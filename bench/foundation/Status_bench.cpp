// A status beside Abseil's: one text there; here a message template and three wide texts.
#include "foundation/App.h"
#include "foundation/gtl_status.h"

#include <benchmark/benchmark.h>

#include <absl/status/status.h>
#include <string>

namespace
{
constexpr const char* kText = "The file dam.json could not be opened. No such file or directory";
const std::wstring kPath = L"dam.json";
const std::wstring kReason = L"No such file or directory";

// Not inlined, as an operation of another library would be.
[[gnu::noinline]] gtl::status KviSucceeds(int& work)
{
    benchmark::DoNotOptimize(work);
    return {};
}

[[gnu::noinline]] absl::Status AbseilSucceeds(int& work)
{
    benchmark::DoNotOptimize(work);
    return absl::OkStatus();
}

/// Success made, returned and copied.
template <class Status>
void Success(benchmark::State& state, Status (*operation)(int&))
{
    int work = 0;
    if (!operation(work).ok())
        return state.SkipWithError("no success");
    for (auto _ : state)
    {
        const Status made = operation(work);
        Status copy = made; // NOLINT(performance-unnecessary-copy-initialization): what is timed
        benchmark::DoNotOptimize(copy);
    }
}

void KviErrorMade(benchmark::State& state)
{
    if (gtl::status(20526, kPath, kReason).as_wstring().size() != std::string(kText).size())
        return state.SkipWithError("wrong message");
    for (auto _ : state)
    {
        gtl::status made(20526, kPath, kReason);
        benchmark::DoNotOptimize(made);
    }
}

void AbseilErrorMade(benchmark::State& state)
{
    for (auto _ : state)
    {
        absl::Status made(absl::StatusCode::kNotFound, kText);
        benchmark::DoNotOptimize(made);
    }
}

template <class Status>
void Copied(benchmark::State& state, const Status& error)
{
    if (Status(error) != error)
        return state.SkipWithError("wrong copy");
    for (auto _ : state)
    {
        Status copy = error;
        benchmark::DoNotOptimize(copy);
    }
}
} // namespace

BENCHMARK_CAPTURE(Success, kvi, KviSucceeds)->Name("9|status success|kvi");
BENCHMARK_CAPTURE(Success, abseil, AbseilSucceeds)->Name("9|status success|Abseil");
BENCHMARK(KviErrorMade)->Name("9|status error made|kvi");
BENCHMARK(AbseilErrorMade)->Name("9|status error made|Abseil");
BENCHMARK_CAPTURE(Copied, kvi, gtl::status(20526, kPath, kReason))
    ->Name("9|status error copied|kvi");
BENCHMARK_CAPTURE(Copied, abseil, absl::Status(absl::StatusCode::kNotFound, kText))
    ->Name("9|status error copied|Abseil");
