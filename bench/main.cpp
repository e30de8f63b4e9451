// Runs the rows in interleaved rounds and prints medians: time, and time as a multiple of the row's yardstick.
//     pcm_bench [--isa=base|avx2] [--benchmark_filter=REGEX]
// With --isa the library of the build tree that is held down to that instruction set takes the place of the ordinary
// one. A row is run together with its yardstick only if the filter lets both through; without it the multiple is left
// out.
#include "support.h"

#include <pcm/pcm.hpp>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <random>
#include <unistd.h>

namespace {

struct Row {
    std::string name, yardstick;
};

/// In the order in which they were added.
std::vector<Row> &Rows()
{
    static std::vector<Row> rows;
    return rows;
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
        std::printf("%-52s %14s  %s\n", "row", "ns", "of its yardstick");
        for (const Row &row : Rows()) {
            if (!median_.count(row.name))
                continue;
            std::printf("%-52s %14.1f", row.name.c_str(), median_[row.name]);
            if (median_.count(row.yardstick))
                std::printf("  %8.2f x %s", median_[row.name] / median_[row.yardstick], row.yardstick.c_str());
            if (realTime_.count(row.name))
                std::printf("  %8.0f x real time", realTime_[row.name]);
            std::printf("\n");
        }
    }

private:
    std::map<std::string, double> median_, realTime_;
};

} // namespace

void AddRow(const std::string &name, const std::string &yardstick, std::function<void(benchmark::State &)> body)
{
    for (const Row &row : Rows())
        if (row.name == name)
            return;
    Rows().push_back({name, yardstick});
    benchmark::RegisterBenchmark(name.c_str(), [body](benchmark::State &state) { body(state); });
}

std::string Memcpy(std::size_t in, std::size_t out)
{
    const std::size_t bytes = (in + out) / 2;
    const std::string name = std::string("memcpy/").append(std::to_string(bytes));
    AddRow(name, "", [bytes](benchmark::State &state) {
        std::vector<char> source(bytes, 1), dest(bytes);
        for (auto _ : state) {
            std::memcpy(dest.data(), source.data(), bytes);
            benchmark::DoNotOptimize(dest.data());
            benchmark::ClobberMemory();
        }
    });
    return name;
}

std::vector<float> Noise(std::size_t samples)
{
    std::mt19937 engine(1);
    std::uniform_real_distribution<float> spread(-1.0f, 1.0f);
    std::vector<float> noise(samples);
    for (float &sample : noise)
        sample = spread(engine);
    return noise;
}

/// Starts the program again with another library before the ordinary one. Comes back only if that fails.
int RunWith(const std::string &isa, std::vector<char *> arguments)
{
    namespace fs = std::filesystem;
    const fs::path program = fs::read_symlink("/proc/self/exe"),
                   folder = program.parent_path().parent_path() / "isa" / isa;
    if (!fs::exists(folder)) {
        std::fprintf(stderr, "There is no %s\n", folder.c_str());
        return 1;
    }
    setenv("LD_LIBRARY_PATH", folder.c_str(), 1);
    arguments.push_back(nullptr);
    execv(program.c_str(), arguments.data());
    std::perror(program.c_str());
    return 1;
}

int main(int argc, char **argv)
{
    if (argc > 1 && std::strncmp(argv[1], "--isa=", 6) == 0) {
        std::vector<char *> rest(argv, argv + argc);
        rest.erase(rest.begin() + 1);
        return RunWith(argv[1] + 6, rest);
    }
    std::printf("instruction set: %s\n", pcm___ModuleIsa());
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
}
