// The rows, and running them with Google Benchmark.
#include "rows.h"
#include "support.h"

#include <pcm/pcm.hpp>

#include <cstdio>
#include <cstring>
#include <map>
#include <optional>
#include <random>

namespace {

struct Row {
    std::string name, yardstick;
    std::function<void(benchmark::State &)> body;
};

/// In the order in which they were added.
std::vector<Row> &Rows()
{
    static std::vector<Row> rows;
    return rows;
}

// Of the body that runs.
std::size_t bodyTurn = 0, bodyArrays = 0;

/// Registers a row. Its memory lies elsewhere in each turn: what it allocates itself by a block before it.
benchmark::internal::Benchmark *Register(const Row &row)
{
    return benchmark::RegisterBenchmark(row.name.c_str(), [&row](benchmark::State &state) {
        const std::vector<char> block(64 * (++bodyTurn % 8) + 1);
        bodyArrays = 0;
        row.body(state);
    });
}

class PrintsRatios : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(const Context &) override { return true; }

    void ReportRuns(const std::vector<Run> &runs) override
    {
        for (const Run &run : runs) {
            if (run.run_type != Run::RT_Aggregate || run.aggregate_name != "median")
                continue;
            median_[run.run_name.function_name] = run.GetAdjustedCPUTime();
            if (const auto real = run.counters.find(kRealTime); real != run.counters.end())
                realTime_[run.run_name.function_name] = real->second;
        }
    }

    void Finalize() override
    {
        std::printf("%-52s %14s  %s\n", "row", "ns", "of its best peer and of its yardstick");
        for (const Row &row : Rows()) {
            if (!median_.count(row.name))
                continue;
            std::printf("%-52s %14.1f", row.name.c_str(), median_[row.name]);
            if (const std::string peer = BestPeer(row.name); !peer.empty())
                std::printf("  %8.2f x %s", median_[row.name] / median_[peer], peer.substr(0, peer.find('/')).c_str());
            if (median_.count(row.yardstick))
                std::printf("  %8.2f x %s", median_[row.name] / median_[row.yardstick], row.yardstick.c_str());
            if (realTime_.count(row.name))
                std::printf("  %8.0f x real time", realTime_[row.name]);
            std::printf("\n");
        }
    }

private:
    /// The fastest of the rows that are named as this one, with another library before: volk/encode/s8/160.
    std::string BestPeer(const std::string &row) const
    {
        std::string best;
        for (const auto &[name, median] : median_)
            if (name.ends_with("/" + row) && (best.empty() || median < median_.at(best)))
                best = name;
        return best;
    }

    std::map<std::string, double> median_, realTime_;
};

/// Keeps the one run that there is.
class Keeps : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(const Context &) override { return true; }
    void ReportRuns(const std::vector<Run> &runs) override { run = runs.front(); }

    Run run;
};

} // namespace

void AddRow(const std::string &name, const std::string &yardstick, std::function<void(benchmark::State &)> body)
{
    for (const Row &row : Rows())
        if (row.name == name)
            return;
    Rows().push_back({name, yardstick, std::move(body)});
}

std::string Memcpy(std::size_t in, std::size_t out)
{
    const std::size_t bytes = (in + out) / 2;
    const std::string name = std::string("memcpy/").append(std::to_string(bytes));
    AddRow(name, "", [bytes](benchmark::State &state) {
        Array<char> source(bytes, 1), dest(bytes);
        for (auto _ : state) {
            std::memcpy(dest.data(), source.data(), bytes);
            benchmark::DoNotOptimize(dest.data());
            benchmark::ClobberMemory();
        }
    });
    return name;
}

std::size_t NextPlace()
{
    const std::size_t array = bodyArrays++;
    return array % 4 * 1024 + bodyTurn * (array + 1) % 8 * 64;
}

Array<float> Noise(std::size_t samples)
{
    static std::mt19937 engine(1);
    static std::vector<float> noise;
    std::uniform_real_distribution<float> spread(-1.0f, 1.0f);
    while (noise.size() < samples)
        noise.push_back(spread(engine));
    return {noise.begin(), noise.begin() + static_cast<std::ptrdiff_t>(samples)};
}

int BenchRun(int argc, char **argv)
{
    std::printf("instruction set: %s\n", pcm___ModuleIsa());
    for (const Row &row : Rows())
        Register(row);
    std::vector<char *> arguments(argv, argv + argc);
    char repetitions[] = "--benchmark_repetitions=5", interleaved[] = "--benchmark_enable_random_interleaving=true",
         time[] = "--benchmark_min_time=0.02";
    arguments.insert(arguments.begin() + 1, {repetitions, interleaved, time}); // the caller's own come after and win
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data()))
        return 1;
    const pcm::Module module;
    PrintsRatios reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return 0;
}

const char *BenchStart()
{
    static const pcm::Module module;
    return pcm___ModuleIsa();
}

const char *BenchRowName(int row)
{
    const auto &rows = Rows();
    return row < static_cast<int>(rows.size()) ? rows[static_cast<std::size_t>(row)].name.c_str() : nullptr;
}

double BenchTime(int row, int turn, long *iterations)
{
    bodyTurn = static_cast<std::size_t>(turn);
    benchmark::ClearRegisteredBenchmarks();
    auto *registered = Register(Rows()[static_cast<std::size_t>(row)]);
    if (*iterations)
        registered->Iterations(*iterations);
    else
        registered->MinTime(0.002);
    Keeps reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter, ".");
    *iterations = static_cast<long>(reporter.run.iterations);
    return reporter.run.GetAdjustedCPUTime();
}
