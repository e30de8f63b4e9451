// Interleaved frames as wholes. The loops are in pcm_interleave_loops.h.
#include "pcm_interleave.h"
#include "pcm_levels.h"

#include <cstring>

#ifdef __x86_64__
#include <immintrin.h>
#endif

namespace pcm {
namespace {

using PickLoop = void(PCM_SAMPLE *dest, const ChannelMap &map, const PCM_SAMPLE *source, pbInt sourceChannels,
                      pbInt frames);
using CopyLoop = void(PCM_SAMPLE *dest, pbInt destChannels, const PCM_SAMPLE *source, pbInt sourceChannels,
                      pbInt channels, pbInt frames);
using SumLoop = void(PCM_SAMPLE *dest, const PCM_SAMPLE *source, pbInt channels, pbInt frames);

struct Loops {
    PickLoop *pick;
    CopyLoop *copy;
    SumLoop *sum;
};

} // namespace
} // namespace pcm

#define PCM_LOOPS "pcm_interleave_loops.h"
#include "pcm_each_level.h"

namespace pcm {
namespace {

const Loops loops = ForThisProcessor(base::kLoops, v3::kLoops, v4::kLoops);

} // namespace

void PickChannels(PCM_SAMPLE *dest, const ChannelMap &map, const PCM_SAMPLE *source, pbInt sourceChannels, pbInt frames)
{
    loops.pick(dest, map, source, sourceChannels, frames);
}

void CopyChannels(PCM_SAMPLE *dest, pbInt destChannels, const PCM_SAMPLE *source, pbInt sourceChannels, pbInt channels,
                  pbInt frames)
{
    loops.copy(dest, destChannels, source, sourceChannels, channels, frames);
}

void SumChannels(PCM_SAMPLE *dest, const PCM_SAMPLE *source, pbInt channels, pbInt frames)
{
    loops.sum(dest, source, channels, frames);
}

} // namespace pcm
