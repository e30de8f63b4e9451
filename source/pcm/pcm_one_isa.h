// One round of pcm_each_isa.h: the loops in the namespace pcm::PCM_ISA.
namespace pcm {
namespace {
namespace PCM_ISA {
#include "pcm_vectors.h"
#include PCM_LOOPS
} // namespace PCM_ISA
} // namespace
} // namespace pcm
#undef PCM_ISA
#undef PCM_VECTOR
#undef PCM_TARGET
