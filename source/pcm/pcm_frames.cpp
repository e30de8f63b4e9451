// Frame-rate change: frames are copied as blocks, with silence between them or others left out.
#include "pcm_levels.h"
#include "pcm_object.h"

#include <pcm/pcm_frames.h>

#include <pb/pb_int.h>
#include <pb/pb_mem.h>

using pcm::Ref;

namespace pcm {
namespace {

/// Makes as many frames of dest, or groups of `factor` frames, as there are groups or frames in source.
using FramesLoop = void(PCM_SAMPLE *dest, const PCM_SAMPLE *source, pbInt channels, pbInt factor, pbInt frames);

struct Loops {
    FramesLoop *extend, *reduce;
};

} // namespace
} // namespace pcm

#define PCM_LOOPS "pcm_frames_loops.h"
#include "pcm_each_level.h"

namespace {

const pcm::Loops loops = pcm::ForThisProcessor(pcm::base::kLoops, pcm::v3::kLoops, pcm::v4::kLoops);

/// Puts a new packet into the handle with what the loop makes of so many steps over the old one.
void Replace(PCM_PACKET **pkt, pbInt destFrames, pcm::FramesLoop *loop, pbInt factor, pbInt steps)
{
    const pbInt sourceChannels = pcmPacketChannels(*pkt);
    PB_ASSERT(PB_INT_MUL_OK( destFrames, sourceChannels ));
    PCM_SAMPLE *samples = nullptr;
    if (destFrames) {
        PB_ASSERT(PB_INT_MUL_OK( destFrames, sourceChannels * PB_SIZEOF( PCM_SAMPLE ) ));
        samples = static_cast<PCM_SAMPLE *>(pbMemAllocN(destFrames * sourceChannels, PB_SIZEOF(PCM_SAMPLE)));
        loop(samples, pcmPacketBacking(*pkt), sourceChannels, factor, steps);
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

    Replace(pkt, sourceFrames * mult, loops.extend, mult, sourceFrames);
}

void pcmFramesReduce(PCM_PACKET **pkt, pbInt div)
{
    PB_ASSERT(pkt);
    PB_ASSERT(*pkt);
    PB_ASSERT(div > 1);
    const pbInt sourceFrames = pcmPacketFrames(*pkt);
    PB_ASSERT(sourceFrames % div == 0);

    Replace(pkt, sourceFrames / div, loops.reduce, div, sourceFrames / div);
}
