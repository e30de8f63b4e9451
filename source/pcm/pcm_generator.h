// What the generators share: how a run of samples is laid down, made into a packet, or joined with one that is there.
// They check nothing: an operation checks its arguments in its own file.
#pragma once

#include <pcm/pcm_packet.h>

#include <pb/pb_int.h>
#include <pb/pb_mem.h>

namespace pcm {

/// Whether a walk replaces what the destination holds or adds to it.
enum class Lay { kStore, kAdd };

/// A new packet of one channel with `frames`, at least 0, that `gather(dest, samples)` writes.
template <class Gather> PCM_PACKET *GatherPacket(pbInt samples, Gather gather)
{
    PCM_SAMPLE *dest = nullptr;
    if (samples > 0) {
        dest = static_cast<PCM_SAMPLE *>(pbMemAllocN(samples, PB_SIZEOF(PCM_SAMPLE)));
        gather(dest, samples);
    }
    return pcmPacketCreateFromSamplesUse(dest, 1, samples);
}

/// Joins what dest holds with a signal that `gather(run, samples)` writes in runs; `join(dest, run, samples)` is one of
/// the sample kernels.
template <class Gather, class Join> void JoinInRuns(PCM_SAMPLE *dest, pbInt samples, Gather gather, Join join)
{
    constexpr pbInt kLongest = 128;
    PCM_SAMPLE run[kLongest];
    for (pbInt done = 0; done < samples;) {
        const pbInt n = pbIntMin(kLongest, samples - done);
        gather(run, n);
        join(dest + done, run, n);
        done += n;
    }
}

} // namespace pcm
