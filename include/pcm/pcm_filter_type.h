/**
   @file
   Filter types: the names of the built-in coefficient sets (pcm_filter_coefficients.h).

   Each is a low-pass, named after its cut-off frequency and the frame rate for which it is designed, in Hz and frames
   per second. The cut-off is half of a lower rate: before a signal is reduced to that rate, or after it has been
   extended from it, the filter removes what the lower rate cannot hold.

   @since 1.0
*/
#ifndef PCM_FILTER_TYPE_H
#define PCM_FILTER_TYPE_H

#include <pcm/pcm_base.h>

#include <pb/pb_enum.h>
#include <pb/pb_string.h>

PCM_EXTERN_C_BEGIN

/** One of the values below. */
typedef pbInt PCM_FILTER_TYPE;

#define PCM_FILTER_TYPE_LOWPASS_4000_AT_16000 ((PCM_FILTER_TYPE)0)  /**< 16 taps; 16000 <-> 8000 */
#define PCM_FILTER_TYPE_LOWPASS_4000_AT_24000 ((PCM_FILTER_TYPE)1)  /**< 24 taps; 24000 <-> 8000 */
#define PCM_FILTER_TYPE_LOWPASS_4000_AT_48000 ((PCM_FILTER_TYPE)2)  /**< 48 taps; 48000 <-> 8000 */
#define PCM_FILTER_TYPE_LOWPASS_6000_AT_24000 ((PCM_FILTER_TYPE)3)  /**< 24 taps; 24000 <-> 12000 */
#define PCM_FILTER_TYPE_LOWPASS_6000_AT_48000 ((PCM_FILTER_TYPE)4)  /**< 48 taps; 48000 <-> 12000 */
#define PCM_FILTER_TYPE_LOWPASS_8000_AT_48000 ((PCM_FILTER_TYPE)5)  /**< 48 taps; 48000 <-> 16000 */
#define PCM_FILTER_TYPE_LOWPASS_12000_AT_48000 ((PCM_FILTER_TYPE)6) /**< 48 taps; 48000 <-> 24000 */

/** Whether a value is one of the above. */
#define PCM_FILTER_TYPE_OK(type) ((uint64_t)(type) <= 6)

/** Returns the type that pbs names exactly, or -1 when it names none. Ends the process when pbs is null. */
PCM_API PCM_FILTER_TYPE pcmFilterTypeFromString(PB_STRING *pbs);

/** Returns a string with the name of type, owned by the caller. Ends the process when there is no such type. */
PCM_API PB_STRING *pcmFilterTypeToString(PCM_FILTER_TYPE type);

/** @name For the product's own modules
    @{ */
/** The names of the types, from start-up to shut-down. */
PCM_API extern PB_ENUM *pcm___FilterTypeEnum;
/** Makes the names, at the module's start-up. */
PCM_API void pcm___FilterTypeStartup(void);
/** Gives them up, at the module's shut-down. */
PCM_API void pcm___FilterTypeShutdown(void);
/** @} */

PCM_EXTERN_C_END

#endif
