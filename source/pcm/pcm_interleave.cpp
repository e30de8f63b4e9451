// Interleaved frames as wholes. The loops are in pcm_interleave_loops.h.
#include "pcm_interleave.h"
#include "pcm_isa.h"

#include <algorithm>
#include <bit>
#include <numeric>

namespace pcm {
namespace {

using MakeLoop = decltype(MakeFrames);

/// Takes the lowest channel out of those that a mask names. @return it
inline pbInt NextChannel(uint64_t &mask)
{
    const pbInt channel = std::countr_zero(mask);
    mask &= mask - 1;
    return channel;
}

} // namespace
} // namespace pcm

#define PCM_LOOPS "pcm_interleave_loops.h"
#include "pcm_each_isa.h"

void pcm::MakeFrames(PCM_SAMPLE *dest, const FrameShape &shape, const PCM_SAMPLE *source, pbInt sourceChannels,
                     pbInt frames)
{
    loops(dest, shape, source, sourceChannels, frames);
}
