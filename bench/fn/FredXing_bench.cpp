#include "fn/FredXing_peers.h"
#include "fn/math_fn_flow_FredXing.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <random>
#include <vector>

double PlainCurve(const CurveFields& c, double suction)
{
    const double r = 0.003 * c.limit;
    const double correction = 1 - std::log(1 + suction / r) / std::log(1 + c.limit / r);
    return c.saturated * std::pow(1 / std::log(std::exp(1.0) + std::pow(suction / c.a, c.n)), c.m) *
           correction;
}

namespace
{

// Read at run time, so that no side has its powers folded by the compiler.
volatile double fields[] = {10, 1.7, 0.9, 0.4, 1e6};
const CurveFields kFields{fields[0], fields[1], fields[2], fields[3], fields[4]};

struct Data
{
    explicit Data(std::size_t count) : pressures(count), suctions(count), contents(count)
    {
        std::mt19937_64 random(5);
        std::uniform_real_distribution<double> exponent(-2, 5.9);
        for (std::size_t i = 0; i < count; ++i)
        {
            suctions[i] = std::pow(10, exponent(random));
            pressures[i] = -suctions[i];
        }
    }
    bool IsRight() const
    {
        for (std::size_t i = 0; i < suctions.size(); ++i)
        {
            const double exact = PlainCurve(kFields, suctions[i]);
            if (!(std::fabs(contents[i] - exact) <= 4e-14 * exact))
                return false;
        }
        return true;
    }
    std::vector<double> pressures, suctions, contents;
};

template <class Curve>
void TimeArray(benchmark::State& state, Curve curve)
{
    Data data(1000000);
    curve(data);
    if (!data.IsRight())
        return state.SkipWithError("wrong contents");
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(data.pressures.data());
        curve(data);
        benchmark::DoNotOptimize(data.contents.data());
        benchmark::ClobberMemory();
    }
}

const math::fn::flow::FredXing& Curve()
{
    static const math::fn::flow::FredXing curve(kFields.a, kFields.n, kFields.m, kFields.saturated,
                                                kFields.limit);
    return curve;
}

void KviPoints(benchmark::State& state)
{
    TimeArray(state, [](Data& d) {
        for (std::size_t i = 0; i < d.pressures.size(); ++i)
            d.contents[i] = Curve()(d.pressures[i]);
    });
}
void LibmPoints(benchmark::State& state)
{
    TimeArray(state, [](Data& d) {
        for (std::size_t i = 0; i < d.suctions.size(); ++i)
            d.contents[i] = PlainCurve(kFields, d.suctions[i]);
    });
}
void KviArray(benchmark::State& state)
{
    TimeArray(state, [](Data& d) {
        Curve().Evaluate(d.pressures.data(), d.contents.data(), d.pressures.size());
    });
}
void LibmArray(benchmark::State& state)
{
    TimeArray(state, [](Data& d) {
        VectorLibmCurve(kFields, d.suctions.data(), d.contents.data(), d.suctions.size());
    });
}
void EigenArray(benchmark::State& state)
{
    TimeArray(state, [](Data& d) {
        EigenCurve(kFields, d.suctions.data(), d.contents.data(), d.suctions.size());
    });
}

BENCHMARK(KviPoints)->Name("10|curve, point by point, 1e6|kvi");
BENCHMARK(LibmPoints)->Name("10|curve, point by point, 1e6|plain formula");
BENCHMARK(KviArray)->Name("10|curve, array of 1e6|kvi");
BENCHMARK(LibmArray)->Name("10|curve, array of 1e6|vector libm");
BENCHMARK(EigenArray)->Name("10|curve, array of 1e6|Eigen arrays");

} // namespace
