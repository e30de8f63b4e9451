/**
   @file
   Modulated tones: the product of two tones (amplitude modulation).

   A sample is A * B in single precision, A and B being the next samples of the two tones (pcm_tone.h); it stays within
   full scale. Both tones advance by as many samples as are gathered, and a signal of two different tones is the same
   however it is cut into pieces. One tone may be passed as both: it then gives the samples of A, then those of B, and
   advances by twice as many. The tones must not be gathered from on another thread at the same time.

   @since 1.0
*/
#ifndef PCM_MODULATED_TONE_H
#define PCM_MODULATED_TONE_H

#include <pcm/pcm_tone.h>

PCM_EXTERN_C_BEGIN

/**
   Writes the next samples of the modulated tone into an array.

   @param toneA    the first tone, advanced by the number of samples
   @param toneB    the second tone, advanced likewise; may be toneA
   @param dest     room for the samples; may be null with 0 samples
   @param samples  the number of samples, at least 0

   Ends the process when a tone is null, samples is negative, or dest is null with samples above 0.
*/
PCM_API void pcmModulatedToneGatherSamples(PCM_TONE *toneA, PCM_TONE *toneB, PCM_SAMPLE *dest, pbInt samples);

/**
   Adds the next samples of the modulated tone to an array, in single precision, without clamping.

   Parameters and checks are those of pcmModulatedToneGatherSamples. Works in runs of 128 samples, which shows when both
   tones are one: each run then takes its samples of A, then its samples of B.
*/
PCM_API void pcmModulatedToneGatherSamplesAdd(PCM_TONE *toneA, PCM_TONE *toneB, PCM_SAMPLE *dest, pbInt samples);

/**
   Makes a packet of one channel of the next samples of the modulated tone.

   @param toneA    the first tone, advanced by the number of samples
   @param toneB    the second tone, advanced likewise; may be toneA
   @param samples  the number of samples, at least 0
   @return a new packet, owned by the caller

   Ends the process when a tone is null or samples is negative.
*/
PCM_API PCM_PACKET *pcmModulatedToneGather(PCM_TONE *toneA, PCM_TONE *toneB, pbInt samples);

PCM_EXTERN_C_END

#endif
