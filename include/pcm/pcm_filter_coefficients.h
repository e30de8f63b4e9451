/**
   @file
   Coefficient sets: the taps h[0] ... h[length - 1] of an FIR filter (pcm_filter.h), h[0] weighing the newest frame.

   A set is made once and never changes, so any number of filters and threads share it. Seven low-pass sets are built
   in, one for each filter type; asking for one costs a reference.

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
/** A standard function of the sort; PCM_DECLARE_SORT in pcm_base.h tells what each does. */
PCM_DECLARE_SORT(pcmFilterCoefficients, PCM_FILTER_COEFFICIENTS)
/** @} */

/** The sort's free function, for the runtime alone. */
PCM_API void pcm___FilterCoefficientsFreeFunc(PB_OBJ *obj);

/**
   @name The taps of the built-in sets
   @{
*/
/** Taps of a built-in low-pass, named after cut-off and frame rate in Hz. They read the same from either end. */
PCM_API extern const PCM_SAMPLE pcm___FilterCoefficientsBuiltinLowpass4000At16000[16];
PCM_API extern const PCM_SAMPLE pcm___FilterCoefficientsBuiltinLowpass4000At24000[24];
PCM_API extern const PCM_SAMPLE pcm___FilterCoefficientsBuiltinLowpass4000At48000[48];
PCM_API extern const PCM_SAMPLE pcm___FilterCoefficientsBuiltinLowpass6000At24000[24];
PCM_API extern const PCM_SAMPLE pcm___FilterCoefficientsBuiltinLowpass6000At48000[48];
PCM_API extern const PCM_SAMPLE pcm___FilterCoefficientsBuiltinLowpass8000At48000[48];
PCM_API extern const PCM_SAMPLE pcm___FilterCoefficientsBuiltinLowpass12000At48000[48];
/** @} */

/**
   @name The built-in sets
   @{
*/
/** A built-in set, from start-up to shut-down; use pcmFilterCoefficientsCreate. */
PCM_API extern PCM_FILTER_COEFFICIENTS *pcm___FilterCoefficientsLowpass4000At16000;
PCM_API extern PCM_FILTER_COEFFICIENTS *pcm___FilterCoefficientsLowpass4000At24000;
PCM_API extern PCM_FILTER_COEFFICIENTS *pcm___FilterCoefficientsLowpass4000At48000;
PCM_API extern PCM_FILTER_COEFFICIENTS *pcm___FilterCoefficientsLowpass6000At24000;
PCM_API extern PCM_FILTER_COEFFICIENTS *pcm___FilterCoefficientsLowpass6000At48000;
PCM_API extern PCM_FILTER_COEFFICIENTS *pcm___FilterCoefficientsLowpass8000At48000;
PCM_API extern PCM_FILTER_COEFFICIENTS *pcm___FilterCoefficientsLowpass12000At48000;
/** @} */

/** The module's start-up of the built-in sets. */
PCM_API void pcm___FilterCoefficientsStartup(void);

/** The module's shut-down of the built-in sets. */
PCM_API void pcm___FilterCoefficientsShutdown(void);

/**
   @param type  which built-in set
   @return a new reference to the set, the same one for every caller, owned by the caller and good also after the
   module's shut-down; null before its start-up

   Ends the process when there is no such type.
*/
PCM_API PCM_FILTER_COEFFICIENTS *pcmFilterCoefficientsCreate(PCM_FILTER_TYPE type);

/**
   Makes a set of a block of taps without copying it.

   @param coefficients  length taps in a block from pbMemAlloc or its kin, which the set owns from now on
   @param length        at least 1
   @return a new set, owned by the caller

   Ends the process when coefficients is null or length below 1.
*/
PCM_API PCM_FILTER_COEFFICIENTS *pcmFilterCoefficientsCreateFromSamplesUse(PCM_SAMPLE *coefficients, pbInt length);

/** As pcmFilterCoefficientsCreateFromSamplesUse with a copy of the taps: the array stays the caller's. */
PCM_API PCM_FILTER_COEFFICIENTS *pcmFilterCoefficientsCreateFromSamplesCopy(const PCM_SAMPLE *coefficients,
                                                                            pbInt length);

/** @return a new set with a copy of the source's taps, owned by the caller. Checks nothing; source must be a set. */
PCM_API PCM_FILTER_COEFFICIENTS *pcmFilterCoefficientsCreateFrom(PCM_FILTER_COEFFICIENTS *source);

/** @return the taps, to be read only, valid while the caller holds the set. Ends the process when coeff is null. */
PCM_API const PCM_SAMPLE *pcmFilterCoefficientsBacking(PCM_FILTER_COEFFICIENTS *coeff);

/** @return the number of taps, at least 1. Ends the process when coeff is null. */
PCM_API pbInt pcmFilterCoefficientsLength(PCM_FILTER_COEFFICIENTS *coeff);

PCM_EXTERN_C_END

#endif
