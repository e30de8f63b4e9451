// Interleaved frames as wholes: channels picked, placed, filled up and summed in one walk over the frames, where the
// channel kernels walk once for each channel. Internal; the callers have checked that every sample exists.
#pragma once

#include <pcm/pcm_base.h>

#include <cstdint>
#include <functional>

namespace pcm {

/// How the samples of a frame of dest come from a frame of the source.
struct FrameShape {
    /// What the channels that are not kept become: +0.0; the frame's sum, from +0.0 in the order of the channels, times
    /// the gain; or what they were.
    enum Rest : uint8_t { kSilence, kSum, kUnchanged };

    pbInt width = 0; ///< samples of a frame of dest
    pbInt kept = 0;  ///< the first of them are channels of the source, in ascending order
    Rest rest = kSilence;
    uint64_t mask = 0; ///< which channels of the source; 0: the first ones
    PCM_SAMPLE gain = 1.0f;
};

/// Makes frames of dest, which lies apart from the source. Samples that are kept keep every bit.
///
/// Only for private packets and arrays of the library's own: between the first sample of dest and the last, those that
/// stay unchanged may be read and stored again. The channel kernels (pcm_samples.h) touch no sample but those asked
/// for.
void MakeFrames(PCM_SAMPLE *dest, const FrameShape &shape, const PCM_SAMPLE *source, pbInt sourceChannels,
                pbInt frames);

/// Whether two runs of samples have none in common.
inline bool Apart(const PCM_SAMPLE *a, pbInt aSamples, const PCM_SAMPLE *b, pbInt bSamples)
{
    const std::less_equal<> notAfter; // a total order, also across arrays
    return notAfter(a + aSamples, b) || notAfter(b + bSamples, a);
}

} // namespace pcm
