/**
   @file
   Noise: white, at full scale, one channel.

   Each call hands out a stretch of a table of 8192 samples from a place drawn anew with pbRandomNonNegativeIntRange,
   and goes on at the table's beginning when it comes to its end: a call for more than 8192 samples repeats itself. The
   draw is made even for 0 samples. The table is filled at the module's start-up with samples uniformly from [-1, 1].

   Threads: any number may gather noise at once.

   @since 1.0
*/
#ifndef PCM_NOISE_H
#define PCM_NOISE_H

#include <pcm/pcm_packet.h>

PCM_EXTERN_C_BEGIN

/** The 8192 samples, to be read only, from start-up to shut-down. */
PCM_API extern PCM_SAMPLE *pcm___Noise;

/** The module's start-up of the table. */
PCM_API void pcm___NoiseStartup(void);

/** The module's shut-down of the table. */
PCM_API void pcm___NoiseShutdown(void);

/**
   Writes a run of noise.

   @param dest     room for the samples; may be null with 0 of them
   @param samples  how many, at least 0

   Ends the process when an argument is missing or out of range.
*/
PCM_API void pcmNoiseGatherSamples(PCM_SAMPLE *dest, pbInt samples);

/** As pcmNoiseGatherSamples, adding to what dest holds: in single precision, nothing is clamped. */
PCM_API void pcmNoiseGatherSamplesAdd(PCM_SAMPLE *dest, pbInt samples);

/**
   @return a new packet, owned by the caller, of one channel with so many samples of noise. Ends the process when
   samples is negative.
*/
PCM_API PCM_PACKET *pcmNoiseGather(pbInt samples);

PCM_EXTERN_C_END

#endif
