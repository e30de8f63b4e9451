// Compiles the file PCM_LOOPS once for each level, into the namespaces pcm::base, pcm::v3 and pcm::v4. There, PCM_LEVEL
// is 0, 1 or 2, PCM_VECTOR the bytes of a vector register, and every function carries PCM_TARGET. The file defines
// `constexpr ... kLoops`, includes nothing, and uses only names that are declared before. Where there is one level
// only, v3 and v4 are base.
//
// Attributes, not compiler options for whole files: no inline function of a header is then compiled for a processor
// that the program may not run on.

#define PCM_LEVEL 0
#define PCM_VECTOR 16
#define PCM_TARGET
namespace pcm::base {
#include PCM_LOOPS
}
#undef PCM_LEVEL
#undef PCM_VECTOR
#undef PCM_TARGET

#ifdef __x86_64__

#define PCM_LEVEL 1
#define PCM_VECTOR 32
#define PCM_TARGET __attribute__((target("avx2,fma,bmi,bmi2,popcnt")))
namespace pcm::v3 {
#include PCM_LOOPS
}
#undef PCM_LEVEL
#undef PCM_VECTOR
#undef PCM_TARGET

#define PCM_LEVEL 2
#define PCM_VECTOR 64
#define PCM_TARGET __attribute__((target("avx2,fma,bmi,bmi2,popcnt,avx512f,avx512bw,avx512cd,avx512dq,avx512vl")))
namespace pcm::v4 {
#include PCM_LOOPS
}
#undef PCM_LEVEL
#undef PCM_VECTOR
#undef PCM_TARGET

#else

namespace pcm {
namespace v3 = base;
namespace v4 = base;
} // namespace pcm

#endif

#undef PCM_LOOPS
