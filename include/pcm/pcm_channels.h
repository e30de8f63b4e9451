/**
   @file
   Channel adjustment: gives a packet the channel count that its consumer needs, by downmix.

   The downmix of a frame is the average of its n samples: they are added in channel order in single precision,
   beginning with +0.0, and the sum is multiplied by 1.0 / n rounded to single precision. Nothing is clamped. Where a
   sum of channels is wanted instead, there is pcmPacketCreateFromWithChannels.

   Both operations take the packet by its in-out handle pkt and end the process when pkt or *pkt is null, channels, the
   count wanted, is below 1, or 64 bits cannot count the bytes of the result; a packet without frames may be replaced by
   one of any channel count, but not expanded to 2^61 or more. The packet that was in the handle is not changed.

   @since 1.0
*/
#ifndef PCM_CHANNELS_H
#define PCM_CHANNELS_H

#include <pcm/pcm_base.h>
#include <pcm/pcm_packet.h>

PCM_EXTERN_C_BEGIN

/**
   Replaces the packet in the handle by a new one in which every channel is the downmix.

   The packet is new also when the channel count stays. One channel is copied into all, -0.0 as +0.0.
*/
PCM_API void pcmChannelsAdjustReplaceWithDownmix(PCM_PACKET **pkt, pbInt channels);

/**
   Replaces the packet in the handle by a new one that keeps its channels and adds channels that hold the downmix.

   With the channel count that the packet has, the handle keeps the packet, shared or not. With a smaller one this is
   pcmChannelsAdjustReplaceWithDownmix.
*/
PCM_API void pcmChannelsAdjustExpandWithDownmix(PCM_PACKET **pkt, pbInt channels);

PCM_EXTERN_C_END

#endif
