// What becomes of talkers on bad lines (line.h), for docs/live.md:
//     line_data table  a row of the table for each line, in minutes of computing instead of hours of talk
//     line_data delay  for gnuplot: the latency over an hour, of talkers whose clocks are slow and fast
#include "line.h"

#include <cstdio>
#include <string>

namespace {

void PrintTable()
{
    for (Line line : kLines) {
        if (line.sine)
            continue;
        line.minutes = line.ppm != 0 && line.talk == 0 ? 60 : line.strays > 1 || line.jump != 0 ? 1 : 10;
        Conference call = MakeCall({2, 2});
        const Heard heard = Listen(line, call);
        std::printf("| %s | %.2f %%", line.name, 100 * heard.wrong);
        if (line.talk == 0)
            std::printf(", %.1f %%", 100 * heard.wrongAtWorst);
        std::printf(" | %.0f to %.0f ms |\n", heard.leastLatency, heard.mostLatency);
    }
}

void PrintDelay()
{
    constexpr std::size_t kSeconds = 10; // of a point
    for (const double ppm : {-200.0, 200.0}) {
        Conference call = MakeCall({2, 2});
        const Line line = {.name = "", .minutes = 60, .ppm = ppm, .jitter = 20};
        const Heard heard = Listen(line, call);
        std::printf("\"%.0f ppm %s\"\n", std::fabs(ppm), ppm < 0 ? "slow" : "fast");
        for (std::size_t i = kSeconds; i + kSeconds <= heard.latency.size(); i += kSeconds) {
            double sum = 0;
            for (std::size_t second = i; second < i + kSeconds; ++second)
                sum += heard.latency[second];
            std::printf("%.3f %.2f\n", static_cast<double>(i) / 60, sum / kSeconds);
        }
        std::printf("\n\n");
    }
}

} // namespace

int main(int argc, char **argv)
{
    const std::string what = argc == 2 ? argv[1] : "";
    if (what != "table" && what != "delay")
        return std::fputs("Usage: line_data table|delay\n", stderr), 1;
    const pcm::Module module;
    what == "table" ? PrintTable() : PrintDelay();
}
