/**
   @file
   Silence: samples of +0.0, one channel.

   Threads: pure functions of their arguments.

   @since 1.0
*/
#ifndef PCM_SILENCE_H
#define PCM_SILENCE_H

#include <pcm/pcm_packet.h>

PCM_EXTERN_C_BEGIN

/**
   Sets samples to +0.0.

   @param dest     room for the samples; may be null with 0 of them
   @param samples  how many, at least 0

   Ends the process when an argument is missing or out of range.
*/
PCM_API void pcmSilenceGatherSamples(PCM_SAMPLE *dest, pbInt samples);

/**
   @return a new packet, owned by the caller, of one channel with so many frames of +0.0. Ends the process when frames
   is negative or the size does not fit in 64 bits.
*/
PCM_API PCM_PACKET *pcmSilenceGather(pbInt frames);

PCM_EXTERN_C_END

#endif
