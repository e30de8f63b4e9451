// The sample kernels: flat and by channel.
#include "support.h"

#include <pcm/pcm.h>

#ifdef PCM_BENCH_VOLK
#include <volk/volk.h>
#endif
#ifdef PCM_BENCH_FFMPEG
/// FFmpeg's kernels are exported, but not declared in public headers: the first of them multiplies.
struct FloatDsp {
    void (*multiply)(float *dest, const float *left, const float *right, int length);
};
extern "C" FloatDsp *avpriv_float_dsp_alloc(int exact);
#endif

namespace {

constexpr std::size_t kSizes[] = {160, 960, 65536};

/// A row over an array that is written, and perhaps read, and one that is read.
template <class Job>
void Row(const std::string &name, const std::string &yardstick, std::size_t dest, std::size_t source, Job job)
{
    AddRow(name, yardstick, [=](benchmark::State &state) {
        Array<float> to(dest);
        const Array<float> from = Noise(source);
        job(to.data(), from.data()); // VOLK chooses its kernel in the first call
        for (auto _ : state) {
            job(to.data(), from.data());
            benchmark::ClobberMemory();
        }
    });
}

void Rows(std::size_t samples)
{
    const auto n = static_cast<pbInt>(samples);
    // Where channels are picked or placed, the yardsticks read and write the whole frames, as the processor does.
    const std::string size = std::string("/").append(std::to_string(samples)), add = "samples/add" + size,
                      mul = "samples/mul" + size, scale = "samples/scale" + size,
                      into = "samples/channel copy, 1 into 2" + size, of2 = "samples/channel copy, 1 out of 2" + size,
                      of6 = "samples/channel copy, 1 out of 6" + size, one = Memcpy(4 * samples, 4 * samples),
                      two = Memcpy(8 * samples, 4 * samples);
    Row(add, two, samples, samples, [=](float *dest, const float *source) { pcm___SamplesAdd(dest, source, n); });
    Row(mul, two, samples, samples, [=](float *dest, const float *source) { pcm___SamplesMul(dest, source, n); });
    Row(scale, one, samples, samples, [=](float *dest, const float *) { pcm___SamplesScale(dest, n, 1.0); });
    Row(into, Memcpy(12 * samples, 8 * samples), 2 * samples, samples,
        [=](float *dest, const float *source) { pcm___SamplesChannelCopy(dest, 1, 2, source, 0, 1, n); });
    Row(of2, Memcpy(8 * samples, 4 * samples), samples, 2 * samples,
        [=](float *dest, const float *source) { pcm___SamplesChannelCopy(dest, 0, 1, source, 0, 2, n); });
    Row(of6, Memcpy(24 * samples, 4 * samples), samples, 6 * samples,
        [=](float *dest, const float *source) { pcm___SamplesChannelCopy(dest, 0, 1, source, 4, 6, n); });
#ifdef PCM_BENCH_VOLK
    const auto count = static_cast<unsigned>(samples);
    Row("volk/" + add, two, samples, samples,
        [=](float *dest, const float *source) { volk_32f_x2_add_32f(dest, dest, source, count); });
    Row("volk/" + mul, two, samples, samples,
        [=](float *dest, const float *source) { volk_32f_x2_multiply_32f(dest, dest, source, count); });
    Row("volk/" + scale, one, samples, samples,
        [=](float *dest, const float *) { volk_32f_s32f_multiply_32f(dest, dest, 1.0f, count); });
    Row("volk/" + of2, Memcpy(8 * samples, 4 * samples), samples, 2 * samples, [=](float *dest, const float *source) {
        volk_32fc_deinterleave_real_32f(dest, reinterpret_cast<const lv_32fc_t *>(source), count);
    });
#endif
#ifdef PCM_BENCH_FFMPEG
    Row("float_dsp/" + mul, two, samples, samples,
        [=, multiply = avpriv_float_dsp_alloc(0)->multiply](float *dest, const float *source) {
            multiply(dest, dest, source, static_cast<int>(n));
        });
#endif
}

const bool registered = [] {
    for (const std::size_t samples : kSizes)
        Rows(samples);
    return true;
}();

} // namespace
