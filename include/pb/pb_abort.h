/**
   @file
   The one way in which a broken precondition is reported: the process ends.

   Threads: may be called from any thread, at any time.

   @since 1.0
*/
#ifndef PB_ABORT_H
#define PB_ABORT_H

#include <pb/pb_base.h>

PB_EXTERN_C_BEGIN

/**
   Ends the process after reporting its arguments. Never returns.

   This runtime prints one line on standard error, `file:line: context: expression` or, without a context,
   `file:line: expression`, and calls abort(), so the signal is SIGABRT. A failed allocation ends the process in the
   same way.

   @param context     what was being done, or null
   @param file        the source file of the check, from the project's root and without its ending
   @param line        the line of the check in that file
   @param expression  the text of the condition that does not hold
*/
PB_NORETURN PB_API void pb___Abort(const char *context, const char *file, pbInt line, const char *expression);

PB_EXTERN_C_END

#endif
