// Tones in several hands, alone and in pairs, beside the waves that they are.
//
// State: three tones, and beside each a wave with its place in the cycle. Invariant: a gather gives the next samples of
// the waves, bit for bit, and advances no other tone. Random steps find faults because counts around
// the lengths of runs, ends of cycles and one tone in both places come together in all ways.
#pragma once

#include "../support.h"

#include <cmath>

/// The samples of a sine, as the headers define them.
struct Wave {
    pbInt period, position = 0;

    Samples Next(pbInt samples)
    {
        Samples next;
        const double step = 6.283185307179586 / static_cast<double>(period);
        for (; std::ssize(next) < samples; position = (position + 1) % period)
            next.push_back(static_cast<float>(std::sin(static_cast<double>(position) * step)));
        return next;
    }
};

/// What is gathered from tones, and how a sample is made of one of each.
struct Generator {
    const char *name;
    void (*gatherSamples)(pcm::Tone &, pcm::Tone &, std::span<PCM_SAMPLE>);
    void (*gatherSamplesAdd)(pcm::Tone &, pcm::Tone &, std::span<PCM_SAMPLE>);
    pcm::Packet (*gather)(pcm::Tone &, pcm::Tone &, pbInt);
    PCM_SAMPLE (*combine)(PCM_SAMPLE a, PCM_SAMPLE b); ///< null for the first tone alone
};

inline const Generator kGenerators[] = {
    {"tone", [](auto &a, auto &, auto dest) { a.GatherSamples(dest); },
     [](auto &a, auto &, auto dest) { a.GatherSamplesAdd(dest); },
     [](auto &a, auto &, auto samples) { return a.Gather(samples); }, nullptr},
    {"dual", pcm::DualToneGatherSamples, pcm::DualToneGatherSamplesAdd, pcm::DualToneGather,
     [](PCM_SAMPLE a, PCM_SAMPLE b) { return (a + b) * 0.5f; }},
    {"modulated", pcm::ModulatedToneGatherSamples, pcm::ModulatedToneGatherSamplesAdd, pcm::ModulatedToneGather,
     [](PCM_SAMPLE a, PCM_SAMPLE b) { return a * b; }},
};

class ToneModel {
public:
    explicit ToneModel(Random &random) : random_(random)
    {
        for (Held &held : helds_) {
            const pbInt longest[] = {24, 300, 50000, INT64_MAX}, period = random.From(1, longest[random.From(0, 3)]);
            held = {pcm::Tone(period), {period}};
        }
    }

    void Step()
    {
        const Generator &generator = random_.Of(kGenerators);
        Held &a = helds_[random_.From(0, 2)], &b = helds_[random_.From(0, 2)];
        const pbInt counts[] = {random_.From(0, 3), random_.From(126, 130), random_.From(254, 300)};
        const pbInt count = counts[random_.From(0, 2)], operation = random_.From(0, 2);
        Samples dest = random_.Run(count), expected;
        const pbInt run = operation == 0 && generator.combine ? 128 : count; // shows where one tone is both
        for (pbInt done = 0; done < count; done += run) {
            const pbInt samples = std::min(run, count - done);
            const Samples first = a.wave.Next(samples), second = generator.combine ? b.wave.Next(samples) : first;
            for (std::size_t i = 0; i < first.size(); ++i) {
                const float sample = generator.combine ? generator.combine(first[i], second[i]) : first[i];
                expected.push_back(operation == 0 ? dest[expected.size()] + sample : sample);
            }
        }
        if (operation == 0)
            generator.gatherSamplesAdd(a.tone, b.tone, dest);
        else if (operation == 1)
            generator.gatherSamples(a.tone, b.tone, dest);
        if (operation == 2) {
            const pcm::Packet pkt = generator.gather(a.tone, b.tone, count);
            ExpectSound(pkt.Get());
            dest = pkt.Channels() == 1 ? SamplesOf(pkt.Get()) : Samples();
        }
        ASSERT_TRUE(SameBits(dest, expected)) << generator.name;
    }

private:
    struct Held {
        pcm::Tone tone;
        Wave wave{};
    };

    Random &random_;
    Held helds_[3];
};
