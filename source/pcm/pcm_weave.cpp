// Weaving: the choice of the loop.
#include "pcm_weave.h"

#include "pcm_levels.h"

#ifdef __x86_64__
#include <immintrin.h>
#endif

#include <numeric>

namespace pcm {
namespace {

struct Loops {
    decltype(Weave) *weave;
};

} // namespace
} // namespace pcm

#define PCM_LOOPS "pcm_weave_loops.h"
#include "pcm_each_level.h"

namespace {

const pcm::Loops loops = pcm::ForThisProcessor(pcm::base::kLoops, pcm::v3::kLoops, pcm::v4::kLoops);

} // namespace

void pcm::Weave(PCM_SAMPLE *dest, pbInt width, const PCM_SAMPLE *source, pbInt kept, const PCM_SAMPLE *filler,
                pbInt frames)
{
    loops.weave(dest, width, source, kept, filler, frames);
}
