// Loads the rows with one build of the library, or with two, and runs them.
#include "rows.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>
#include <regex>
#include <string>
#include <string_view>
#include <unistd.h>
#include <vector>

namespace fs = std::filesystem;

namespace {

constexpr char kHelp[] =
    R"(pcm_bench [--isa=base|avx2] [OPTION OF GOOGLE BENCHMARK]...
    Runs the rows in interleaved rounds and prints medians: time, and time as a multiple of the row's yardstick. A row
    is run together with its yardstick only if the filter lets both through; without it the multiple is left out.
pcm_bench --compare OTHER_BUILD [--isa=base|avx2] [--benchmark_filter=REGEX]
    Runs each row in turn with this build of the library (new) and with another (old): a build directory, or its
    libpcm.so. Prints the median times, and of new/old the median and the quartiles of 25 rounds, which differ in where
    code and buffers lie. Only the library differs: both run this build's rows, without those of other libraries.
--isa=SET
    Runs the libraries of the build directories that are held down to that instruction set.
)";

[[noreturn]] void Fail(const std::string &message)
{
    std::fprintf(stderr, "pcm_bench: %s\n", message.c_str());
    std::exit(1);
}

fs::path Program()
{
    return fs::read_symlink("/proc/self/exe");
}

/// The library in a build directory, or the library itself.
fs::path Libpcm(const fs::path &build, const std::string &isa)
{
    return fs::absolute(fs::is_directory(build) ? build / (isa.empty() ? "lib" : "isa/" + isa) / "libpcm.so" : build);
}

/// The rows, bound to a build of the library. Nothing is ever unloaded.
class Bench {
public:
    /// @param space LM_ID_BASE, or LM_ID_NEWLM to keep apart what is loaded here
    /// @param module the file of the rows, beside the program
    Bench(Lmid_t space, const fs::path &libpcm, const char *module)
    {
        void *library = Checked(dlmopen(space, libpcm.c_str(), RTLD_LAZY | RTLD_LOCAL));
        dlinfo(library, RTLD_DI_LMID, &space);
        const fs::path rows = Program().parent_path() / module;
        rows_ = Checked(dlmopen(space, rows.c_str(), RTLD_LAZY | RTLD_LOCAL)); // needs a libpcm and takes that one
        Dl_info info = {};
        if (!dladdr(Symbol("pcm___ModuleIsa"), &info) || !fs::equivalent(info.dli_fname, libpcm))
            Fail("the rows did not take " + libpcm.string());
    }

    template <class F> F *Function(const char *name) const { return reinterpret_cast<F *>(Symbol(name)); }

private:
    static void *Checked(void *found) { return found ? found : (Fail(dlerror()), nullptr); }
    void *Symbol(const char *name) const { return Checked(dlsym(rows_, name)); }

    void *rows_;
};

// A row may take a third longer for no reason but the addresses that code and heap have in this process. So each build
// is loaded several times, and each load takes its turns.
constexpr std::size_t kLoads = 6, kRounds = 4 * kLoads + 1;
using Times = std::array<double, kRounds>;

/// A quantile, in quarters.
double Quartile(Times times, std::size_t quarters)
{
    std::ranges::sort(times);
    return times[(kRounds - 1) * quarters / 4];
}

/// Starts the program again with room for as many namespaces. Comes back when there is, or nothing can be done.
void MakeRoom(char **argv)
{
    constexpr char kTunables[] = "GLIBC_TUNABLES";
    if (std::getenv(kTunables))
        return;
    setenv(kTunables, "glibc.rtld.nns=16", 1); // as many as there may be
    execv(Program().c_str(), argv);
}

/// One of the two builds that are compared.
struct Side {
    Side(const char *what, const fs::path &libpcm)
    {
        const char *isa = nullptr;
        for (std::size_t i = 0; i < kLoads; ++i) {
            loads.emplace_back(LM_ID_NEWLM, libpcm, "pcm_bench_rows_to_compare.so");
            isa = loads.back().Function<decltype(BenchStart)>("BenchStart")();
        }
        std::printf("%s: %s, %s\n", what, libpcm.c_str(), isa);
    }

    double Time(int row, std::size_t round, long *iterations) const
    {
        auto *time = loads[round % kLoads].Function<decltype(BenchTime)>("BenchTime");
        return time(row, static_cast<int>(round), iterations);
    }

    std::vector<Bench> loads;
};

void Compare(const fs::path &mine, const fs::path &other, const std::string &filter)
{
    const Side sides[] = {{"new", mine}, {"old", other}};
    std::printf("%-52s %12s %12s %8s  %s\n", "row", "new ns", "old ns", "new/old", "quartiles");
    const std::regex chosen(filter, std::regex::extended);
    auto *name = sides[0].loads[0].Function<decltype(BenchRowName)>("BenchRowName");
    for (int row = 0; name(row); ++row) {
        if (!std::regex_search(name(row), chosen))
            continue;
        long iterations = 0; // the most of a few trials: one that is interrupted finds too few
        for (std::size_t trial = 0; trial < 3; ++trial) {
            long found = 0;
            sides[0].Time(row, trial, &found);
            iterations = std::max(iterations, found);
        }
        Times times[2], ratios;
        for (std::size_t round = 0; round < kRounds; ++round) {
            for (const std::size_t i : {round % 2, 1 - round % 2})
                times[i][round] = sides[i].Time(row, round, &iterations);
            ratios[round] = times[0][round] / times[1][round];
        }
        std::printf("%-52s %12.1f %12.1f %8.3f  %.3f to %.3f\n", name(row), Quartile(times[0], 2),
                    Quartile(times[1], 2), Quartile(ratios, 2), Quartile(ratios, 1), Quartile(ratios, 3));
        std::fflush(stdout);
    }
}

} // namespace

int main(int argc, char **argv)
{
    std::string isa, other, filter = ".";
    std::vector<char *> rest = {argv[0]};
    for (int i = 1; i < argc; ++i) {
        const std::string_view argument = argv[i];
        const auto value = [&](std::string_view option) { return std::string(argument.substr(option.size())); };
        if (argument == "--help" || argument == "-h") {
            std::fputs(kHelp, stdout);
            return 0;
        }
        if (argument.starts_with("--isa="))
            isa = value("--isa=");
        else if (argument.starts_with("--compare="))
            other = value("--compare=");
        else if (argument == "--compare" && i + 1 < argc)
            other = argv[++i];
        else
            rest.push_back(argv[i]);
    }
    const fs::path mine = Libpcm(Program().parent_path().parent_path(), isa);
    if (other.empty()) {
        const Bench bench(LM_ID_BASE, mine, "pcm_bench_rows.so");
        return bench.Function<decltype(BenchRun)>("BenchRun")(static_cast<int>(rest.size()), rest.data());
    }
    for (const std::string_view argument : std::vector(rest.begin() + 1, rest.end())) {
        constexpr std::string_view kFilter = "--benchmark_filter=";
        if (!argument.starts_with(kFilter))
            Fail("--compare does not take " + std::string(argument));
        filter = argument.substr(kFilter.size());
    }
    MakeRoom(argv);
    Compare(mine, Libpcm(other, isa), filter);
}
