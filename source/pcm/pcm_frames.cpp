// Frame-rate change: frames are copied as blocks, with silence between them or others left out.
#include "pcm_levels.h"
#include "pcm_object.h"
#include "pcm_weave.h"

#include <pcm/pcm_frames.h>

#include <pb/pb_int.h>
#include <pb/pb_mem.h>

using pcm::Ref;

namespace pcm {
namespace {

/// Makes frames of dest of the first of each `div` frames of source.
using ReduceLoop = void(PCM_SAMPLE *dest, const PCM_SAMPLE *source, pbInt channels, pbInt div, pbInt frames);

struct Loops {
    ReduceLoop *reduce;
};

} // namespace
} // namespace pcm

#define PCM_LOOPS "pcm_frames_loops.h"
#include "pcm_each_level.h"

namespace {

const pcm::Loops loops = pcm::ForThisProcessor(pcm::base::kLoops, pcm::v3::kLoops, pcm::v4::kLoops);

/// Puts a new packet into the handle. `fill` makes its samples of the old one's, if it has frames.
template <class Fill> void Replace(PCM_PACKET **pkt, pbInt destFrames, Fill fill)
{
    const pbInt sourceChannels = pcmPacketChannels(*pkt);
    PB_ASSERT(PB_INT_MUL_OK( destFrames, sourceChannels ));
    PCM_SAMPLE *samples = nullptr;
    if (destFrames) {
        PB_ASSERT(PB_INT_MUL_OK( destFrames, sourceChannels * PB_SIZEOF( PCM_SAMPLE ) ));
        samples = static_cast<PCM_SAMPLE *>(pbMemAllocN(destFrames * sourceChannels, PB_SIZEOF(PCM_SAMPLE)));
        fill(samples, pcmPacketBacking(*pkt), sourceChannels);
    }
    pcm::Replace(pkt, Ref<PCM_PACKET>::Adopt(pcmPacketCreateFromSamplesUse(samples, sourceChannels, destFrames)));
}

} // namespace

void pcmFramesExtend(PCM_PACKET **pkt, pbInt mult)
{
    PB_ASSERT(pkt);
    PB_ASSERT(*pkt);
    PB_ASSERT(mult > 1);
    const pbInt sourceFrames = pcmPacketFrames(*pkt);
    PB_ASSERT(PB_INT_MUL_OK( sourceFrames, mult ));

    Replace(pkt, sourceFrames * mult, [=](PCM_SAMPLE *dest, const PCM_SAMPLE *source, pbInt channels) {
        pcm::Weave(dest, channels * mult, source, channels, nullptr, sourceFrames);
    });
}

void pcmFramesReduce(PCM_PACKET **pkt, pbInt div)
{
    PB_ASSERT(pkt);
    PB_ASSERT(*pkt);
    PB_ASSERT(div > 1);
    const pbInt sourceFrames = pcmPacketFrames(*pkt);
    PB_ASSERT(sourceFrames % div == 0);

    const pbInt destFrames = sourceFrames / div;
    Replace(pkt, destFrames, [=](PCM_SAMPLE *dest, const PCM_SAMPLE *source, pbInt channels) {
        loops.reduce(dest, source, channels, div, destFrames);
    });
}
