/**
   @file
   Tones: full-scale sines with a period of a whole number of frames.

   A tone continues where the last call ended, so a signal can be gathered in pieces of any size. Sample i of a cycle of
   `period` frames is sin(i * (2 pi / period)), computed in double precision with the mathematics library's sine and
   rounded to a sample; the first sample of a new tone is 0 and the wave rises from there. Tones have one channel.

   A tone is passed by its pointer, not by a handle: gathering advances the one tone that all its holders share. To
   begin again at phase 0, make a new tone. Two threads must not gather from one tone at once.

   @since 1.0
*/
#ifndef PCM_TONE_H
#define PCM_TONE_H

#include <pcm/pcm_packet.h>

PCM_EXTERN_C_BEGIN

/** A sine and its phase. */
typedef struct PCM_TONE PCM_TONE;

/** @name Standard functions of the sort
    @{ */
PCM_DECLARE_SORT(pcmTone, PCM_TONE)
/** @} */

/** Makes a tone with a cycle of period frames. Returns it, owned by the caller. Ends the process for a period below 1.
 */
PCM_API PCM_TONE *pcmToneCreate(pbInt period);

/**
   Makes the tone whose cycle comes nearest to that of a frequency.

   @param frameRate  frames per second, above 0
   @param hertz      the frequency wanted, above 0
   @return a new tone, owned by the caller; null when the period is below 1 frame

   The period is frameRate / hertz, rounded as pbRealToInt does, and the frequency of the tone is frameRate /
   period: at 8000 frames per second 440 Hz becomes a period of 18 frames, which is 444.4 Hz. Ends the process when an
   argument is out of range.
*/
PCM_API PCM_TONE *pcmToneTryCreateWithFrequency(pbInt frameRate, pbInt hertz);

/**
   Writes the tone's next samples into an array.

   @param tone     advanced by the number of samples
   @param dest     room for the samples; may be null with 0 samples
   @param samples  the number of samples, at least 0

   Ends the process when tone is null, samples is negative, or dest is null with samples above 0.
*/
PCM_API void pcmToneGatherSamples(PCM_TONE *tone, PCM_SAMPLE *dest, pbInt samples);

/**
   Adds the tone's next samples to an array, in single precision, without clamping. Parameters and checks are those of
   pcmToneGatherSamples.
*/
PCM_API void pcmToneGatherSamplesAdd(PCM_TONE *tone, PCM_SAMPLE *dest, pbInt samples);

/**
   Makes a packet of one channel of the tone's next samples.

   @param tone     advanced by the number of samples
   @param samples  the number of samples, at least 0
   @return a new packet, owned by the caller

   Ends the process when tone is null or samples is negative.
*/
PCM_API PCM_PACKET *pcmToneGather(PCM_TONE *tone, pbInt samples);

PCM_EXTERN_C_END

#endif
