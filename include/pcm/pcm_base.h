/**
   @file
   What every family of the library uses: the sample, the sorts' standard functions, and the rules that hold throughout.

   **Frames.** A frame is one sample for each channel. An array of F frames of C channels is interleaved: it holds F x C
   samples, and sample c of frame f is element f * C + c. Channels and frames are numbered from 0.

   **Objects.** Packets, queues, filters, coefficient sets and tones are counted references. Constructors, and
   operations that return an object, give the caller a reference to release; an operation that returns a pointer to
   samples lends it, valid while the caller holds the object and does not change it.

   **Handles.** An object that has several holders is never changed. An operation that changes one takes the address of
   the caller's pointer, its *handle*; a shared object is first replaced there by a private one, and the other holders
   keep what they have. Tones are the exception: gathering advances the tone that every holder shares.

   **Failure.** A broken precondition ends the process with the text of the condition (see pb___Abort), and so does an
   allocation that fails. No sample that anybody sees has changed by then; the handle may hold a private copy already.
   `Try` operations answer null to input that cannot be handled.

   **Threads.** Any number of threads may hold and read the same packet, queue, filter or coefficient set, and each may
   change it through a handle of its own; one handle must not be used by two threads at once. A tone must not be
   gathered from on two threads at once.

   **Arithmetic.** IEEE 754 single precision with one rounding for each operation, in the default rounding mode; the
   result is the same whatever instructions the processor has and however a signal is cut into packets. That a result
   is NaN is part of this; which of the NaN patterns an addition or multiplication yields is the processor's affair.
   Operations that only move samples keep every bit.

   **Versions.** What a file declares is there since the version that the file names, unless an operation says
   otherwise. Names with `pcm___` are for the product's own modules.

   Every operation is valid only between the module's start-up and its shut-down (pcm_module.h), except where the
   operation says otherwise.

   @since 1.0
*/
#ifndef PCM_BASE_H
#define PCM_BASE_H

#include <pb/pb_obj.h>

/** Marks what the library exports. */
#define PCM_API __attribute__((visibility("default")))

/** Opens declarations of C functions, in C and in C++. */
#define PCM_EXTERN_C_BEGIN PB_EXTERN_C_BEGIN
/** Closes what PCM_EXTERN_C_BEGIN opened. */
#define PCM_EXTERN_C_END PB_EXTERN_C_END

/** One sample: nominal full scale is -1.0 to +1.0, and samples may lie beyond it. */
typedef float PCM_SAMPLE;

/**
   Declares the eight standard functions of a sort, here for a sort `T` with the prefix `pcmT`:

   - `pcmTSort()` returns the sort's descriptor.
   - `pcmTRetain(obj)` takes one more reference. Ends the process when obj is null.
   - `pcmTRelease(obj)` gives up a reference; the last one destroys the object. Ends the process when obj is null.
   - `pcmTObj(obj)` returns the same pointer as a generic object; null stays null.
   - `pcmTFrom(obj)` is the way back; null stays null. Ends the process when obj is of another sort.
   - `pcmTToString(obj)` returns a new string, as pbObjToString. Ends the process when obj is null.
   - `pcmTCompare(objA, objB)` orders two objects, as pbObjCompare. Ends the process when one is null.
   - `pcmTEquals(objA, objB)` tells whether that order is 0; makes no checks of its own.

   All of them may be called at any time and from any thread.
*/
#define PCM_DECLARE_SORT(prefix, TYPE)                                                                                 \
    PCM_API const PB_SORT *prefix##Sort(void);                                                                         \
    PCM_API void prefix##Retain(TYPE *obj);                                                                            \
    PCM_API void prefix##Release(TYPE *obj);                                                                           \
    PCM_API PB_OBJ *prefix##Obj(TYPE *obj);                                                                            \
    PCM_API TYPE *prefix##From(PB_OBJ *obj);                                                                           \
    PCM_API PB_STRING *prefix##ToString(TYPE *obj);                                                                    \
    PCM_API pbInt prefix##Compare(TYPE *objA, TYPE *objB);                                                             \
    PCM_API pbBool prefix##Equals(TYPE *objA, TYPE *objB);

#endif
