/**
   @file
   Flag sets: tables of flag names and bits that turn flag words into text and back.

   The text of a flag word is the names of its flags joined by `|`, in ascending order of value; no flag is the empty
   text. In a text that is read, blanks around a name do not matter, and names that are not in the set contribute
   nothing.

   Every operation ends the process when an object or a text is null. Threads: any number may hold and read a flag
   set; each changes it through a handle of its own.

   @since 1.0
*/
#ifndef PB_FLAGSET_H
#define PB_FLAGSET_H

#include <pb/pb_obj.h>

PB_EXTERN_C_BEGIN

/** A table of flag names and bits. */
typedef struct PB_FLAGSET PB_FLAGSET;

/** Makes a flag set without names. Returns it, owned by the caller. */
PB_API PB_FLAGSET *pbFlagsetCreate(void);

/** Returns whether flags has the name, of which length is the number of bytes, or -1: up to the NUL. */
PB_API pbBool pbFlagsetHasFlagCstr(PB_FLAGSET *flags, const char *name, pbInt length);

/**
   Gives a name its bit or bits; a name that is there already gets the new ones.

   @param flags   in-out handle; a shared set is first replaced there by a private copy
   @param name    the name, without `|` and without blanks at its ends
   @param length  its bytes, or -1: up to the NUL
   @param value   its bits
*/
PB_API void pbFlagsetSetFlagCstr(PB_FLAGSET **flags, const char *name, pbInt length, pbInt value);

/** Returns the bits of all names in the text pbs, combined with bitwise or. */
PB_API pbInt pbFlagsetParse(PB_FLAGSET *flags, PB_STRING *pbs);

/** Returns a new string, owned by the caller, with the names of the flags of which value has every bit; bits without a
    name are left out. */
PB_API PB_STRING *pbFlagsetGenerate(PB_FLAGSET *flags, pbInt value);

PB_EXTERN_C_END

#endif
