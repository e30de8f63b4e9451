/**
   @file
   Noise: white, at full scale, one channel.

   The samples are those of a table of 8192, filled at the module's start-up uniformly from [-1, 1]. Each call begins at
   a position drawn with pbRandomNonNegativeIntRange and continues at the table's beginning when it comes to its end, so
   a call for more than 8192 samples repeats itself. The draw is made even for 0 samples.

   Threads: any number may gather noise at once.

   @since 1.0
*/
#ifndef PCM_NOISE_H
#define PCM_NOISE_H

#include <pcm/pcm_packet.h>

PCM_EXTERN_C_BEGIN

/**
   Writes noise into an array.

   @param dest     room for the samples; may be null with 0 samples
   @param samples  the number of samples, at least 0

   Ends the process when samples is negative or dest is null with samples above 0.
*/
PCM_API void pcmNoiseGatherSamples(PCM_SAMPLE *dest, pbInt samples);

/**
   Adds noise to an array, in single precision, without clamping. Parameters and checks are those of
   pcmNoiseGatherSamples.
*/
PCM_API void pcmNoiseGatherSamplesAdd(PCM_SAMPLE *dest, pbInt samples);

/**
   Makes a packet of one channel of noise.

   @param samples  the number of samples, at least 0
   @return a new packet, owned by the caller

   Ends the process when samples is negative.
*/
PCM_API PCM_PACKET *pcmNoiseGather(pbInt samples);

/** @name For the product's own modules
    @{ */
/** The 8192 samples, to be read only, from start-up to shut-down. */
PCM_API extern PCM_SAMPLE *pcm___Noise;
/** Makes the table, at the module's start-up. */
PCM_API void pcm___NoiseStartup(void);
/** Gives it up, at the module's shut-down. */
PCM_API void pcm___NoiseShutdown(void);
/** @} */

PCM_EXTERN_C_END

#endif
