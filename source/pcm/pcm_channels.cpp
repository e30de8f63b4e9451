// Channel adjustment: one pass over the frames makes the downmix and lays it down beside what is kept.
#include "pcm_levels.h"
#include "pcm_packet_unfilled.h"
#include "pcm_weave.h"

#include <pcm/pcm_channels.h>

#include <utility>

using pcm::Ref;

namespace pcm {
namespace {

/// Makes frames of dest from frames of source: the first `kept` channels as they are, the others the downmix.
using AdjustLoop = void(PCM_SAMPLE *dest, pbInt destChannels, const PCM_SAMPLE *source, pbInt sourceChannels,
                        pbInt kept, pbInt frames);

struct Loops {
    AdjustLoop *adjust;
};

} // namespace
} // namespace pcm

#define PCM_LOOPS "pcm_channels_loops.h"
#include "pcm_each_level.h"

namespace {

const pcm::Loops loops = pcm::ForThisProcessor(pcm::base::kLoops, pcm::v3::kLoops, pcm::v4::kLoops);

/// Puts a new packet into the handle. Its first `kept` channels, none or all, are the old packet's.
void Adjust(PCM_PACKET **pkt, pbInt channels, pbInt kept)
{
    const pbInt frames = pcmPacketFrames(*pkt);
    if (frames == 0)
        return pcm::Replace(pkt, Ref<PCM_PACKET>::Adopt(pcmPacketCreate(channels)));

    auto adjusted = pcm::CreateUnfilled(channels, frames);
    loops.adjust(pcmPacketMutableBacking(adjusted.Handle()), channels, pcmPacketBacking(*pkt), pcmPacketChannels(*pkt),
                 kept, frames);
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
