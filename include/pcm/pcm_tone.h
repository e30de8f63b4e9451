/**
   @file
   Tones: full-scale sines whose cycle is a whole number of frames.

   A tone goes on where it stopped, so a signal can be gathered in pieces of any size. Sample i of a cycle of `period`
   frames is sin(i * (2 pi / period)), computed in double precision with the mathematics library's sine and rounded to a
   sample; the first sample of a new tone is 0 and the wave rises from there. Tones have one channel.

   A tone is passed as it is, not by handle: gathering advances it for all who hold it, and there is no way back. To
   begin again at phase 0, make a new one. A tone must not be gathered from on two threads at once.

   @since 1.0
*/
#ifndef PCM_TONE_H
#define PCM_TONE_H

#include <pcm/pcm_packet.h>

PCM_EXTERN_C_BEGIN

/** A sine and how far it has come. */
typedef struct PCM_TONE PCM_TONE;

/** @name Standard functions of the sort
    @{ */
/** A standard function of the sort; PCM_DECLARE_SORT in pcm_base.h tells what each does. */
PCM_DECLARE_SORT(pcmTone, PCM_TONE)
/** @} */

/** @return a new tone, owned by the caller, whose cycle is so many frames. Ends the process when period is below 1. */
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
   Writes the tone's next samples and advances it past them.

   @param tone     advanced by so many samples
   @param dest     room for the samples; may be null with 0 of them
   @param samples  how many, at least 0

   Ends the process when the tone is null or an argument is missing or out of range.
*/
PCM_API void pcmToneGatherSamples(PCM_TONE *tone, PCM_SAMPLE *dest, pbInt samples);

/** As pcmToneGatherSamples, adding to what dest holds: in single precision, nothing is clamped. */
PCM_API void pcmToneGatherSamplesAdd(PCM_TONE *tone, PCM_SAMPLE *dest, pbInt samples);

/**
   @return a new packet, owned by the caller, of one channel with the tone's next samples, at least 0; the tone advances
   past them. Ends the process when the tone is null or samples is negative.
*/
PCM_API PCM_PACKET *pcmToneGather(PCM_TONE *tone, pbInt samples);

PCM_EXTERN_C_END

#endif
