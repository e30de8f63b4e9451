// The sample kernels against one plain loop, at all lengths around the vectors' width, all alignments, and overlapping.
#include "support.h"

TEST(Samples, KernelsAreOneAscendingPassAlsoWhereArraysOverlap)
{
    // clang-format off
    const struct {
        const char *name;
        void (*flat)(float *dest, const float *source, pbInt samples);
        decltype(&pcm___SamplesChannelCopy) channel;
        float (*combine)(float dest, float source);
    } kernels[] = {
        {"add", pcm___SamplesAdd, pcm___SamplesChannelAdd, [](auto dest, auto source) { return dest + source; }},
        {"mul", pcm___SamplesMul, pcm___SamplesChannelMul, [](auto dest, auto source) { return dest * source; }},
        {"move", pcm___SamplesMove, pcm___SamplesChannelCopy, [](auto, auto source) { return source; }},
        {"scale", [](auto dest, auto, auto samples) { pcm___SamplesScale(dest, samples, 0.1); },
         [](auto dest, auto channel, auto channels, auto, auto, auto, auto frames) {
             pcm___SamplesChannelScale(dest, channel, channels, frames, 0.1);
         }, [](auto dest, auto) { return dest * 0.1f; }},
        {"zero", [](auto dest, auto, auto samples) { pcm___SamplesZero(dest, samples); },
         [](auto dest, auto channel, auto channels, auto, auto, auto, auto frames) {
             pcm___SamplesChannelZero(dest, channel, channels, frames);
         }, [](auto, auto) { return 0.0f; }},
    };
    // clang-format on
    Random random;
    for (const auto &kernel : kernels)
        for (pbInt length = 0; length <= 70; ++length) {
            const Samples before = random.OddRun(1400);
            for (const pbInt distance : {-40, -16, -9, -2, -1, 0, 1, 2, 3, 8, 17, 80, 700})
                for (const pbInt most : {0, 2, 2, 9}) { // channels; none for the kernels that know of none
                    const pbInt channels = random.From(1, std::max<pbInt>(most, 1)), at = random.From(0, channels - 1),
                                fromChannels = random.From(1, std::max<pbInt>(most, 1)),
                                from = random.From(0, fromChannels - 1), start = random.From(48, 55);
                    SCOPED_TRACE(testing::Message() << kernel.name << " " << length << " at " << distance << ", " << at
                                                    << " of " << channels << ", " << from << " of " << fromChannels);
                    Samples got = before, wanted = before;
                    float *const dest = got.data() + start, *const source = dest + distance;
                    if (most)
                        kernel.channel(dest, at, channels, source, from, fromChannels, length);
                    else
                        kernel.flat(dest, source, length);
                    const Samples &read = kernel.flat == pcm___SamplesMove && !most ? before : wanted; // as it was
                    for (pbInt i = 0; i < length; ++i) {
                        float &sample = wanted[start + i * channels + at];
                        sample = kernel.combine(sample, read[start + distance + i * fromChannels + from]);
                    }
                    ASSERT_TRUE(Same(got, wanted));
                }
        }
}
