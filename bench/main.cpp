// Runs one area's benchmarks, pairs KVI with its peers by name, and prints the ratios.
//
// A benchmark is called "goal|case|who", for example "1a|MxM 3_3_9|kvi" and "1a|MxM 3_3_9|libxsmm";
// every peer of a case becomes one row. Times are medians of the repetitions, which run interleaved
// so that a noisy neighbour disturbs both sides. Rows are appended to the file that the environment
// variable KVI_BENCH_ROWS names, one JSON object a line.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

namespace
{

struct Sample
{
    std::vector<double> nanoseconds;
    std::string error;

    double Median() const
    {
        std::vector<double> sorted = nanoseconds;
        std::sort(sorted.begin(), sorted.end());
        return sorted.empty() ? 0 : sorted[sorted.size() / 2];
    }
    double Spread() const
    {
        const auto [low, high] = std::minmax_element(nanoseconds.begin(), nanoseconds.end());
        return nanoseconds.empty() ? 0 : (*high - *low) / Median();
    }
};

class RatioReporter : public benchmark::BenchmarkReporter
{
public:
    bool ReportContext(const Context&) override { return true; }

    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs)
        {
            if (run.run_type != Run::RT_Iteration)
                continue;
            const std::string name = run.run_name.function_name;
            const std::size_t who = name.rfind('|');
            if (who == std::string::npos)
                continue;
            Sample& sample = Cases(name.substr(0, who))[name.substr(who + 1)];
            if (run.error_occurred)
                sample.error = run.error_message;
            else
                sample.nanoseconds.push_back(run.GetAdjustedRealTime() * 1e9 /
                                             benchmark::GetTimeUnitMultiplier(run.time_unit));
        }
        std::fputc('.', stderr);
    }

    void Finalize() override
    {
        std::fputc('\n', stderr);
        std::printf("%-5s %-34s %-26s %12s %12s %7s %7s\n", "goal", "case", "peer", "KVI ns",
                    "peer ns", "ratio", "spread");
        for (const std::string& key : order_)
            PrintCase(key);
    }

    bool failed() const { return failed_; }

private:
    using Case = std::map<std::string, Sample>;

    Case& Cases(const std::string& key)
    {
        if (cases_.find(key) == cases_.end())
            order_.push_back(key);
        return cases_[key];
    }

    void PrintCase(const std::string& key)
    {
        const std::size_t bar = key.find('|');
        const std::string goal = key.substr(0, bar), what = key.substr(bar + 1);
        const Case& rivals = cases_[key];
        const auto kvi = rivals.find("kvi");
        for (const auto& [who, sample] : rivals)
        {
            if (!sample.error.empty())
            {
                std::printf("%-5s %-34s %-26s %s\n", goal.c_str(), what.c_str(), who.c_str(),
                            sample.error.c_str());
                failed_ = failed_ || who == "kvi";
                continue;
            }
            if (who == "kvi" && rivals.size() > 1)
                continue;
            const double own = kvi == rivals.end() ? 0 : kvi->second.Median();
            const double spread =
                std::max(sample.Spread(), kvi == rivals.end() ? 0 : kvi->second.Spread());
            PrintRow(goal, what, who, own, sample.Median(), spread);
        }
    }

    static void PrintRow(const std::string& goal, const std::string& what, const std::string& who,
                         double own, double peer, double spread)
    {
        std::printf("%-5s %-34s %-26s %12.2f %12.2f %7.3f %6.0f%%\n", goal.c_str(), what.c_str(),
                    who.c_str(), own, peer, own / peer, 100 * spread);
        const char* path = std::getenv("KVI_BENCH_ROWS");
        std::FILE* rows = path == nullptr ? nullptr : std::fopen(path, "a");
        if (rows == nullptr)
            return;
        std::fprintf(rows,
                     "{\"goal\": \"%s\", \"case\": \"%s\", \"peer\": \"%s\", \"kvi_ns\": %.6g, "
                     "\"peer_ns\": %.6g, \"ratio\": %.4g, \"spread\": %.3g}\n",
                     goal.c_str(), what.c_str(), who.c_str(), own, peer, own / peer, spread);
        std::fclose(rows);
    }

    std::map<std::string, Case> cases_;
    std::vector<std::string> order_;
    bool failed_ = false;
};

} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return reporter.failed() ? 1 : 0;
}
