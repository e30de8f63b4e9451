/**
   @file
   Decibels: decibel = 20 * log10(gain), limited to -200 to +200 dB.

   Threads: pure functions. They may be called at any time.

   @since 1.0
*/
#ifndef PCM_DECIBEL_H
#define PCM_DECIBEL_H

#include <pcm/pcm_base.h>

PCM_EXTERN_C_BEGIN

/**
   Returns the decibels of a gain.

   @param gain  a linear amplitude factor: finite, at least 0; otherwise the process ends
   @return from -200.0 (also for a gain of 0) to 200.0
*/
PCM_API pbReal pcmDecibelFromGain(pbReal gain);

/**
   Returns the gain of decibels.

   @param decibel  finite; otherwise the process ends
   @return a linear amplitude factor from 1e-10 (at -200 dB and below) to 1e10; exactly 1.0 at 0 dB
*/
PCM_API pbReal pcmDecibelToGain(pbReal decibel);

PCM_EXTERN_C_END

#endif
