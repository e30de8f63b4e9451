/**
   @file
   Sample kernels: arithmetic on plain arrays of samples, for the product's own modules; others use packets.

   The flat kernels take a count of samples and know nothing of channels. The channel kernels visit one sample of each
   frame: of an array with `channels` channels, the samples `channel`, `channel + channels`, `channel + 2 * channels`
   and so on; two arrays may have different channel counts. Elements are visited in ascending order, each loaded,
   combined and stored before the next is loaded, so dest and source may be one array or overlap. All arithmetic is
   single precision with one rounding for each operation, as IEEE 754 has it for NaN and infinities too; nothing is
   clamped.

   The arrays belong to the caller, and every visited element has to exist. Pointers may be null when the count is 0. A
   negative count, a null pointer with a positive count, or a channel outside its array's channels (also when there are
   no frames) ends the process before any sample is written.

   Threads: pure functions of their arguments. They may be called at any time.

   @since 1.0
*/
#ifndef PCM_SAMPLES_H
#define PCM_SAMPLES_H

#include <pcm/pcm_base.h>

PCM_EXTERN_C_BEGIN

/** Copies samples: dest[i] = source[i]; the ranges do not overlap. The checks are those of pbMemCopyN. */
PCM_API void pcm___SamplesCopy(PCM_SAMPLE *dest, const PCM_SAMPLE *source, pbInt samples);

/** Moves samples: dest[i] = source[i]; the ranges may overlap, source is taken as it was. The checks are those of
 * pbMemMoveN. */
PCM_API void pcm___SamplesMove(PCM_SAMPLE *dest, const PCM_SAMPLE *source, pbInt samples);

/** Clears samples: dest[i] = +0.0 */
PCM_API void pcm___SamplesZero(PCM_SAMPLE *dest, pbInt samples);

/** Adds samples: dest[i] = dest[i] + source[i] */
PCM_API void pcm___SamplesAdd(PCM_SAMPLE *dest, const PCM_SAMPLE *source, pbInt samples);

/** Multiplies samples: dest[i] = dest[i] * source[i] */
PCM_API void pcm___SamplesMul(PCM_SAMPLE *dest, const PCM_SAMPLE *source, pbInt samples);

/** Scales samples: dest[i] = dest[i] * factor, the factor first rounded to single precision */
PCM_API void pcm___SamplesScale(PCM_SAMPLE *dest, pbInt samples, pbReal factor);

/** Copies one channel: destChannel of dest = sourceChannel of source, in each of the frames. */
PCM_API void pcm___SamplesChannelCopy(PCM_SAMPLE *dest, pbInt destChannel, pbInt destChannels, const PCM_SAMPLE *source,
                                      pbInt sourceChannel, pbInt sourceChannels, pbInt frames);

/** Clears one channel: destChannel of dest = +0.0 */
PCM_API void pcm___SamplesChannelZero(PCM_SAMPLE *dest, pbInt destChannel, pbInt destChannels, pbInt frames);

/** Adds one channel: destChannel of dest += sourceChannel of source */
PCM_API void pcm___SamplesChannelAdd(PCM_SAMPLE *dest, pbInt destChannel, pbInt destChannels, const PCM_SAMPLE *source,
                                     pbInt sourceChannel, pbInt sourceChannels, pbInt frames);

/** Multiplies one channel: destChannel of dest *= sourceChannel of source */
PCM_API void pcm___SamplesChannelMul(PCM_SAMPLE *dest, pbInt destChannel, pbInt destChannels, const PCM_SAMPLE *source,
                                     pbInt sourceChannel, pbInt sourceChannels, pbInt frames);

/** Scales one channel: destChannel of dest *= factor, the factor first rounded to single precision */
PCM_API void pcm___SamplesChannelScale(PCM_SAMPLE *dest, pbInt destChannel, pbInt destChannels, pbInt frames,
                                       pbReal factor);

PCM_EXTERN_C_END

#endif
