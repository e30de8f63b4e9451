// A benchmark row is a name, a yardstick and a body. The yardstick is the name of another row of the same run; the
// program prints each row's time as a multiple of its yardstick's, and of the fastest of its peers: rows of the same
// name with another library before it, "volk/" or "sndfile/", that do the same work.
#pragma once

#include <benchmark/benchmark.h>

#include <cstddef>
#include <functional>
#include <new>
#include <string>
#include <vector>

/// Adds a row. Rows without a yardstick are yardsticks themselves. A name that is there already is not added again.
void AddRow(const std::string &name, const std::string &yardstick, std::function<void(benchmark::State &)> body);

/// The counter of a row that says how many seconds of audio it handles in a second.
inline const char kRealTime[] = "real time";

/// Adds the row of a memcpy that reads and writes as many bytes in all as a job that reads `in` and writes `out`.
/// @return its name, to be the job's yardstick
std::string Memcpy(std::size_t in, std::size_t out);

/// Where the next array of a body begins in a page of 4096 bytes. It is aligned to 64 bytes. From where the two before
/// it begin it is at least 512 away, modulo 4096: a load waits for a store not long before it whose address seems the
/// same, and often two arrays of one size happen to lie so. It changes from turn to turn of a row, so that no result
/// stands on one place.
std::size_t NextPlace();

/// Allocates arrays at such places.
template <class T> struct Placed {
    using value_type = T;

    Placed() = default;
    template <class U> explicit Placed(const Placed<U> &) {}

    T *allocate(std::size_t count)
    {
        void *pages = ::operator new (count * sizeof(T) + kPage, std::align_val_t{kPage});
        return reinterpret_cast<T *>(static_cast<std::byte *>(pages) + NextPlace());
    }
    void deallocate(T *array, std::size_t)
    {
        const auto place = reinterpret_cast<std::size_t>(array) % kPage;
        ::operator delete (reinterpret_cast<std::byte *>(array) - place, std::align_val_t{kPage});
    }
    bool operator==(const Placed &) const = default;

    static constexpr std::size_t kPage = 4096;
};

/// What a row reads or writes in its loop.
template <class T> using Array = std::vector<T, Placed<T>>;

/// Samples in [-1, 1] that are the same in every run.
Array<float> Noise(std::size_t samples);
