// The tones of the model test, noise and silence, in the hands of the input.
#include "../tests/models/tone_model.h"
#include "fuzz.h"

namespace {

void Others(Random &random)
{
    const pbInt count = random.From(0, 600);
    Samples dest(static_cast<std::size_t>(count), 2.0f);
    const auto within = [](const auto &samples, PCM_SAMPLE low, PCM_SAMPLE high) {
        return std::ranges::all_of(samples, [=](PCM_SAMPLE sample) { return sample >= low && sample <= high; });
    };
    pcm::NoiseGatherSamplesAdd(dest);
    ASSERT_TRUE(within(dest, 1.0f, 3.0f));
    pcm::NoiseGatherSamples(dest);
    ASSERT_TRUE(within(dest, -1.0f, 1.0f));
    pcm::SilenceGatherSamples(dest);
    ASSERT_EQ(BitsOf(dest), std::vector<uint32_t>(dest.size()));
    const auto noise = pcm::NoiseGather(count), silence = pcm::SilenceGather(count);
    ASSERT_TRUE(within(noise.Samples(), -1.0f, 1.0f));
    ASSERT_EQ(BitsOf(SamplesOf(silence.Get())), BitsOf(dest));
    ExpectSound(noise.Get());
}

} // namespace

void Drive(Random &random)
{
    ToneModel model(random);
    while (!random.Done()) {
        model.Step();
        if (random.OneIn(8))
            Others(random);
    }
}
