// Tones, plainly, and tones in several hands.
#pragma once

#include "../support.h"

#include <algorithm>
#include <cmath>

/// The samples of a period, as the headers define them.
struct Wave {
    pbInt period;
    pbInt position = 0;

    PCM_SAMPLE Next()
    {
        const double step = 6.283185307179586 / static_cast<double>(period);
        const double sine = std::sin(static_cast<double>(position) * step);
        position = (position + 1) % period;
        return static_cast<PCM_SAMPLE>(sine);
    }
    Samples Run(pbInt samples)
    {
        Samples run;
        for (pbInt i = 0; i < samples; ++i)
            run.push_back(Next());
        return run;
    }
};

/// The two combinations, each with what it makes of two samples.
struct Pair {
    const char *name;
    void (*gatherSamples)(PCM_TONE *, PCM_TONE *, PCM_SAMPLE *, pbInt);
    void (*gatherSamplesAdd)(PCM_TONE *, PCM_TONE *, PCM_SAMPLE *, pbInt);
    PCM_PACKET *(*gather)(PCM_TONE *, PCM_TONE *, pbInt);
    PCM_SAMPLE (*combine)(PCM_SAMPLE a, PCM_SAMPLE b);

    Samples Combine(const Samples &a, const Samples &b) const
    {
        Samples combined;
        for (std::size_t i = 0; i < a.size(); ++i)
            combined.push_back(combine(a[i], b[i]));
        return combined;
    }
};

inline const Pair kPairs[] = {
    {"dual", pcmDualToneGatherSamples, pcmDualToneGatherSamplesAdd, pcmDualToneGather,
     [](PCM_SAMPLE a, PCM_SAMPLE b) { return (a + b) * 0.5f; }},
    {"modulated", pcmModulatedToneGatherSamples, pcmModulatedToneGatherSamplesAdd, pcmModulatedToneGather,
     [](PCM_SAMPLE a, PCM_SAMPLE b) { return a * b; }},
};

/// Sums of what was there and what comes, sample by sample.
inline Samples Sums(Samples dest, const Samples &source)
{
    for (std::size_t i = 0; i < dest.size(); ++i)
        dest[i] += source[i];
    return dest;
}

/// Tones that several hold, each beside the wave that it should be, gathered from alone and in pairs.
class ToneModel {
public:
    explicit ToneModel(Random &random) : random_(random)
    {
        for (Held &held : helds_) {
            const pbInt periods[] = {random.From(1, 24), random.From(100, 300), random.From(1, 50000), INT64_MAX};
            const pbInt period = periods[random.From(0, 3)];
            held = {pcm::Tone(period), {period}};
        }
    }

    /// Gathers a number of samples around the lengths of runs and of tables.
    void Step()
    {
        const pbInt counts[] = {random_.From(0, 3), random_.From(126, 130), random_.From(254, 300),
                                random_.OneIn(8) ? random_.From(8190, 8194) : 40};
        const pbInt count = counts[random_.From(0, 3)];
        Held &a = helds_[random_.From(0, 2)], &b = helds_[random_.From(0, 2)];
        const Pair *const pair = random_.OneIn(2) ? nullptr : &kPairs[random_.From(0, 1)];
        const auto next = [&](pbInt samples) {
            const Samples first = a.wave.Run(samples);
            return pair ? pair->Combine(first, b.wave.Run(samples)) : first;
        };
        Samples dest = random_.Run(std::min<pbInt>(count, 10)), expected;
        dest.resize(static_cast<std::size_t>(count), 0.75f);
        switch (random_.From(0, 2)) {
        case 0:
            if (pair)
                pair->gatherSamples(a.tone.Get(), b.tone.Get(), dest.data(), count);
            else
                a.tone.GatherSamples(dest);
            expected = next(count);
            break;
        case 1: // in runs, which shows where one tone is both
            for (pbInt done = 0; done < count; done += 128)
                for (const PCM_SAMPLE sample : next(std::min<pbInt>(128, count - done)))
                    expected.push_back(dest[expected.size()] + sample);
            if (pair)
                pair->gatherSamplesAdd(a.tone.Get(), b.tone.Get(), dest.data(), count);
            else
                a.tone.GatherSamplesAdd(dest);
            break;
        default: {
            const auto pkt =
                pair ? pcm::Packet::Adopt(pair->gather(a.tone.Get(), b.tone.Get(), count)) : a.tone.Gather(count);
            ASSERT_EQ(pkt.Channels(), 1);
            ExpectSound(pkt.Get());
            dest = SamplesOf(pkt.Get());
            expected = next(count);
        }
        }
        ASSERT_EQ(BitsOf(dest), BitsOf(expected));
    }

private:
    struct Held {
        pcm::Tone tone;
        Wave wave{};
    };

    Random &random_;
    Held helds_[3];
};
