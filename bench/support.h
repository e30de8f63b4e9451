// A benchmark row is a name, a yardstick and a body. The yardstick is the name of another row of the same run; the
// program prints each row's time as a multiple of its yardstick's.
#pragma once

#include <benchmark/benchmark.h>

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

/// Adds a row. Rows without a yardstick are yardsticks themselves. A name that is there already is not added again.
void AddRow(const std::string &name, const std::string &yardstick, std::function<void(benchmark::State &)> body);

/// The counter of a row that says how many seconds of audio it handles in a second.
inline const char kRealTime[] = "real time";

/// Adds the row of a memcpy that reads and writes as many bytes in all as a job that reads `in` and writes `out`.
/// @return its name, to be the job's yardstick
std::string Memcpy(std::size_t in, std::size_t out);

/// Samples in [-1, 1] that are the same in every run.
std::vector<float> Noise(std::size_t samples);
