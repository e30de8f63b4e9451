// Which instructions this processor has. The tests and the benchmark build the library with PCM_HIGHEST_ISA 0 and 1
// too, so that every set is reached on one machine; only this file differs.
#include "pcm_isa.h"

#include <pcm/pcm_module.h>

#ifndef PCM_HIGHEST_ISA
#define PCM_HIGHEST_ISA 3
#endif

namespace pcm {

Isa BestIsa()
{
#ifdef __x86_64__
    // GCOVR_EXCL_START: no one processor reaches every branch
    __builtin_cpu_init();
    const bool avx2 = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma") &&
                      __builtin_cpu_supports("bmi") && __builtin_cpu_supports("bmi2") &&
                      __builtin_cpu_supports("popcnt");
    const bool avx512 = avx2 && __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
                        __builtin_cpu_supports("avx512cd") && __builtin_cpu_supports("avx512dq") &&
                        __builtin_cpu_supports("avx512vl");
    if (avx512 && __builtin_cpu_supports("avx512vbmi") && PCM_HIGHEST_ISA >= 3)
        return Isa::Avx512Vbmi;
    if (avx512 && PCM_HIGHEST_ISA >= 2)
        return Isa::Avx512;
    if (avx2 && PCM_HIGHEST_ISA >= 1)
        return Isa::Avx2;
        // GCOVR_EXCL_STOP
#endif
    return Isa::Base;
}

} // namespace pcm

const char *pcm___ModuleIsa()
{
#ifdef __aarch64__
    return "neon";
#else
    constexpr const char *kNames[] = {"base", "avx2", "avx512", "avx512"};
    return kNames[static_cast<int>(pcm::BestIsa())];
#endif
}
