/**
   @file
   Strings: immutable texts. Ordered by their bytes; two strings of the same text are equal.

   The libraries above the runtime only pass strings on; hosts make and read them here, and give them up with
   pbObjRelease. Threads: a string never changes, so any number of threads may hold and read it.

   @since 1.0
*/
#ifndef PB_STRING_H
#define PB_STRING_H

#include <pb/pb_obj.h>

PB_EXTERN_C_BEGIN

/**
   Makes a string of a copy of a text.

   @param text    the bytes; may be null when length is 0
   @param length  the number of bytes, or -1: up to the NUL
   @return a new string, owned by the caller

   Ends the process when length is out of range, or text is null with another length than 0.
*/
PB_API PB_STRING *pbStringCreateFromCstr(const char *text, pbInt length);

/** Lends the text, NUL-terminated, while the caller holds the string pbs. Ends the process when pbs is null. */
PB_API const char *pbStringCstr(PB_STRING *pbs);

/** Returns the length of pbs in bytes, without the NUL. Ends the process when pbs is null. */
PB_API pbInt pbStringLength(PB_STRING *pbs);

PB_EXTERN_C_END

#endif
