// Which instructions this processor has. The tests build the library with PCM_HIGHEST_LEVEL 0 and 1 too, so that every
// level is reached on one machine; only this file differs.
#include "pcm_levels.h"

#ifndef PCM_HIGHEST_LEVEL
#define PCM_HIGHEST_LEVEL 2
#endif

namespace pcm {

Level BestLevel()
{
#ifdef __x86_64__
    // GCOVR_EXCL_START: no one processor reaches every branch
    __builtin_cpu_init();
    const bool v3 = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma") && __builtin_cpu_supports("bmi") &&
                    __builtin_cpu_supports("bmi2") && __builtin_cpu_supports("popcnt");
    const bool v4 = v3 && __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
                    __builtin_cpu_supports("avx512cd") && __builtin_cpu_supports("avx512dq") &&
                    __builtin_cpu_supports("avx512vl");
    if (v4 && PCM_HIGHEST_LEVEL >= 2)
        return Level::V4;
    if (v3 && PCM_HIGHEST_LEVEL >= 1)
        return Level::V3;
        // GCOVR_EXCL_STOP
#endif
    return Level::Base;
}

} // namespace pcm
