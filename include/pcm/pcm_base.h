/**
   @file
   What every family of the library uses: the sample, the sorts' standard functions, and the rules that hold throughout.

   **Frames.** A frame is one sample for each channel. An array of F frames of C channels is interleaved: it holds F x C
   samples, and sample c of frame f is element f * C + c. Channels and frames are numbered from 0.

   **Objects.** Packets, queues, filters, coefficient sets and tones are objects with a count of references. An
   operation that returns an object gives the caller a reference to release. An operation that returns a pointer to
   samples lends it: it is valid while the caller holds the object and does not change it.

   **Handles.** An object that has several holders is never changed. An operation that changes one takes the address of
   the caller's pointer, its *handle*; a shared object is first replaced there by a private one, and the other holders
   keep what they have. Tones are the exception: gathering advances the tone that every holder shares.

   **Failure.** A broken precondition ends the process with the text of the condition (see pb___Abort), and so does a
   failed allocation. No sample that anybody can see has changed by then, though a shared object may already have been
   replaced in the handle. `Try` operations return null for input that cannot be handled. A count is also out of
   range where the size in bytes of what it counts does not fit in 64 bits.

   **Threads.** Any number of threads may hold and read the same packet, queue, filter or coefficient set, and each may
   change it through a handle of its own; one handle must not be used by two threads at once. A tone must not be
   gathered from on two threads at once.

   **Arithmetic.** IEEE 754 single precision with one rounding for each operation, in the default rounding mode; the
   result is the same whatever instructions the processor has and however a signal is cut into packets. That a result
   is NaN is part of this; which of the NaN patterns an addition or multiplication gives is unspecified. Operations that
   only move samples keep every bit.

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

/** Declares the eight standard functions of the sort `TYPE`, which may be called at any time and from any thread. */
#define PCM_DECLARE_SORT(prefix, TYPE)                                                                                 \
    /** Returns the sort's descriptor, by whose address the sort is known. */                                          \
    PCM_API const PB_SORT *prefix##Sort(void);                                                                         \
    /** Takes one more reference to obj. Ends the process when obj is null. */                                         \
    PCM_API void prefix##Retain(TYPE *obj);                                                                            \
    /** Gives up a reference to obj; the last one destroys the object. Ends the process when obj is null. */           \
    PCM_API void prefix##Release(TYPE *obj);                                                                           \
    /** Returns obj as a generic object: the same pointer, no new reference; null stays null. */                       \
    PCM_API PB_OBJ *prefix##Obj(TYPE *obj);                                                                            \
    /** Returns the generic object obj as one of this sort; null stays null. Ends the process for another sort. */     \
    PCM_API TYPE *prefix##From(PB_OBJ *obj);                                                                           \
    /** Returns a new string, owned by the caller, with the sort's name and the address of obj, which is not null. */  \
    PCM_API PB_STRING *prefix##ToString(TYPE *obj);                                                                    \
    /** Orders objects by address: negative, 0 or positive. Ends the process when objA or objB is null. */             \
    PCM_API pbInt prefix##Compare(TYPE *objA, TYPE *objB);                                                             \
    /** Returns whether objA and objB are the same object, or both null. Never ends the process. */                    \
    PCM_API pbBool prefix##Equals(TYPE *objA, TYPE *objB);

#endif
