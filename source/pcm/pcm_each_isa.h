// Compiles the file PCM_LOOPS once for each instruction set, into the namespaces pcm::base, pcm::avx2 and pcm::avx512.
// The file defines `constexpr ... kLoops`, includes nothing, and uses only names that are declared before. In it every
// function carries PCM_TARGET. A set with vectors has a name, PCM_NEON, PCM_AVX2 or PCM_AVX512, and PCM_VECTOR, the
// bytes of its registers: then the file has the vocabulary of pcm_vectors.h. Base on x86-64 goes without: no fused
// step, no shuffle of bytes. On aarch64 there is one set, Base, whose vectors are NEON's.
//
// Where PCM_VBMI is defined, the last set has the byte permutations of AVX-512 VBMI too; for such loops a processor
// without them takes those of AVX2.
//
// Attributes, not compiler options for whole files: no inline function of a header is then compiled for a processor
// that the program may not run on.

#define PCM_ISA base
#define PCM_TARGET
#ifdef __aarch64__
#define PCM_NEON
#define PCM_VECTOR 16
#endif
#include "pcm_one_isa.h"
#undef PCM_NEON

#ifdef __x86_64__

#define PCM_ISA avx2
#define PCM_AVX2
#define PCM_VECTOR 32
#define PCM_TARGET __attribute__((target("avx2,fma,bmi,bmi2,popcnt")))
#include "pcm_one_isa.h"
#undef PCM_AVX2

#ifdef PCM_VBMI
#define PCM_BYTES ",avx512vbmi"
#else
#define PCM_BYTES
#endif
#define PCM_ISA avx512
#define PCM_AVX512
#define PCM_VECTOR 64
#define PCM_TARGET                                                                                                     \
    __attribute__((target("avx2,fma,bmi,bmi2,popcnt,avx512f,avx512bw,avx512cd,avx512dq,avx512vl" PCM_BYTES)))
#include "pcm_one_isa.h"
#undef PCM_AVX512
#undef PCM_BYTES

#else

namespace pcm {
namespace avx2 = base;
namespace avx512 = base;
} // namespace pcm

#endif

namespace pcm {
namespace {

#ifdef PCM_VBMI
const auto &loops = ForThisProcessor(base::kLoops, avx2::kLoops, avx512::kLoops, Isa::Avx512Vbmi);
#else
const auto &loops = ForThisProcessor(base::kLoops, avx2::kLoops, avx512::kLoops);
#endif

} // namespace
} // namespace pcm

#undef PCM_LOOPS
