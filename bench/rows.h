// How the benchmark program talks to its rows. They are a shared object of their own, which is loaded after a build of
// the library and then runs that build; a process may hold several such pairs, each in a namespace of its own, with
// its own C library and heap. Hence only numbers and text pass between.
#pragma once

extern "C" {

/// Runs the rows that the arguments of Google Benchmark choose, and prints the medians. @return the exit status
int BenchRun(int argc, char **argv);

/// Starts the library, for the two functions below. @return its instruction set
const char *BenchStart();

/// The name of a row, or null after the last.
const char *BenchRowName(int row);

/// Runs a row once, with its arrays where that turn places them.
/// @param iterations how many in a run; if 0, as many as take 2 ms are found first and left there
/// @return nanoseconds of one iteration
double BenchTime(int row, int turn, long *iterations);
}
