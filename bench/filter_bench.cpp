// The filter: a packet written and read back, beside as many fused multiply-adds as the processor can do at best, the
// plain loop over a ring, and other libraries' filters.
#include "support.h"

#include <pcm/pcm.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>

#ifdef __x86_64__
#include <immintrin.h>
#endif

#ifdef PCM_BENCH_LIQUID
#include <complex>
#include <liquid/liquid.h>
#endif
#ifdef PCM_BENCH_OPENCV
#include <opencv2/imgproc.hpp>
#endif

namespace {

// The best that the multipliers can do: independent sums, nothing loaded or stored.

constexpr int kSums = 12;

#ifdef __x86_64__
__attribute__((target("avx512f"))) void Peak512(std::size_t steps)
{
    __m512 sums[kSums] = {}, factor = _mm512_set1_ps(0.5f);
    benchmark::DoNotOptimize(factor);
    for (std::size_t i = 0; i < steps; i += 16 * kSums)
        for (__m512 &sum : sums)
            sum = _mm512_fmadd_ps(sum, factor, factor);
    for (__m512 &sum : sums)
        benchmark::DoNotOptimize(sum);
}

__attribute__((target("avx2,fma"))) void Peak256(std::size_t steps)
{
    __m256 sums[kSums] = {}, factor = _mm256_set1_ps(0.5f);
    benchmark::DoNotOptimize(factor);
    for (std::size_t i = 0; i < steps; i += 8 * kSums)
        for (__m256 &sum : sums)
            sum = _mm256_fmadd_ps(sum, factor, factor);
    for (__m256 &sum : sums)
        benchmark::DoNotOptimize(sum);
}
#endif

void PeakPlain(std::size_t steps)
{
    std::array<float, 4 *kSums> sums = {};
    float factor = 0.5f;
    benchmark::DoNotOptimize(factor);
    for (std::size_t i = 0; i < steps; i += sums.size())
        for (float &sum : sums)
            sum = std::fma(sum, factor, factor);
    benchmark::DoNotOptimize(sums);
}

/// Adds the row of a number of fused multiply-adds, as a yardstick. @return its name
std::string Peak(std::size_t steps)
{
    const std::string name = std::string("fma/").append(std::to_string(steps));
    auto *peak = PeakPlain;
#ifdef __x86_64__
    const std::string_view isa = pcm___ModuleIsa();
    peak = isa == "avx512" ? Peak512 : isa == "avx2" ? Peak256 : PeakPlain;
#endif
    AddRow(name, "", [peak, steps](benchmark::State &state) {
        for (auto _ : state)
            peak(steps);
    });
    return name;
}

/// The definition, word for word.
class Ring {
public:
    Ring(std::span<const float> taps, std::size_t channels)
        : taps_(taps), channels_(channels), rows_(taps.size() * channels)
    {
    }

    void Filter(float *dest, const float *source, std::size_t frames)
    {
#ifdef __x86_64__
        if (__builtin_cpu_supports("fma"))
            return WalkFused(dest, source, frames);
#endif
        Walk(dest, source, frames);
    }

private:
#ifdef __x86_64__
    __attribute__((target("fma"))) void WalkFused(float *dest, const float *source, std::size_t frames)
    {
        Walk(dest, source, frames);
    }
#endif

    [[gnu::always_inline]] void Walk(float *dest, const float *source, std::size_t frames)
    {
        const std::size_t length = taps_.size();
        for (std::size_t i = 0; i < frames; ++i) {
            std::copy_n(source + i * channels_, channels_, &rows_[next_ * channels_]);
            next_ = (next_ + 1) % length;
            for (std::size_t c = 0; c < channels_; ++c) {
                float sum = 0.0f;
                for (std::size_t k = 0; k < length; ++k)
                    sum = __builtin_fmaf(taps_[length - 1 - k], rows_[(next_ + k) % length * channels_ + c], sum);
                dest[i * channels_ + c] = sum < -1.0f ? -1.0f : sum > 1.0f ? 1.0f : sum;
            }
        }
    }

    std::span<const float> taps_;
    std::size_t channels_, next_ = 0;
    std::vector<float> rows_;
};

void AddRows(PCM_FILTER_TYPE type, pbInt taps, pbInt channels, pbInt frames)
{
    const auto samples = static_cast<std::size_t>(channels * frames);
    const std::string peak = Peak(samples * static_cast<std::size_t>(taps));
    std::string job = "/";
    job.append(std::to_string(taps)).append(" taps/").append(std::to_string(channels)).append("ch/");
    job.append(std::to_string(frames));

    AddRow("filter" + job, peak, [=](benchmark::State &state) {
        pcm::Filter filter(pcm::FilterCoefficients(type), channels);
        const pcm::Packet pkt(Noise(samples), channels);
        for (auto _ : state) {
            filter.Write(pkt);
            benchmark::DoNotOptimize(filter.Read().Samples().data());
        }
    });
    AddRow("plain ring" + job, peak, [=](benchmark::State &state) {
        const pcm::FilterCoefficients set(type);
        Ring ring(set.Taps(), static_cast<std::size_t>(channels));
        const Array<float> source = Noise(samples);
        Array<float> dest(samples);
        for (auto _ : state) {
            ring.Filter(dest.data(), source.data(), static_cast<std::size_t>(frames));
            benchmark::ClobberMemory();
        }
    });
#ifdef PCM_BENCH_LIQUID
    if (channels == 1)
        AddRow("liquid-dsp/filter" + job, peak, [=](benchmark::State &state) {
            Array<float> source = Noise(samples), dest(samples);
            const pcm::FilterCoefficients set(type);
            std::vector<float> h(set.Taps().begin(), set.Taps().end());
            firfilt_rrrf filter = firfilt_rrrf_create(h.data(), static_cast<unsigned>(taps));
            for (auto _ : state) {
                firfilt_rrrf_execute_block(filter, source.data(), static_cast<unsigned>(frames), dest.data());
                benchmark::ClobberMemory();
            }
            firfilt_rrrf_destroy(filter);
        });
#endif
#ifdef PCM_BENCH_OPENCV
    AddRow("opencv/filter" + job, peak, [=](benchmark::State &state) { // an image of one line; it keeps no history
        Array<float> source = Noise(samples), dest(samples);
        const pcm::FilterCoefficients set(type);
        std::vector<float> h(set.Taps().begin(), set.Taps().end());
        const cv::Mat row(1, static_cast<int>(taps), CV_32F, h.data());
        const int columns = static_cast<int>(frames), format = CV_32FC(static_cast<int>(channels));
        const cv::Mat from(1, columns, format, source.data());
        cv::Mat to(1, columns, format, dest.data());
        for (auto _ : state) {
            cv::filter2D(from, to, -1, row);
            benchmark::ClobberMemory();
        }
    });
#endif
}

/// A telephone network's side of a studio recording: 48 kHz stereo bytes to 8 kHz mono mu-law bytes in packets of 20
/// ms.
void AddPipeline()
{
    AddRow("pipeline/48 kHz stereo s16le to 8 kHz mono mu-law/20 ms", "", [](benchmark::State &state) {
        constexpr pbInt kFrames = 960;
        const pcm::Packet noise(Noise(2 * kFrames), 2);
        const pcm::Buffer bytes = noise.Encode(PCM_ENCODING_INT_16);
        pcm::Filter filter(pcm::FilterCoefficients(PCM_FILTER_TYPE_LOWPASS_4000_AT_48000), 1);
        for (auto _ : state) {
            pcm::Packet pkt = pcm::Packet::TryDecode(bytes, PCM_ENCODING_INT_16, 2);
            pkt.ChannelsAdjustReplaceWithDownmix(1);
            filter.Write(pkt);
            pcm::Packet filtered = filter.Gather(kFrames);
            filtered.FramesReduce(6);
            benchmark::DoNotOptimize(filtered.Encode(PCM_ENCODING_G711_MULAW).Bytes().data());
        }
        state.counters[kRealTime] = benchmark::Counter(0.02, benchmark::Counter::kIsIterationInvariantRate);
    });
}

const bool registered = [] {
    for (const pbInt frames : {160, 960})
        for (const pbInt channels : {1, 2, 8}) {
            AddRows(PCM_FILTER_TYPE_LOWPASS_4000_AT_16000, 16, channels, frames);
            AddRows(PCM_FILTER_TYPE_LOWPASS_4000_AT_24000, 24, channels, frames);
            AddRows(PCM_FILTER_TYPE_LOWPASS_4000_AT_48000, 48, channels, frames);
        }
    for (const pbInt channels : {3, 5, 6})
        AddRows(PCM_FILTER_TYPE_LOWPASS_4000_AT_48000, 48, channels, 960);
    AddPipeline();
    return true;
}();

} // namespace
