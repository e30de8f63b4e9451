/**
   @file
   Coefficient sets: the taps h[0] ... h[length - 1] of an FIR filter (pcm_filter.h), h[0] weighing the newest frame.

   A set is made once and never changes, so any number of filters and threads share it. Low-pass sets are built in, one
   for each filter type; asking for one only takes a reference.

   @since 1.0
*/
#ifndef PCM_FILTER_COEFFICIENTS_H
#define PCM_FILTER_COEFFICIENTS_H

#include <pcm/pcm_base.h>
#include <pcm/pcm_filter_type.h>

PCM_EXTERN_C_BEGIN

/** A set of taps. */
typedef struct PCM_FILTER_COEFFICIENTS PCM_FILTER_COEFFICIENTS;

/** @name Standard functions of the sort
    @{ */
PCM_DECLARE_SORT(pcmFilterCoefficients, PCM_FILTER_COEFFICIENTS)
/** @} */

/**
   Returns a built-in set.

   @param type  one of the values of pcm_filter_type.h
   @return a new reference, owned by the caller, to the one set of this type; valid also after the module's shut-down;
   null before its start-up

   Ends the process when there is no such type.
*/
PCM_API PCM_FILTER_COEFFICIENTS *pcmFilterCoefficientsCreate(PCM_FILTER_TYPE type);

/**
   Makes a set of a block of taps without copying it.

   @param coefficients  length taps in a block from pbMemAlloc or pbMemAllocN, which the set owns from now on
   @param length        at least 1
   @return a new set, owned by the caller

   Ends the process when coefficients is null or length below 1.
*/
PCM_API PCM_FILTER_COEFFICIENTS *pcmFilterCoefficientsCreateFromSamplesUse(PCM_SAMPLE *coefficients, pbInt length);

/**
   Makes a set of a copy of taps.

   @param coefficients  length taps; the array stays the caller's
   @param length        at least 1
   @return a new set, owned by the caller

   Ends the process when coefficients is null or length below 1.
*/
PCM_API PCM_FILTER_COEFFICIENTS *pcmFilterCoefficientsCreateFromSamplesCopy(const PCM_SAMPLE *coefficients,
                                                                            pbInt length);

/** Copies the set source with its taps. Returns the new set, owned by the caller. Checks nothing; source is not null.
 */
PCM_API PCM_FILTER_COEFFICIENTS *pcmFilterCoefficientsCreateFrom(PCM_FILTER_COEFFICIENTS *source);

/** Lends the taps, to be read only, while the caller holds the set coeff. Ends the process when coeff is null. */
PCM_API const PCM_SAMPLE *pcmFilterCoefficientsBacking(PCM_FILTER_COEFFICIENTS *coeff);

/** Returns the number of taps of coeff, at least 1. Ends the process when coeff is null. */
PCM_API pbInt pcmFilterCoefficientsLength(PCM_FILTER_COEFFICIENTS *coeff);

/** @name For the product's own modules
    @{ */
/** Gives up what the object obj owns: the sort's free function, for the runtime alone. */
PCM_API void pcm___FilterCoefficientsFreeFunc(PB_OBJ *obj);

/** The taps of the low-pass of 4000 Hz at 16000 frames per second; the same read from either end. */
PCM_API extern const PCM_SAMPLE pcm___FilterCoefficientsBuiltinLowpass4000At16000[16];
/** The taps of the low-pass of 4000 Hz at 24000 frames per second; the same read from either end. */
PCM_API extern const PCM_SAMPLE pcm___FilterCoefficientsBuiltinLowpass4000At24000[24];
/** The taps of the low-pass of 4000 Hz at 48000 frames per second; the same read from either end. */
PCM_API extern const PCM_SAMPLE pcm___FilterCoefficientsBuiltinLowpass4000At48000[48];
/** The taps of the low-pass of 6000 Hz at 24000 frames per second; the same read from either end. */
PCM_API extern const PCM_SAMPLE pcm___FilterCoefficientsBuiltinLowpass6000At24000[24];
/** The taps of the low-pass of 6000 Hz at 48000 frames per second; the same read from either end. */
PCM_API extern const PCM_SAMPLE pcm___FilterCoefficientsBuiltinLowpass6000At48000[48];
/** The taps of the low-pass of 8000 Hz at 48000 frames per second; the same read from either end. */
PCM_API extern const PCM_SAMPLE pcm___FilterCoefficientsBuiltinLowpass8000At48000[48];
/** The taps of the low-pass of 12000 Hz at 48000 frames per second; the same read from either end. */
PCM_API extern const PCM_SAMPLE pcm___FilterCoefficientsBuiltinLowpass12000At48000[48];

/** The set of the low-pass of 4000 Hz at 16000 frames per second, from start-up to shut-down. */
PCM_API extern PCM_FILTER_COEFFICIENTS *pcm___FilterCoefficientsLowpass4000At16000;
/** The set of the low-pass of 4000 Hz at 24000 frames per second, from start-up to shut-down. */
PCM_API extern PCM_FILTER_COEFFICIENTS *pcm___FilterCoefficientsLowpass4000At24000;
/** The set of the low-pass of 4000 Hz at 48000 frames per second, from start-up to shut-down. */
PCM_API extern PCM_FILTER_COEFFICIENTS *pcm___FilterCoefficientsLowpass4000At48000;
/** The set of the low-pass of 6000 Hz at 24000 frames per second, from start-up to shut-down. */
PCM_API extern PCM_FILTER_COEFFICIENTS *pcm___FilterCoefficientsLowpass6000At24000;
/** The set of the low-pass of 6000 Hz at 48000 frames per second, from start-up to shut-down. */
PCM_API extern PCM_FILTER_COEFFICIENTS *pcm___FilterCoefficientsLowpass6000At48000;
/** The set of the low-pass of 8000 Hz at 48000 frames per second, from start-up to shut-down. */
PCM_API extern PCM_FILTER_COEFFICIENTS *pcm___FilterCoefficientsLowpass8000At48000;
/** The set of the low-pass of 12000 Hz at 48000 frames per second, from start-up to shut-down. */
PCM_API extern PCM_FILTER_COEFFICIENTS *pcm___FilterCoefficientsLowpass12000At48000;

/** Makes the built-in sets, at the module's start-up. */
PCM_API void pcm___FilterCoefficientsStartup(void);
/** Gives them up, at the module's shut-down. */
PCM_API void pcm___FilterCoefficientsShutdown(void);
/** @} */

PCM_EXTERN_C_END

#endif
