/**
   @file
   Integers.

   Threads: pure functions. They may be called at any time.

   @since 1.0
*/
#ifndef PB_INT_H
#define PB_INT_H

#include <pb/pb_base.h>

/** Whether the sum a + b fits in a signed 64-bit integer; decided without computing it. */
#define PB_INT_ADD_OK(a, b) pb___IntAddOk((a), (b))

/** Whether the difference a - b fits. */
#define PB_INT_SUB_OK(a, b) pb___IntSubOk((a), (b))

/** Whether the product a * b fits. */
#define PB_INT_MUL_OK(a, b) pb___IntMulOk((a), (b))

/** The size of a type or object in bytes, as a pbInt. */
#define PB_SIZEOF(type) ((pbInt)sizeof(type))

/** PB_INT_ADD_OK as a function. */
static inline pbBool pb___IntAddOk(pbInt a, pbInt b)
{
    return b >= 0 ? a <= INT64_MAX - b : a >= INT64_MIN - b;
}

/** PB_INT_SUB_OK as a function. */
static inline pbBool pb___IntSubOk(pbInt a, pbInt b)
{
    return b >= 0 ? a >= INT64_MIN + b : a <= INT64_MAX + b;
}

/** PB_INT_MUL_OK as a function. */
static inline pbBool pb___IntMulOk(pbInt a, pbInt b)
{
    if (a >> 31 == 0 && b >> 31 == 0) /* neither has more than 31 bits */
        return 1;
    if (a == 0 || b == 0)
        return 1;
    if (a > 0)
        return b > 0 ? a <= INT64_MAX / b : b >= INT64_MIN / a;
    return b > 0 ? a >= INT64_MIN / b : a >= INT64_MAX / b;
}

PB_EXTERN_C_BEGIN

/** Returns the smaller of a and b. */
PB_API pbInt pbIntMin(pbInt a, pbInt b);

/** Returns the larger of a and b. */
PB_API pbInt pbIntMax(pbInt a, pbInt b);

/** Returns the number of 1 bits in value, as a 64-bit two's-complement pattern. */
PB_API pbInt pbIntBitCount(pbInt value);

PB_EXTERN_C_END

#endif
