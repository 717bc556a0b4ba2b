#include "foundation/math_impl_ConvertFloat.h"
#include "foundation/math_impl_ConvertInt.h"
#include "foundation/str_fmt_float_cstring.h"

#include <benchmark/benchmark.h>

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <random>
#include <string>
#include <vector>

namespace
{

constexpr std::size_t kCount = 1024;

// Node numbers of a large mesh.
template <class Text>
std::vector<Text> Integers()
{
    std::mt19937 random(8);
    std::vector<Text> texts;
    for (std::size_t i = 0; i < kCount; ++i)
    {
        const std::string text = std::to_string(1 + random() % 250000);
        texts.emplace_back(text.begin(), text.end());
    }
    return texts;
}

// Coordinates, heads, conductivities: both signs, 1e-6 to 1e6.
std::vector<double> Values()
{
    std::mt19937_64 random(9);
    std::uniform_real_distribution<> exponent(-6, 6);
    std::vector<double> values;
    for (std::size_t i = 0; i < kCount; ++i)
        values.push_back((i % 4 == 0 ? -1 : 1) * std::pow(10, exponent(random)));
    return values;
}

// One reading per iteration; all are checked against strtol first.
template <class Text, class Read>
void TimeRead(benchmark::State& state, Read read)
{
    auto texts = Integers<Text>();
    for (const Text& text : texts)
        if (read(text) != std::strtol(std::string(text.begin(), text.end()).c_str(), nullptr, 10))
            return state.SkipWithError("wrong number");
    std::size_t i = 0;
    for (auto _ : state)
    {
        Text* text = &texts[i++ % kCount];
        benchmark::DoNotOptimize(text);
        int value = read(*text);
        benchmark::DoNotOptimize(value);
    }
}

// One text per iteration, into a string; all are checked against @p format first.
template <class Write>
void TimeWrite(benchmark::State& state, int digits, const char* format, bool trim, Write write)
{
    auto values = Values();
    std::string text;
    for (const double value : values)
    {
        char room[400];
        std::snprintf(room, sizeof room, format, digits, value);
        write(text, value);
        if (text != (trim ? str::fmt_float_cstring(std::string(room), 0) : std::string(room)))
            return state.SkipWithError("wrong text");
    }
    std::size_t i = 0;
    for (auto _ : state)
    {
        double* value = &values[i++ % kCount];
        benchmark::DoNotOptimize(value);
        write(text, *value);
        benchmark::DoNotOptimize(text.data());
        benchmark::ClobberMemory();
    }
}

// The simplest trimming, for the peers.
void Trim(std::string& text)
{
    while (text.back() == '0')
        text.pop_back();
}

template <int Decimals>
void FixedKvi(benchmark::State& state)
{
    TimeWrite(state, Decimals, "%.*f", true,
              [](std::string& text, double v) { text = str::fmt_float_cstring(v, Decimals, 0); });
}

template <int Decimals>
void FixedToChars(benchmark::State& state)
{
    TimeWrite(state, Decimals, "%.*f", true, [](std::string& text, double v) {
        char room[400];
        auto* const end =
            std::to_chars(room, room + sizeof room, v, std::chars_format::fixed, Decimals).ptr;
        text.assign(room, end);
        Trim(text);
    });
}

template <int Decimals>
void FixedSnprintf(benchmark::State& state)
{
    TimeWrite(state, Decimals, "%.*f", true, [](std::string& text, double v) {
        char room[400];
        const int size = std::snprintf(room, sizeof room, "%.*f", Decimals, v);
        text.assign(room, std::size_t(size));
        Trim(text);
    });
}

void EightKvi(benchmark::State& state)
{
    TimeWrite(state, 8, "%.*g", false, [](std::string& text, double v) {
        math::impl::ConvertFloat<double>::to_string(text, v, 8, math::RoundType::significant);
    });
}

void EightToChars(benchmark::State& state)
{
    TimeWrite(state, 8, "%.*g", false, [](std::string& text, double v) {
        char room[400];
        text.assign(room,
                    std::to_chars(room, room + sizeof room, v, std::chars_format::general, 8).ptr);
    });
}

template <class Text>
void IntKvi(benchmark::State& state)
{
    TimeRead<Text>(state, [](const Text& text) {
        int value;
        math::impl::ConvertInt<int>::from_string(value, text);
        return value;
    });
}

void IntFromChars(benchmark::State& state)
{
    TimeRead<std::string>(state, [](const std::string& text) {
        int value = 0;
        std::from_chars(text.data(), text.data() + text.size(), value);
        return value;
    });
}

void IntWcstol(benchmark::State& state)
{
    TimeRead<std::wstring>(state, [](const std::wstring& text) {
        return int(std::wcstol(text.c_str(), nullptr, 10));
    });
}

BENCHMARK(IntKvi<std::wstring>)->Name("8|int from wide text|kvi");
BENCHMARK(IntWcstol)->Name("8|int from wide text|wcstol");
BENCHMARK(IntKvi<std::string>)->Name("8|int from narrow text|kvi");
BENCHMARK(IntFromChars)->Name("8|int from narrow text|from_chars");
BENCHMARK(FixedKvi<2>)->Name("8|fixed 2 decimals trimmed|kvi");
BENCHMARK(FixedToChars<2>)->Name("8|fixed 2 decimals trimmed|to_chars");
BENCHMARK(FixedSnprintf<2>)->Name("8|fixed 2 decimals trimmed|snprintf");
BENCHMARK(FixedKvi<6>)->Name("8|fixed 6 decimals trimmed|kvi");
BENCHMARK(FixedToChars<6>)->Name("8|fixed 6 decimals trimmed|to_chars");
BENCHMARK(FixedSnprintf<6>)->Name("8|fixed 6 decimals trimmed|snprintf");
BENCHMARK(EightKvi)->Name("8|8 significant digits|kvi");
BENCHMARK(EightToChars)->Name("8|8 significant digits|to_chars");

} // namespace
