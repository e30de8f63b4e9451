/**
   @file
   The types that every operation of the base runtime and of the libraries above it uses.

   @since 1.0
*/
#ifndef PB_BASE_H
#define PB_BASE_H

#include <stdint.h>

/** Marks what a shared library exports; everything else is hidden. */
#define PB_API __attribute__((visibility("default")))

/** @def PB_EXTERN_C_BEGIN
    Opens declarations of C functions, in C and in C++. */
/** @def PB_EXTERN_C_END
    Closes what PB_EXTERN_C_BEGIN opened. */
/** @def PB_NORETURN
    Marks a function that does not return. */
#ifdef __cplusplus
#define PB_EXTERN_C_BEGIN extern "C" {
#define PB_EXTERN_C_END }
#define PB_NORETURN [[noreturn]]
#else
#define PB_EXTERN_C_BEGIN
#define PB_EXTERN_C_END
#define PB_NORETURN _Noreturn
#endif

/** Every count, index, offset, channel number, mask and flag word: signed, 64 bits. */
typedef int64_t pbInt;

/** Every real number: IEEE 754 double precision. */
typedef double pbReal;

/** A truth value: 0 is false, everything else true; results are 0 or 1. */
typedef int pbBool;

#endif
