/**
   @file
   Channel adjustment: bringing a packet to the channel count of its consumer.

   What is put into channels is the downmix, the plain average of a frame: its n samples added in channel order in
   single precision, beginning with +0.0, and the sum times 1.0 / n rounded to single precision. Every channel counts
   the same, and nothing is clamped.

   Both operations take the packet by its in-out handle and end the process when pkt or *pkt is null, when channels is
   below 1, or when the size of the new packet does not fit in 64 bits. The packet that was in the handle is not
   changed, so its other holders see nothing.

   @since 1.0
*/
#ifndef PCM_CHANNELS_H
#define PCM_CHANNELS_H

#include <pcm/pcm_base.h>
#include <pcm/pcm_packet.h>

PCM_EXTERN_C_BEGIN

/**
   Puts a new packet into the handle whose channels are all the downmix.

   Always a new packet, also when the channel count stays. One channel becomes copies of itself in which -0.0 is +0.0.
*/
PCM_API void pcmChannelsAdjustReplaceWithDownmix(PCM_PACKET **pkt, pbInt channels);

/**
   Keeps the channels that are there and adds channels that hold the downmix.

   With more channels than the packet has, a new packet is put into the handle. With as many, the handle and the packet
   stay as they are, shared or not. With fewer this is pcmChannelsAdjustReplaceWithDownmix.
*/
PCM_API void pcmChannelsAdjustExpandWithDownmix(PCM_PACKET **pkt, pbInt channels);

PCM_EXTERN_C_END

#endif
