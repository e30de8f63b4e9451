/**
   @file
   Random numbers: the 64-bit Mersenne Twister of the C++ standard library, one for each thread, seeded by the system.
   Not for secrets.

   Threads: may be called from any thread; each has a generator of its own.

   @since 1.0
*/
#ifndef PB_RANDOM_H
#define PB_RANDOM_H

#include <pb/pb_base.h>

PB_EXTERN_C_BEGIN

/** Draws an integer, uniformly from the whole signed 64-bit range. */
PB_API pbInt pbRandomInt(void);

/** Draws an integer, uniformly from low up to but not including high; another runtime may draw high too. Ends the
   process unless 0 <= low < high. */
PB_API pbInt pbRandomNonNegativeIntRange(pbInt low, pbInt high);

PB_EXTERN_C_END

#endif
