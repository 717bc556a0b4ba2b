// Loops of short and of heavier bodies beside TBB and OpenMP. Every loop calls the same
// std::function for every number.
//
// OpenMP takes part only with OMP_WAIT_POLICY=passive in the environment: its threads would
// continue to spin after their loop and take a processor from the next measurement.

#include "sys/sys_thread_ParallelFor.h"

#include <benchmark/benchmark.h>
#include <tbb/parallel_for.h>

#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

namespace
{

using Body = std::function<bool(unsigned)>;
using Loop = void (*)(unsigned count, const Body& body);

void Serial(unsigned count, const Body& body)
{
    for (unsigned i = 0; i < count; ++i)
        body(i);
}

void Kvi(unsigned count, const Body& body)
{
    sys::thread::task::ParallelFor({0, count - 1, 1}, body);
}

void Tbb(unsigned count, const Body& body)
{
    tbb::parallel_for(0u, count, [&](unsigned i) { body(i); });
}

void OpenMp(unsigned count, const Body& body)
{
#pragma omp parallel for schedule(static)
    for (int i = 0; i < static_cast<int>(count); ++i)
        body(static_cast<unsigned>(i));
}

/// What is stored: the number, or its product with 60 factors; about 1.5 and 19 ns.
template <bool Heavy>
double Value(unsigned i)
{
    double value = i;
    if constexpr (Heavy)
        for (int k = 0; k < 60; ++k)
            value *= 0.999;
    return value;
}

template <bool Heavy>
void Time(benchmark::State& state, Loop loop)
{
    const auto count = static_cast<unsigned>(state.range(0));
    std::vector<double> out(count, -1);
    const Body body = [values = out.data()](unsigned i) {
        values[i] = Value<Heavy>(i);
        return true;
    };
    loop(count, body);
    for (unsigned i = 0; i < count; ++i)
        if (out[i] != Value<Heavy>(i))
            return state.SkipWithError("a number was left out");
    for (auto _ : state)
    {
        loop(count, body);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
}

const bool kRegistered = [] {
    struct Who
    {
        const char* name;
        Loop loop;
    };
    std::vector<Who> all = {{"kvi", Kvi}, {"serial", Serial}, {"TBB", Tbb}};
    const char* const policy = std::getenv("OMP_WAIT_POLICY"); // NOLINT(concurrency-mt-unsafe)
    if (policy != nullptr && std::string(policy) == "passive")
        all.push_back({"OpenMP passive", OpenMp});
    for (const auto& [name, loop] : all)
        for (const long count : {100L, 1000L, 10'000L, 100'000L, 1'000'000L, 10'000'000L})
        {
            const std::string digits = "1e" + std::to_string(std::to_string(count).size() - 1);
            const std::string store = "7|store " + digits + "|" + name;
            const std::string heavy = "7|60 multiplies " + digits + "|" + name;
            benchmark::RegisterBenchmark(store.c_str(), Time<false>, loop)
                ->Arg(count)
                ->UseRealTime();
            if (count <= 1'000'000)
                benchmark::RegisterBenchmark(heavy.c_str(), Time<true>, loop)
                    ->Arg(count)
                    ->UseRealTime();
        }
    return true;
}();

} // namespace
