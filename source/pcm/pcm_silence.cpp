// Silence: zeros.
#include "pcm_object.h"

#include <pcm/pcm_samples.h>
#include <pcm/pcm_silence.h>

void pcmSilenceGatherSamples(PCM_SAMPLE *dest, pbInt samples)
{
    pcm___SamplesZero(dest, samples);
}

PCM_PACKET *pcmSilenceGather(pbInt frames)
{
    auto pkt = pcm::Ref<PCM_PACKET>::Adopt(pcmPacketCreate(1));
    pcmPacketAppendZero(pkt.Handle(), frames);
    return pkt.Detach();
}
