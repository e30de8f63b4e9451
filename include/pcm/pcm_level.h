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
   Multiplies samples by the gain of so many decibels, rounded to single precision. At exactly 0 dB nothing is touched
   and nothing checked.

   @param dest     the samples; may be null with 0 of them
   @param samples  how many, at least 0
   @param decibel  finite (see pcmDecibelToGain)
*/
PCM_API void pcmLevelAdjustSamples(PCM_SAMPLE *dest, pbInt samples, pbReal decibel);

/**
   The same for every sample of a packet.

   @param pkt      in-out handle; a shared packet is first replaced there by a private copy, also at 0 dB
   @param decibel  finite (see pcmDecibelToGain)

   Ends the process when pkt or *pkt is null.
*/
PCM_API void pcmLevelAdjust(PCM_PACKET **pkt, pbReal decibel);

PCM_EXTERN_C_END

#endif
