// Level: every sample times one gain.
#include "../pb/pb_assert.h"

#include <pcm/pcm_decibel.h>
#include <pcm/pcm_level.h>
#include <pcm/pcm_samples.h>

#include <pb/pb_real.h>

void pcmLevelAdjustSamples(PCM_SAMPLE *dest, pbInt samples, pbReal decibel)
{
    if (pbRealEquals(decibel, 0.0))
        return;
    pcm___SamplesScale(dest, samples, pcmDecibelToGain(decibel));
}

void pcmLevelAdjust(PCM_PACKET **pkt, pbReal decibel)
{
    PB_ASSERT(pkt);
    PB_ASSERT(*pkt);

    PCM_SAMPLE *samples = pcmPacketMutableBacking(pkt);
    pcmLevelAdjustSamples(samples, pcmPacketFrames(*pkt) * pcmPacketChannels(*pkt), decibel);
}
