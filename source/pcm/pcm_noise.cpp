// White noise: stretches of a table of random samples that is filled once. Each stretch takes one random number,
// whatever its length.
#include "../pb/pb_assert.h"
#include "pcm_generator.h"

#include <pcm/pcm_noise.h>
#include <pcm/pcm_samples.h>

#include <pb/pb_random.h>

PCM_SAMPLE *pcm___Noise;

namespace {

constexpr pbInt kLength = 8192;

void CheckRun(const PCM_SAMPLE *dest, pbInt samples)
{
    PB_ASSERT(samples >= 0);
    PB_ASSERT(samples == 0 || dest);
}

/// @tparam lay the sample kernel that copies or adds
template <auto lay> void Walk(PCM_SAMPLE *dest, pbInt samples)
{
    pbInt start = pbRandomNonNegativeIntRange(0, kLength); // a runtime may give kLength itself: an empty first run
    for (pbInt done = 0; done < samples;) {
        const pbInt n = pbIntMin(kLength - start, samples - done);
        lay(dest + done, pcm___Noise + start, n);
        done += n;
        start = (start + n) % kLength;
    }
}

} // namespace

void pcm___NoiseStartup()
{
    pcm___Noise = static_cast<PCM_SAMPLE *>(pbMemAllocN(kLength, PB_SIZEOF(PCM_SAMPLE)));
    for (pbInt k = 0; k < kLength; ++k)
        pcm___Noise[k] = static_cast<PCM_SAMPLE>(pbRandomInt()) * -0x1p-63f; // the full range of integers onto [-1, 1]
}

void pcm___NoiseShutdown()
{
    pbMemFree(pcm___Noise);
    pcm___Noise = nullptr;
}

void pcmNoiseGatherSamples(PCM_SAMPLE *dest, pbInt samples)
{
    CheckRun(dest, samples);

    Walk<pcm___SamplesCopy>(dest, samples);
}

void pcmNoiseGatherSamplesAdd(PCM_SAMPLE *dest, pbInt samples)
{
    CheckRun(dest, samples);

    Walk<pcm___SamplesAdd>(dest, samples);
}

PCM_PACKET *pcmNoiseGather(pbInt samples)
{
    PB_ASSERT(samples >= 0);

    return pcm::GatherPacket(samples, pcmNoiseGatherSamples);
}
