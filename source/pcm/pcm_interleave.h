// Interleaved frames as wholes: channels picked, placed and summed in one walk over the frames, where the channel
// kernels walk once for each channel. Internal; the callers have checked that every sample exists. Dest and source lie
// apart.
#pragma once

#include <pcm/pcm_base.h>

#include <cstdint>

namespace pcm {

/// Where the channels of new frames come from.
struct ChannelMap {
    static constexpr pbInt kChannels = 64; ///< at most

    pbInt channels = 0;
    int8_t from[kChannels] = {}; ///< not descending where it is a channel of the source; -1 is silence

    void Add(pbInt channel) { from[channels++] = static_cast<int8_t>(channel); }
};

/// Channel c of dest = channel map.from[c] of source, or +0.0.
void PickChannels(PCM_SAMPLE *dest, const ChannelMap &map, const PCM_SAMPLE *source, pbInt sourceChannels,
                  pbInt frames);

/// The first channels of dest = the first channels of source; other samples of dest stay.
void CopyChannels(PCM_SAMPLE *dest, pbInt destChannels, const PCM_SAMPLE *source, pbInt sourceChannels, pbInt channels,
                  pbInt frames);

/// dest[f] = +0.0 and then the samples of frame f added in the order of the channels.
void SumChannels(PCM_SAMPLE *dest, const PCM_SAMPLE *source, pbInt channels, pbInt frames);

} // namespace pcm
