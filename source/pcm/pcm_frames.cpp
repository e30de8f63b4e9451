// Frame-rate change. A frame together with the silence that follows it, or with the frames that are dropped, is handled
// as one frame of more channels.
#include "pcm_interleave.h"
#include "pcm_object.h"

#include <pcm/pcm_frames.h>

#include <pb/pb_int.h>
#include <pb/pb_mem.h>

using pcm::Ref;

namespace {

/// Puts a new packet into the handle: every div-th frame of the old one, and after each mult - 1 frames of silence.
void Replace(PCM_PACKET **pkt, pbInt destFrames, pbInt mult, pbInt div)
{
    const pbInt sourceChannels = pcmPacketChannels(*pkt);
    PB_ASSERT(PB_INT_MUL_OK( destFrames, sourceChannels ));
    PCM_SAMPLE *samples = nullptr;
    if (destFrames) {
        PB_ASSERT(PB_INT_MUL_OK( destFrames, sourceChannels * PB_SIZEOF( PCM_SAMPLE ) ));
        samples = static_cast<PCM_SAMPLE *>(pbMemAllocN(destFrames * sourceChannels, PB_SIZEOF(PCM_SAMPLE)));
        pcm::MakeFrames(samples, {.width = sourceChannels * mult, .kept = sourceChannels}, pcmPacketBacking(*pkt),
                        sourceChannels * div, destFrames / mult);
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

    Replace(pkt, sourceFrames * mult, mult, 1);
}

void pcmFramesReduce(PCM_PACKET **pkt, pbInt div)
{
    PB_ASSERT(pkt);
    PB_ASSERT(*pkt);
    PB_ASSERT(div > 1);
    const pbInt sourceFrames = pcmPacketFrames(*pkt);
    PB_ASSERT(sourceFrames % div == 0);

    Replace(pkt, sourceFrames / div, 1, div);
}
