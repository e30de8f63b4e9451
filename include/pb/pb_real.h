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

/** @return negative, zero or positive as a is less than, equal to or greater than b; neither may be NaN. */
PB_API pbInt pbRealCompare(pbReal a, pbReal b);

/** @return whether the two are equal: 0.0 equals -0.0, and NaN equals nothing. */
PB_API pbBool pbRealEquals(pbReal a, pbReal b);

/** @return whether the value is not a number. */
PB_API pbBool pbRealIsNan(pbReal value);

/** @return whether the value is neither NaN nor infinite. */
PB_API pbBool pbRealIsFinite(pbReal value);

/**
   @return the nearest integer, halfway cases away from zero; beyond the range of 64 bits the end of that range, and 0
   for NaN.
*/
PB_API pbInt pbRealToInt(pbReal value);

PB_EXTERN_C_END

#endif
