// Channel adjustment: one pass over the frames computes the downmix and writes it beside the channels that are kept.
#include "pcm_interleave.h"
#include "pcm_packet_unfilled.h"

#include <pcm/pcm_channels.h>

#include <utility>

using pcm::Ref;

namespace {

/// Puts a new packet into the handle. Its first `kept` channels, none or all, are the old packet's.
void Adjust(PCM_PACKET **pkt, pbInt channels, pbInt kept)
{
    const pbInt frames = pcmPacketFrames(*pkt), old = pcmPacketChannels(*pkt);
    if (frames == 0)
        return pcm::Replace(pkt, Ref<PCM_PACKET>::Adopt(pcmPacketCreate(channels)));

    auto adjusted = pcm::CreateUnfilled(channels, frames);
    const auto gain = static_cast<PCM_SAMPLE>(1.0 / static_cast<pbReal>(old));
    pcm::MakeFrames(pcmPacketMutableBacking(adjusted.Handle()),
                    {.width = channels, .kept = kept, .rest = pcm::FrameShape::kSum, .gain = gain},
                    pcmPacketBacking(*pkt), old, frames);
    pcm::Replace(pkt, std::move(adjusted));
}

} // namespace

void pcmChannelsAdjustReplaceWithDownmix(PCM_PACKET **pkt, pbInt channels)
{
    PB_ASSERT(pkt);
    PB_ASSERT(*pkt);
    PB_ASSERT(channels > 0);

    Adjust(pkt, channels, 0);
}

void pcmChannelsAdjustExpandWithDownmix(PCM_PACKET **pkt, pbInt channels)
{
    PB_ASSERT(pkt);
    PB_ASSERT(*pkt);
    PB_ASSERT(channels > 0);
    const pbInt old = pcmPacketChannels(*pkt);
    if (channels == old)
        return;
    if (channels < old)
        return Adjust(pkt, channels, 0);
    if (pcmPacketFrames(*pkt))
        return Adjust(pkt, channels, old);
    auto wide = Ref<PCM_PACKET>::Share(*pkt);
    pcmPacketSetChannels(wide.Handle(), channels);
    pcm::Replace(pkt, std::move(wide));
}
