// Compiles the file PCM_LOOPS once for each instruction set, into the namespaces pcm::base, pcm::avx2 and pcm::avx512.
// The file defines `constexpr ... kLoops`, includes nothing, and uses only names that are declared before. In it every
// function carries PCM_TARGET, and where PCM_VECTOR, the bytes of a vector register, is defined, it has the vocabulary
// of pcm_vectors.h. Base on x86-64 goes without: no fused step, no shuffle of bytes. On aarch64 there is one set, Base,
// whose vectors are NEON's.
//
// Attributes, not compiler options for whole files: no inline function of a header is then compiled for a processor
// that the program may not run on.

#define PCM_TARGET
#ifdef __aarch64__
#define PCM_VECTOR 16
#endif
namespace pcm {
namespace {
namespace base {
#include "pcm_vectors.h"
#include PCM_LOOPS
} // namespace base
} // namespace
} // namespace pcm
#undef PCM_VECTOR
#undef PCM_TARGET

#ifdef __x86_64__

#define PCM_TARGET __attribute__((target("avx2,fma,bmi,bmi2,popcnt")))
#define PCM_VECTOR 32
namespace pcm {
namespace {
namespace avx2 {
#include "pcm_vectors.h"
#include PCM_LOOPS
} // namespace avx2
} // namespace
} // namespace pcm
#undef PCM_VECTOR
#undef PCM_TARGET

#define PCM_TARGET __attribute__((target("avx2,fma,bmi,bmi2,popcnt,avx512f,avx512bw,avx512cd,avx512dq,avx512vl")))
#define PCM_VECTOR 64
namespace pcm {
namespace {
namespace avx512 {
#include "pcm_vectors.h"
#include PCM_LOOPS
} // namespace avx512
} // namespace
} // namespace pcm
#undef PCM_VECTOR
#undef PCM_TARGET

#else

namespace pcm {
namespace {
namespace avx2 = base;
namespace avx512 = base;
} // namespace
} // namespace pcm

#endif

namespace pcm {
namespace {

const auto &loops = ForThisProcessor(base::kLoops, avx2::kLoops, avx512::kLoops);

} // namespace
} // namespace pcm

#undef PCM_LOOPS
