/* For the samples: the program fails where what its page says does not hold. */
#ifndef CHECK_H
#define CHECK_H

#include <stdio.h>
#include <stdlib.h>

#define CHECK(...)                                                                                                     \
    do {                                                                                                               \
        if (!(__VA_ARGS__)) {                                                                                          \
            fprintf(stderr, "%s:%d: does not hold: %s\n", __FILE__, __LINE__, #__VA_ARGS__);                           \
            exit(1);                                                                                                   \
        }                                                                                                              \
    } while (0)

#endif
