/**
   @file
   Dual tones: two tones at once, as a telephone's keys and call-progress signals are.

   A sample is (A + B) * 0.5 in single precision, A and B being the next samples of the two tones (pcm_tone.h); it stays
   within full scale. Both tones advance by as many samples as are gathered, and a signal of two different tones is the
   same however it is cut into pieces. One tone may be passed as both: it then gives the samples of A, then those of B,
   and advances by twice as many. The tones must not be gathered from on another thread at the same time.

   @since 1.0
*/
#ifndef PCM_DUAL_TONE_H
#define PCM_DUAL_TONE_H

#include <pcm/pcm_tone.h>

PCM_EXTERN_C_BEGIN

/**
   Writes the next samples of the dual tone.

   @param toneA    advanced by so many samples
   @param toneB    the same; may be toneA
   @param dest     room for the samples; may be null with 0 of them
   @param samples  how many, at least 0

   Ends the process when a tone is null or an argument is missing or out of range.
*/
PCM_API void pcmDualToneGatherSamples(PCM_TONE *toneA, PCM_TONE *toneB, PCM_SAMPLE *dest, pbInt samples);

/**
   As pcmDualToneGatherSamples, adding to what dest holds: in single precision, nothing is clamped. Works in runs of 128
   samples, which shows when both tones are one: each run then takes its samples of A, then its samples of B.
*/
PCM_API void pcmDualToneGatherSamplesAdd(PCM_TONE *toneA, PCM_TONE *toneB, PCM_SAMPLE *dest, pbInt samples);

/**
   @return a new packet, owned by the caller, of one channel with the next samples of the dual tone, at least 0. Ends
   the process when a tone is null or samples is negative.
*/
PCM_API PCM_PACKET *pcmDualToneGather(PCM_TONE *toneA, PCM_TONE *toneB, pbInt samples);

PCM_EXTERN_C_END

#endif
