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
   @param bytes   a block from pbMemAlloc, taken over without a copy; null when length is 0
   @param length  its bytes, at least 0
   @return a new buffer, owned by the caller; destroying it frees the block

   Ends the process when length is negative or bytes is missing.
*/
PB_API PB_BUFFER *pbBufferCreateFromBytesUse(void *bytes, pbInt length);

/** @return the first byte, read only, valid while the buffer lives. Ends the process when buf is null. */
PB_API const void *pbBufferBacking(PB_BUFFER *buf);

/** @return the length in bytes. Ends the process when buf is null. */
PB_API pbInt pbBufferLength(PB_BUFFER *buf);

PB_EXTERN_C_END

#endif
