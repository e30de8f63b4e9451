// One round of pcm_each_isa.h: the loops in the namespace pcm::PCM_ISA.
namespace pcm::PCM_ISA {
namespace {
#include "pcm_vectors.h"
#include PCM_LOOPS
} // namespace
} // namespace pcm::PCM_ISA
#undef PCM_ISA
#undef PCM_VECTOR
#undef PCM_TARGET
