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

    const auto gather = [=](PCM_SAMPLE *run, pbInt n) { pcmDualToneGatherSamples(toneA, toneB, run, n); };
    pcm::JoinInRuns(dest, samples, gather, pcm___SamplesAdd);
}

PCM_PACKET *pcmDualToneGather(PCM_TONE *toneA, PCM_TONE *toneB, pbInt samples)
{
    CheckTones(toneA, toneB, samples);

    const auto gather = [=](PCM_SAMPLE *dest, pbInt n) { pcmDualToneGatherSamples(toneA, toneB, dest, n); };
    return pcm::GatherPacket(samples, gather);
}
