// The modulated tone: the product of two tones, one the amplitude of the other.
#include "../pb/pb_assert.h"
#include "pcm_generator.h"

#include <pcm/pcm_modulated_tone.h>
#include <pcm/pcm_samples.h>

namespace {

void CheckTones(PCM_TONE *toneA, PCM_TONE *toneB, pbInt samples)
{
    PB_ASSERT(toneA);
    PB_ASSERT(toneB);
    PB_ASSERT(samples >= 0);
}

} // namespace

void pcmModulatedToneGatherSamples(PCM_TONE *toneA, PCM_TONE *toneB, PCM_SAMPLE *dest, pbInt samples)
{
    CheckTones(toneA, toneB, samples);
    PB_ASSERT(samples == 0 || dest);

    pcmToneGatherSamples(toneA, dest, samples); // all of A before any of B, which may be the same tone
    pcm::JoinInRuns(dest, samples, pcm___SamplesMul, pcmToneGatherSamples, toneB);
}

void pcmModulatedToneGatherSamplesAdd(PCM_TONE *toneA, PCM_TONE *toneB, PCM_SAMPLE *dest, pbInt samples)
{
    CheckTones(toneA, toneB, samples);
    PB_ASSERT(samples == 0 || dest);

    pcm::JoinInRuns(dest, samples, pcm___SamplesAdd, pcmModulatedToneGatherSamples, toneA, toneB);
}

PCM_PACKET *pcmModulatedToneGather(PCM_TONE *toneA, PCM_TONE *toneB, pbInt samples)
{
    CheckTones(toneA, toneB, samples);

    return pcm::GatherPacket(samples, pcmModulatedToneGatherSamples, toneA, toneB);
}
