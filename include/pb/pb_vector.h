/**
   @file
   Vectors: sequences of references to objects, appended at the end and taken from the front in constant time.

   An operation that changes a vector takes the address of the caller's handle; a shared vector is first
   replaced there by a private copy. Null arguments end the process. Threads: any number may hold and read a vector;
   each changes it through a handle of its own.

   @since 1.0
*/
#ifndef PB_VECTOR_H
#define PB_VECTOR_H

#include <pb/pb_obj.h>

PB_EXTERN_C_BEGIN

/** A sequence of references. */
typedef struct PB_VECTOR PB_VECTOR;

/** Makes a vector without elements. Returns it, owned by the caller; destroying it releases the elements. */
PB_API PB_VECTOR *pbVectorCreate(void);

/** Returns the number of elements of vec. */
PB_API pbInt pbVectorLength(PB_VECTOR *vec);

/** Appends obj to the vector in the handle vec, which takes a reference of its own. */
PB_API void pbVectorAppendObj(PB_VECTOR **vec, PB_OBJ *obj);

/** Removes the first element. Returns it with the vector's reference. Ends the process when the vector is empty. */
PB_API PB_OBJ *pbVectorUnshift(PB_VECTOR **vec);

/** Removes and releases every element. */
PB_API void pbVectorClear(PB_VECTOR **vec);

PB_EXTERN_C_END

#endif
