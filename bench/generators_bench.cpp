// The generators: beside the sine alone, the walk with a division for each sample, and memcpy.
#include "support.h"

#include <pcm/pcm.hpp>

#include <cmath>

namespace {

constexpr pbInt kPeriodA = 69, kPeriodB = 40; // 697 Hz and 1209 Hz at 48000 frames per second
constexpr double kTwoPi = 6.283185307179586;

/// A row whose job writes or changes an array of samples.
template <class Job> void Row(const std::string &name, std::size_t samples, const std::string &yardstick, Job job)
{
    AddRow(name, yardstick, [samples, job](benchmark::State &state) mutable {
        Array<float> dest(samples);
        for (auto _ : state) {
            job(std::span(dest));
            benchmark::ClobberMemory();
        }
    });
}

/// One tone's walk as one would first write it.
struct DividingWalk {
    pbInt period, position = 0;
    double step = kTwoPi / static_cast<double>(period);

    void operator()(std::span<float> dest)
    {
        for (float &sample : dest) {
            sample = static_cast<float>(std::sin(static_cast<double>(position) * step));
            position = (position + 1) % period;
        }
    }
};

/// The sine of the same angles, and nothing else: they are there already.
struct SineAlone {
    std::vector<double> angles;

    explicit SineAlone(std::size_t samples)
    {
        for (std::size_t i = 0; i < samples; ++i)
            angles.push_back(static_cast<double>(i % kPeriodA) * (kTwoPi / kPeriodA));
    }
    void operator()(std::span<float> dest)
    {
        for (std::size_t i = 0; i < dest.size(); ++i)
            dest[i] = static_cast<float>(std::sin(angles[i]));
    }
};

const bool registered = [] {
    for (const std::size_t samples : {160, 960, 65536}) {
        const std::string size = std::string("/").append(std::to_string(samples));
        const std::string copy = Memcpy(4 * samples, 4 * samples), sine = "sine alone" + size,
                          dividing = "tone walk with %" + size;
        Row(sine, samples, copy, SineAlone(samples));
        Row(dividing, samples, sine, DividingWalk{kPeriodA});
        Row("tone/gather" + size, samples, dividing,
            [tone = pcm::Tone(kPeriodA)](std::span<float> dest) mutable { tone.GatherSamples(dest); });
        Row("tone/gather add" + size, samples, sine,
            [tone = pcm::Tone(kPeriodA)](std::span<float> dest) mutable { tone.GatherSamplesAdd(dest); });
        Row("tone/gather packet" + size, samples, sine, [tone = pcm::Tone(kPeriodA)](std::span<float> dest) mutable {
            benchmark::DoNotOptimize(tone.Gather(static_cast<pbInt>(dest.size())).Get());
        });

        const auto ofTwo = [&](const std::string &name, auto gather) {
            Row(name + size, samples, sine,
                [gather, a = pcm::Tone(kPeriodA), b = pcm::Tone(kPeriodB)](std::span<float> dest) mutable {
                    gather(a, b, dest);
                });
        };
        ofTwo("dual tone/gather", pcm::DualToneGatherSamples);
        ofTwo("dual tone/gather add", pcm::DualToneGatherSamplesAdd);
        ofTwo("modulated tone/gather", pcm::ModulatedToneGatherSamples);
        ofTwo("modulated tone/gather add", pcm::ModulatedToneGatherSamplesAdd);

        Row("noise/gather" + size, samples, copy, pcm::NoiseGatherSamples);
        Row("noise/gather add" + size, samples, Memcpy(8 * samples, 4 * samples), pcm::NoiseGatherSamplesAdd);
    }
    return true;
}();

} // namespace
