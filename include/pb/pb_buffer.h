/**
   @file
   Byte buffers: immutable runs of bytes. They are given up with pbObjRelease.

   Threads: a buffer never changes, so any number of threads may hold and read it.

   @since 1.0
*/
#ifndef PB_BUFFER_H
#define PB_BUFFER_H

#include <pb/pb_obj.h>

PB_EXTERN_C_BEGIN

/** A run of bytes. */
typedef struct PB_BUFFER PB_BUFFER;

/**
   Makes a buffer of a block of bytes without copying it.

   @param bytes   a block from pbMemAlloc or pbMemAllocN, taken over without a copy; may be null when length is 0
   @param length  its bytes, at least 0
   @return a new buffer, owned by the caller; destroying it frees the block

   Ends the process when length is negative or bytes is null with a length above 0.
*/
PB_API PB_BUFFER *pbBufferCreateFromBytesUse(void *bytes, pbInt length);

/** Lends the bytes, to be read only, while the caller holds the buffer buf. Ends the process when buf is null. */
PB_API const void *pbBufferBacking(PB_BUFFER *buf);

/** Returns the length of buf in bytes. Ends the process when buf is null. */
PB_API pbInt pbBufferLength(PB_BUFFER *buf);

PB_EXTERN_C_END

#endif
