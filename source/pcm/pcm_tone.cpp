// The tone: a sine whose cycle is a whole number of frames. The sine is taken of index * step for every sample, with
// the index inside the cycle, so a tone is as exact after a day as in its first cycle.
#include "pcm_generator.h"
#include "pcm_object.h"

#include <pcm/pcm_tone.h>

#include <pb/pb_real.h>

#include <cmath>

struct PCM_TONE {
    PB_OBJ obj;
    pbInt period;   ///< frames in a cycle, at least 1
    pbInt position; ///< of the next sample within the cycle: from 0 to period - 1
    pbReal step;    ///< radians per frame
};

static constinit PB_SORT pcm___sort_PCM_TONE = pcm::Sort("PCM_TONE", nullptr);

PCM_DEFINE_SORT(pcmTone, PCM_TONE)

namespace {

constexpr pbReal kTwoPi = 6.283185307179586;

void CheckRun(PCM_TONE *tone, const PCM_SAMPLE *dest, pbInt samples)
{
    PB_ASSERT(tone);
    PB_ASSERT(samples >= 0);
    PB_ASSERT(samples == 0 || dest);
}

template <bool kAdds> void Walk(PCM_TONE *tone, PCM_SAMPLE *dest, pbInt samples)
{
    const pbInt period = tone->period;
    pbInt i = tone->position;
    for (pbInt k = 0; k < samples; ++k) {
        const auto sample = static_cast<PCM_SAMPLE>(std::sin(static_cast<pbReal>(i) * tone->step));
        dest[k] = kAdds ? dest[k] + sample : sample;
        if (++i == period)
            i = 0;
    }
    tone->position = i;
}

} // namespace

PCM_TONE *pcmToneCreate(pbInt period)
{
    PB_ASSERT(period > 0);

    auto tone = pcm::CreateObject<PCM_TONE>(pcm___sort_PCM_TONE);
    tone->period = period;
    tone->step = kTwoPi / static_cast<pbReal>(period);
    return tone.Detach();
}

PCM_TONE *pcmToneTryCreateWithFrequency(pbInt frameRate, pbInt hertz)
{
    PB_ASSERT(frameRate > 0);
    PB_ASSERT(hertz > 0);

    const pbInt period = pbRealToInt(static_cast<pbReal>(frameRate) / static_cast<pbReal>(hertz));
    return period < 1 ? nullptr : pcmToneCreate(period);
}

void pcmToneGatherSamples(PCM_TONE *tone, PCM_SAMPLE *dest, pbInt samples)
{
    CheckRun(tone, dest, samples);

    Walk<false>(tone, dest, samples);
}

void pcmToneGatherSamplesAdd(PCM_TONE *tone, PCM_SAMPLE *dest, pbInt samples)
{
    CheckRun(tone, dest, samples);

    Walk<true>(tone, dest, samples);
}

PCM_PACKET *pcmToneGather(PCM_TONE *tone, pbInt samples)
{
    PB_ASSERT(tone);
    PB_ASSERT(samples >= 0);

    return pcm::GatherPacket(samples, pcmToneGatherSamples, tone);
}
