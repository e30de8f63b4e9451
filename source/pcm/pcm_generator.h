// What the generators share: how a run of samples is made into a packet, or joined with one that is there. They check
// nothing: an operation checks its arguments in its own file.
#pragma once

#include <pcm/pcm_packet.h>

#include <pb/pb_int.h>
#include <pb/pb_mem.h>

namespace pcm {

/// A new packet of one channel with `samples`, at least 0, that `gather(tones..., dest, samples)` writes.
template <class Gather, class... Tones> PCM_PACKET *GatherPacket(pbInt samples, Gather gather, Tones... tones)
{
    PCM_SAMPLE *dest = nullptr;
    if (samples > 0) {
        dest = static_cast<PCM_SAMPLE *>(pbMemAllocN(samples, PB_SIZEOF(PCM_SAMPLE)));
        gather(tones..., dest, samples);
    }
    return pcmPacketCreateFromSamplesUse(dest, 1, samples);
}

/// Joins what dest holds with a signal that `gather(tones..., run, samples)` writes in runs; `join(dest, run, samples)`
/// is one of the sample kernels.
template <class Join, class Gather, class... Tones>
void JoinInRuns(PCM_SAMPLE *dest, pbInt samples, Join join, Gather gather, Tones... tones)
{
    constexpr pbInt kLongest = 128;
    PCM_SAMPLE run[kLongest];
    for (pbInt done = 0; done < samples;) {
        const pbInt n = pbIntMin(kLongest, samples - done);
        gather(tones..., run, n);
        join(dest + done, run, n);
        done += n;
    }
}

} // namespace pcm
