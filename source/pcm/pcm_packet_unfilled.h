// Packets for operations that make all samples of a new packet at once. Internal.
#pragma once

#include "pcm_object.h"

#include <pcm/pcm_packet.h>

namespace pcm {

/// A new packet, its samples still to be set: channels at least 1, frames at least 0. Ends the process when 64 bits
/// cannot count the bytes.
Ref<PCM_PACKET> CreateUnfilled(pbInt channels, pbInt frames);

} // namespace pcm
