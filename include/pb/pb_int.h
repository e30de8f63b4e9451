/**
   @file
   Integers.

   Threads: pure functions. They may be called at any time.

   @since 1.0
*/
#ifndef PB_INT_H
#define PB_INT_H

#include <pb/pb_base.h>

/** Whether the sum of two signed 64-bit integers is one too; decided without computing it. */
#define PB_INT_ADD_OK(a, b) pb___IntAddOk((a), (b))

/** The same for the difference a - b. */
#define PB_INT_SUB_OK(a, b) pb___IntSubOk((a), (b))

/** The same for the product. */
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
    if (a == 0 || b == 0)
        return 1;
    if (a > 0)
        return b > 0 ? a <= INT64_MAX / b : b >= INT64_MIN / a;
    return b > 0 ? a >= INT64_MIN / b : a >= INT64_MAX / b;
}

PB_EXTERN_C_BEGIN

/** @return the smaller of the two. */
PB_API pbInt pbIntMin(pbInt a, pbInt b);

/** @return the larger of the two. */
PB_API pbInt pbIntMax(pbInt a, pbInt b);

/** @return the number of 1 bits in the 64-bit two's-complement pattern. */
PB_API pbInt pbIntBitCount(pbInt value);

PB_EXTERN_C_END

#endif
