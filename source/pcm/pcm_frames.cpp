// Frame-rate change. A frame together with the silence that follows it, or with the frames that are dropped, is handled
// as one frame of more channels.
#include "pcm_interleave.h"
#include "pcm_object.h"

#include <pcm/pcm_frames.h>

#include <pb/pb_int.h>
#include <pb/pb_mem.h>

using pcm::Ref;

namespace {

/// Puts a new packet into the handle. `fill` computes its samples from the old one's, if it has frames.
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
        pcm::MakeFrames(dest, {.width = channels * mult, .kept = channels}, source, channels, sourceFrames);
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
        pcm::MakeFrames(dest, {.width = channels, .kept = channels}, source, channels * div, destFrames);
    });
}
