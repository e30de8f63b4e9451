// The dual tone: the mean of two tones, so that it stays within full scale.
#include "../pb/pb_assert.h"
#include "pcm_generator.h"

#include <pcm/pcm_dual_tone.h>
#include <pcm/pcm_samples.h>

namespace {

void CheckTones(PCM_TONE *toneA, PCM_TONE *toneB, pbInt samples)
{
    PB_ASSERT(toneA);
    PB_ASSERT(toneB);
    PB_ASSERT(samples >= 0);
}

} // namespace

void pcmDualToneGatherSamples(PCM_TONE *toneA, PCM_TONE *toneB, PCM_SAMPLE *dest, pbInt samples)
{
    CheckTones(toneA, toneB, samples);
    PB_ASSERT(samples == 0 || dest);

    pcmToneGatherSamples(toneA, dest, samples);
    pcmToneGatherSamplesAdd(toneB, dest, samples);
    pcm___SamplesScale(dest, samples, 0.5);
}

void pcmDualToneGatherSamplesAdd(PCM_TONE *toneA, PCM_TONE *toneB, PCM_SAMPLE *dest, pbInt samples)
{
    CheckTones(toneA, toneB, samples);
    PB_ASSERT(samples == 0 || dest);

    pcm::JoinInRuns(dest, samples, pcm___SamplesAdd, pcmDualToneGatherSamples, toneA, toneB);
}

PCM_PACKET *pcmDualToneGather(PCM_TONE *toneA, PCM_TONE *toneB, pbInt samples)
{
    CheckTones(toneA, toneB, samples);

    return pcm::GatherPacket(samples, pcmDualToneGatherSamples, toneA, toneB);
}
