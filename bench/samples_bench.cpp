// The sample kernels: flat and by channel.
#include "support.h"

#include <pcm/pcm.h>

#ifdef PCM_BENCH_VOLK
#include <volk/volk.h>
#endif

namespace {

constexpr std::size_t kSizes[] = {160, 960, 65536};

/// A row over an array that is read and written and one that is read.
template <class Job> void Row(const std::string &name, std::size_t samples, const std::string &yardstick, Job job)
{
    AddRow(name, yardstick, [samples, job](benchmark::State &state) {
        Array<float> dest(samples), source = Noise(samples);
        for (auto _ : state) {
            job(dest.data(), source.data(), static_cast<pbInt>(samples));
            benchmark::ClobberMemory();
        }
    });
}

const bool registered = [] {
    for (const std::size_t samples : kSizes) {
        const std::string size = std::string("/").append(std::to_string(samples));
        const std::string two = Memcpy(8 * samples, 4 * samples), one = Memcpy(4 * samples, 4 * samples);
        Row("samples/add" + size, samples, two, pcm___SamplesAdd);
        Row("samples/mul" + size, samples, two, pcm___SamplesMul);
        Row("samples/scale" + size, samples, one,
            [](float *dest, const float *, pbInt n) { pcm___SamplesScale(dest, n, 1.0); });
        // The yardsticks read and write the whole frames, as the processor does.
        const auto frames = static_cast<pbInt>(samples);
        AddRow("samples/channel copy, 1 into 2" + size, Memcpy(12 * samples, 8 * samples),
               [=](benchmark::State &state) {
                   Array<float> dest(2 * samples), source = Noise(samples);
                   for (auto _ : state) {
                       pcm___SamplesChannelCopy(dest.data(), 1, 2, source.data(), 0, 1, frames);
                       benchmark::ClobberMemory();
                   }
               });
        AddRow("samples/channel copy, 1 out of 6" + size, Memcpy(24 * samples, 4 * samples),
               [=](benchmark::State &state) {
                   Array<float> dest(samples), source = Noise(6 * samples);
                   for (auto _ : state) {
                       pcm___SamplesChannelCopy(dest.data(), 0, 1, source.data(), 4, 6, frames);
                       benchmark::ClobberMemory();
                   }
               });
#ifdef PCM_BENCH_VOLK
        Row("volk/add" + size, samples, two, [](float *dest, const float *source, pbInt n) {
            volk_32f_x2_add_32f(dest, dest, source, static_cast<unsigned>(n));
        });
        Row("volk/scale" + size, samples, one, [](float *dest, const float *, pbInt n) {
            volk_32f_s32f_multiply_32f(dest, dest, 1.0f, static_cast<unsigned>(n));
        });
#endif
    }
    return true;
}();

} // namespace
