// Interleaved frames as wholes. The loops are in pcm_interleave_loops.h.
#include "pcm_interleave.h"
#include "pcm_isa.h"

#include <pcm/pcm_samples.h>

#include <algorithm>
#include <bit>

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

/// The channels of a mask.
void MakePicked(PCM_SAMPLE *dest, const FrameShape &shape, const PCM_SAMPLE *source, pbInt channels, pbInt frames)
{
    uint8_t picked[64];
    uint64_t mask = shape.mask;
    for (pbInt c = 0; c < shape.width; ++c)
        picked[c] = static_cast<uint8_t>(NextChannel(mask));
    for (pbInt f = 0; f < frames; ++f, source += channels)
        for (pbInt c = 0; c < shape.width; ++c)
            *dest++ = source[picked[c]];
}

/// One channel into one of each frame.
void MakeChannel(PCM_SAMPLE *dest, const FrameShape &shape, const PCM_SAMPLE *source, pbInt channels, pbInt frames)
{
    const pbInt channel = shape.mask ? std::countr_zero(shape.mask) : 0;
    pcm___SamplesChannelCopy(dest, 0, shape.width, source, channel, channels, frames);
}

} // namespace
} // namespace pcm

#define PCM_LOOPS "pcm_interleave_loops.h"
#include "pcm_each_isa.h"

void pcm::MakeFrames(PCM_SAMPLE *dest, const FrameShape &shape, const PCM_SAMPLE *source, pbInt sourceChannels,
                     pbInt frames)
{
    if (frames)
        loops(dest, shape, source, sourceChannels, frames);
}
