/**
   @file
   Byte buffers: immutable runs of bytes.
*/
#ifndef PB_BUFFER_H
#define PB_BUFFER_H

#include <pb/pb_obj.h>

PB_EXTERN_C_BEGIN

typedef struct PB_BUFFER PB_BUFFER;

/**
   @param bytes   a block from pbMemAlloc, taken over without a copy; null when length is 0
   @param length  its bytes, at least 0
   @return a new buffer, owned by the caller; destroying it frees the block
*/
PB_API PB_BUFFER *pbBufferCreateFromBytesUse(void *bytes, pbInt length);

/** @return the first byte, read only, valid while the buffer lives. Ends the process when buf is null. */
PB_API const void *pbBufferBacking(PB_BUFFER *buf);

/** @return the length in bytes. Ends the process when buf is null. */
PB_API pbInt pbBufferLength(PB_BUFFER *buf);

PB_EXTERN_C_END

#endif
