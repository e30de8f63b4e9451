/**
   @file
   Real numbers.

   Threads: pure functions. They may be called at any time.

   @since 1.0
*/
#ifndef PB_REAL_H
#define PB_REAL_H

#include <pb/pb_base.h>

PB_EXTERN_C_BEGIN

/** Orders two numbers: returns negative, zero or positive as a is less than, equal to or greater than b; neither may be
 * NaN. */
PB_API pbInt pbRealCompare(pbReal a, pbReal b);

/** Returns whether a and b are equal: 0.0 equals -0.0, and NaN equals nothing. */
PB_API pbBool pbRealEquals(pbReal a, pbReal b);

/** Returns whether value is NaN. */
PB_API pbBool pbRealIsNan(pbReal value);

/** Returns whether value is neither NaN nor infinite. */
PB_API pbBool pbRealIsFinite(pbReal value);

/** Rounds value to the nearest integer, halfway cases away from zero. Beyond 64 bits the result is the end of their
    range, for NaN it is 0. */
PB_API pbInt pbRealToInt(pbReal value);

PB_EXTERN_C_END

#endif
