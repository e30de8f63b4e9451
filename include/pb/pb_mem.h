/**
   @file
   Memory. Blocks come from these operations and go back through pbMemFree, whoever owns them in between.

   No operation reports a failure: the process ends when an allocation fails, a count is negative, a product does not
   fit in 64 bits, or a pointer is null with bytes above 0. Threads: every operation may be called from any thread; a
   block belongs to its owner.

   @since 1.0
*/
#ifndef PB_MEM_H
#define PB_MEM_H

#include <pb/pb_base.h>

PB_EXTERN_C_BEGIN

/** Allocates a block of bytes, aligned for every scalar type, its contents indeterminate. Returns it; for 0 bytes null
   or a block that pbMemFree accepts. */
PB_API void *pbMemAlloc(pbInt bytes);

/** Allocates a block for count elements of size bytes each. Returns it as pbMemAlloc. */
PB_API void *pbMemAllocN(pbInt count, pbInt size);

/**
   Resizes a block to count elements of size bytes, keeping its contents up to the smaller size.

   @param block  a block, invalid afterwards, or null for a fresh one
   @param count  elements of the resized block
   @param size   bytes of each
   @return the resized block; for 0 bytes as pbMemAlloc, the old block being freed
*/
PB_API void *pbMemReallocN(void *block, pbInt count, pbInt size);

/** Frees a block; null is accepted and ignored. */
PB_API void pbMemFree(void *block);

/** Copies bytes from source to dest, ranges that do not overlap. */
PB_API void pbMemCopy(void *dest, const void *source, pbInt bytes);

/** Copies count elements of size bytes, as pbMemCopy; with 0 bytes the pointers may be null. */
PB_API void pbMemCopyN(void *dest, const void *source, pbInt count, pbInt size);

/** Copies as pbMemCopyN, between ranges that may overlap. */
PB_API void pbMemMoveN(void *dest, const void *source, pbInt count, pbInt size);

/** Fills count elements of size bytes with the low byte of value; with 0 bytes the pointer may be null. */
PB_API void pbMemSetN(void *dest, pbInt value, pbInt count, pbInt size);

/** Returns the number of blocks that are allocated now, besides the objects' own memory: for hosts and tests. */
PB_API pbInt pb___MemDbgBlocks(void);

PB_EXTERN_C_END

#endif
