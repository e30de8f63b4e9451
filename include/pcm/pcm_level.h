/**
   @file
   Level: samples made louder or softer by decibels. Nothing is clamped; saturation comes with encoding.

   @since 1.0
*/
#ifndef PCM_LEVEL_H
#define PCM_LEVEL_H

#include <pcm/pcm_packet.h>

PCM_EXTERN_C_BEGIN

/**
   Multiplies samples by a gain given in decibels and rounded to single precision. At exactly 0 dB it touches nothing
   and checks nothing.

   @param dest     the samples; may be null with 0 samples
   @param samples  the number of samples, at least 0
   @param decibel  finite (see pcmDecibelToGain)

   Ends the process, except at 0 dB, when decibel is not finite, samples is negative, or dest is null with samples
   above 0.
*/
PCM_API void pcmLevelAdjustSamples(PCM_SAMPLE *dest, pbInt samples, pbReal decibel);

/**
   Multiplies every sample of a packet by a gain given in decibels, as pcmLevelAdjustSamples.

   @param pkt      in-out handle; a shared packet is first replaced there by a private copy, also at 0 dB
   @param decibel  finite (see pcmDecibelToGain)

   Ends the process when pkt or *pkt is null or decibel is not finite.
*/
PCM_API void pcmLevelAdjust(PCM_PACKET **pkt, pbReal decibel);

PCM_EXTERN_C_END

#endif
