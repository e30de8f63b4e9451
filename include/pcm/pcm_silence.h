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
   Sets the samples of an array to +0.0.

   @param dest     room for the samples; may be null with 0 samples
   @param samples  the number of samples, at least 0

   Ends the process when samples is negative or dest is null with samples above 0.
*/
PCM_API void pcmSilenceGatherSamples(PCM_SAMPLE *dest, pbInt samples);

/**
   Makes a packet of one channel of silence.

   @param frames  the number of frames, at least 0
   @return a new packet, owned by the caller

   Ends the process when frames is negative or the size does not fit in 64 bits.
*/
PCM_API PCM_PACKET *pcmSilenceGather(pbInt frames);

PCM_EXTERN_C_END

#endif
