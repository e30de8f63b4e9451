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
    const auto gather = [=](PCM_SAMPLE *run, pbInt n) { pcmToneGatherSamples(toneB, run, n); };
    pcm::JoinInRuns(dest, samples, gather, pcm___SamplesMul);
}

void pcmModulatedToneGatherSamplesAdd(PCM_TONE *toneA, PCM_TONE *toneB, PCM_SAMPLE *dest, pbInt samples)
{
    CheckTones(toneA, toneB, samples);
    PB_ASSERT(samples == 0 || dest);

    const auto gather = [=](PCM_SAMPLE *run, pbInt n) { pcmModulatedToneGatherSamples(toneA, toneB, run, n); };
    pcm::JoinInRuns(dest, samples, gather, pcm___SamplesAdd);
}

PCM_PACKET *pcmModulatedToneGather(PCM_TONE *toneA, PCM_TONE *toneB, pbInt samples)
{
    CheckTones(toneA, toneB, samples);

    const auto gather = [=](PCM_SAMPLE *dest, pbInt n) { pcmModulatedToneGatherSamples(toneA, toneB, dest, n); };
    return pcm::GatherPacket(samples, gather);
}
