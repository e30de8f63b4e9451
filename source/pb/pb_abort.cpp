// The end of the process: one line, then abort().
#include <pb/pb_abort.h>

#include <cinttypes>
#include <cstdio>
#include <cstdlib>

void pb___Abort(const char *context, const char *file, pbInt line, const char *expression)
{
    std::fprintf(stderr, "%s:%" PRId64 ": %s%s%s\n", file, line, context ? context : "", context ? ": " : "",
                 expression);
    std::abort();
}
