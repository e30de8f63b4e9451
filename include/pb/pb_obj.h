/**
   @file
   Objects, their sorts, and the modules that own the sorts.

   Libraries of the product return objects: structures that begin with a PB_OBJ and exist as long as their reference
   count is above 0. A pointer to any object may be cast to `PB_OBJ *`.

   Threads: reference counts change atomically, so any number of threads may hold, retain and release one object.

   @since 1.0
*/
#ifndef PB_OBJ_H
#define PB_OBJ_H

#include <pb/pb_base.h>

PB_EXTERN_C_BEGIN

typedef struct PB_OBJ PB_OBJ;                     /**< the header of every object, and any object by its header */
typedef struct PB_SORT PB_SORT;                   /**< a sort of objects */
typedef struct PB_MODULE PB_MODULE;               /**< a library as its host sees it */
typedef struct PB_MODULE_RECORD PB_MODULE_RECORD; /**< who a module is */
typedef struct PB_STRING PB_STRING;               /**< a text (pb_string.h) */

/** The kind word of an object header. */
enum { PB_OBJ_KIND_INSTANCE = 0, PB_OBJ_KIND_SORT = 1, PB_OBJ_KIND_MODULE = 2 };

/** The header of every object: ten 64-bit words. Only the runtime reads or writes more of it than the count. */
struct PB_OBJ {
    pbInt kind;           /**< PB_OBJ_KIND_... */
    const PB_SORT *sort;  /**< the object's sort; null in static objects */
    pbInt allocationSize; /**< bytes that the object owns besides itself; -1 in static objects, which have no account */
    pbInt refCount;       /**< how many holders there are; changed and read with atomic instructions only */
    void *reserved[6];    /**< null */
};

/** The header of an object in static data: held once, by its library, which never retains or releases it. */
#define PB_OBJ_STATIC(kind)                                                                                            \
    {                                                                                                                  \
        (kind), 0, -1, 1,                                                                                              \
        {                                                                                                              \
            0, 0, 0, 0, 0, 0                                                                                           \
        }                                                                                                              \
    }

/** Describes one sort of objects; a sort is known by the address of its descriptor. */
struct PB_SORT {
    PB_OBJ obj;                             /**< kind PB_OBJ_KIND_SORT */
    PB_MODULE *module;                      /**< the module that owns the sort */
    const char *name;                       /**< such as "PCM_PACKET" */
    void (*free)(PB_OBJ *obj);              /**< gives up what the object owns, not its own memory; may be null */
    pbInt (*compare)(PB_OBJ *a, PB_OBJ *b); /**< negative, zero or positive; null: ordered by address */
    PB_STRING *(*toString)(PB_OBJ *obj);    /**< a new string; null: the sort's name and the address */
    void (*hooks[5])(void);                 /**< null */
};

/** A library as its host sees it. */
struct PB_MODULE {
    PB_OBJ obj;                     /**< kind PB_OBJ_KIND_MODULE */
    const PB_MODULE_RECORD *record; /**< who the module is */
    pbBool (*startup)(void);        /**< called once before anything else of the module; nonzero: success */
    void (*hook)(void);             /**< null */
    void (*shutdown)(void);         /**< called once after everything else of the module */
    void (*hooks[5])(void);         /**< null */
};

/** Identifies a module: fourteen 64-bit words, the texts NUL-terminated. */
struct PB_MODULE_RECORD {
    pbInt kind;                /**< PB_OBJ_KIND_MODULE */
    const char *product;       /**< the product's name */
    const char *productName;   /**< the same name */
    pbInt versionMajor;        /**< the product's version when the module was built, first number */
    pbInt versionMinor;        /**< second number */
    pbInt versionPatch;        /**< third number */
    const char *buildTime;     /**< such as "UTC 2026-03-01 12:00:00 (Sunday)" */
    const char *vendor;        /**< the maker */
    const char *rights;        /**< one line: who holds the rights */
    const char *name;          /**< the module's name, such as "pcm" */
    const char *description;   /**< what the module is for */
    const char *moduleVersion; /**< the module's own version */
    const char *dependencies;  /**< the modules that it needs */
    const char *remark;        /**< empty */
};

/**
   Makes an object: the header set up, the reference count 1, the sort's own fields indeterminate.

   @param size  bytes of the whole object, header and fields
   @param sort  its sort; must outlive the object
   @return the new object, never null; the caller sets every field of the sort

   Ends the process when the allocation fails.
*/
PB_API PB_OBJ *pb___ObjCreate(pbInt size, const PB_SORT *sort);

/** Destroys an object whose count has come to 0: runs the sort's free function, then frees the object's memory. */
PB_API void pb___ObjFree(PB_OBJ *obj);

/** Records how many bytes of memory the object owns besides itself. No effect on behaviour; at most one thread does so
    for one object at a time. */
PB_API void pb___ObjDbgSetAllocationSize(PB_OBJ *obj, pbInt bytes);

/** Records the same, given as count elements of size bytes each. */
PB_API void pb___ObjDbgSetAllocationSizeN(PB_OBJ *obj, pbInt count, pbInt size);

/** Returns the sort of obj. Ends the process when obj is null. */
PB_API const PB_SORT *pbObjSort(PB_OBJ *obj);

/**
   Orders two objects: by their sort's own order where both are of one sort that has one, otherwise by address.

   @param a  an object or null
   @param b  an object or null
   @return negative, zero or positive

   Null comes before every object, so an object without an order of its own equals only itself.
*/
PB_API pbInt pbObjCompare(PB_OBJ *a, PB_OBJ *b);

/**
   Describes an object: with its sort's own function, otherwise by the sort's name, a blank and the object's address.

   @param obj  the object
   @return a new string, owned by the caller

   Ends the process when obj is null.
*/
PB_API PB_STRING *pbObjToString(PB_OBJ *obj);

/** @name For hosts and tests
    The libraries above the runtime call none of these.
    @{ */
/** Takes one more reference to obj, of any sort. Ends the process when obj is null. */
PB_API void pbObjRetain(PB_OBJ *obj);

/** Gives up a reference to obj, of any sort; the last one destroys the object. Ends the process when obj is null. */
PB_API void pbObjRelease(PB_OBJ *obj);

/** Returns the bytes that obj owns besides itself, as last recorded; 0 when nothing was. */
PB_API pbInt pb___ObjDbgAllocationSize(PB_OBJ *obj);

/** Returns the number of objects of all sorts that exist now: 0 at the end of a host that leaks none. */
PB_API pbInt pb___ObjDbgObjects(void);
/** @} */

PB_EXTERN_C_END

#endif
