/**
   @file
   Enumerations: tables of names and values that turn one into the other.

   Every operation ends the process when an object or a text is null. Threads: any number may hold and read an
   enumeration; each changes it through a handle of its own.

   @since 1.0
*/
#ifndef PB_ENUM_H
#define PB_ENUM_H

#include <pb/pb_obj.h>

PB_EXTERN_C_BEGIN

/** A table of names and values. */
typedef struct PB_ENUM PB_ENUM;

/** Makes an enumeration without names. Returns it, owned by the caller. */
PB_API PB_ENUM *pbEnumCreate(void);

/**
   Gives a name a value; a name that is there already gets the new one.

   @param enm     in-out handle; a shared enumeration is first replaced there by a private copy
   @param name    the name
   @param length  its bytes, or -1: up to the NUL
   @param value   its value
*/
PB_API void pbEnumSetEnumerantCstr(PB_ENUM **enm, const char *name, pbInt length, pbInt value);

/** Returns the value of the name that is exactly the text pbs, or -1 when enm has no such name. */
PB_API pbInt pbEnumParse(PB_ENUM *enm, PB_STRING *pbs);

/** Returns a string with the first name of value: a reference, owned by the caller, to a string that others may hold
    too. Ends the process when there is none. */
PB_API PB_STRING *pbEnumGenerate(PB_ENUM *enm, pbInt value);

PB_EXTERN_C_END

#endif
