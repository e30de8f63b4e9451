// Sample kernels: checks, then a straight loop that states what is computed.
#include "../pb/pb_assert.h"
#include "pcm_interleave.h"
#include "pcm_isa.h"

#include <pcm/pcm_samples.h>

#include <pb/pb_int.h>
#include <pb/pb_mem.h>

#include <bit>

namespace pcm {
namespace {

using FlatLoop = void(PCM_SAMPLE *dest, const PCM_SAMPLE *source, pbInt samples);
using ScaleLoop = void(PCM_SAMPLE *dest, pbInt samples, PCM_SAMPLE factor);
using ChannelLoop = void(PCM_SAMPLE *dest, pbInt destStep, const PCM_SAMPLE *source, pbInt sourceStep, pbInt frames);

struct Loops {
    FlatLoop *add, *mul;
    ScaleLoop *scale;
    ChannelLoop *channelCopy, *channelAdd, *channelMul;
};

} // namespace
} // namespace pcm

#define PCM_LOOPS "pcm_samples_loops.h"
#include "pcm_each_isa.h"

namespace {

constexpr pbInt kSample = PB_SIZEOF(PCM_SAMPLE);

void CheckFlat(const PCM_SAMPLE *dest, pbInt samples)
{
    PB_ASSERT(samples >= 0);
    PB_ASSERT(dest || !samples);
}

void CheckFlat(const PCM_SAMPLE *dest, const PCM_SAMPLE *source, pbInt samples)
{
    CheckFlat(dest, samples);
    PB_ASSERT(source || !samples);
}

void CheckFrames(const PCM_SAMPLE *dest, pbInt frames)
{
    PB_ASSERT(frames >= 0);
    PB_ASSERT(dest || !frames);
}

void CheckDestChannel(pbInt destChannel, pbInt destChannels)
{
    PB_ASSERT(destChannel >= 0);
    PB_ASSERT(destChannels >= 0);
    PB_ASSERT(destChannel < destChannels);
}

/// What the three kernels with two interleaved arrays have in common.
void WalkChannels(pcm::ChannelLoop *loop, PCM_SAMPLE *dest, pbInt destChannel, pbInt destChannels,
                  const PCM_SAMPLE *source, pbInt sourceChannel, pbInt sourceChannels, pbInt frames)
{
    CheckFrames(dest, frames);
    PB_ASSERT(source || !frames);
    CheckDestChannel(destChannel, destChannels);
    PB_ASSERT(sourceChannel >= 0);
    PB_ASSERT(sourceChannels >= 0);
    PB_ASSERT(sourceChannel < sourceChannels);

    if (frames)
        loop(dest + destChannel, destChannels, source + sourceChannel, sourceChannels, frames);
}

} // namespace

void pcm___SamplesCopy(PCM_SAMPLE *dest, const PCM_SAMPLE *source, pbInt samples)
{
    pbMemCopyN(dest, source, samples, kSample);
}

void pcm___SamplesMove(PCM_SAMPLE *dest, const PCM_SAMPLE *source, pbInt samples)
{
    pbMemMoveN(dest, source, samples, kSample);
}

void pcm___SamplesZero(PCM_SAMPLE *dest, pbInt samples)
{
    CheckFlat(dest, samples);

    if (samples)
        pbMemSetN(dest, 0, samples, kSample);
}

void pcm___SamplesAdd(PCM_SAMPLE *dest, const PCM_SAMPLE *source, pbInt samples)
{
    CheckFlat(dest, source, samples);

    pcm::loops.add(dest, source, samples);
}

void pcm___SamplesMul(PCM_SAMPLE *dest, const PCM_SAMPLE *source, pbInt samples)
{
    CheckFlat(dest, source, samples);

    pcm::loops.mul(dest, source, samples);
}

void pcm___SamplesScale(PCM_SAMPLE *dest, pbInt samples, pbReal factor)
{
    CheckFlat(dest, samples);

    pcm::loops.scale(dest, samples, static_cast<PCM_SAMPLE>(factor));
}

void pcm___SamplesChannelCopy(PCM_SAMPLE *dest, pbInt destChannel, pbInt destChannels, const PCM_SAMPLE *source,
                              pbInt sourceChannel, pbInt sourceChannels, pbInt frames)
{
    WalkChannels(pcm::loops.channelCopy, dest, destChannel, destChannels, source, sourceChannel, sourceChannels,
                 frames);
}

void pcm___SamplesChannelZero(PCM_SAMPLE *dest, pbInt destChannel, pbInt destChannels, pbInt frames)
{
    CheckFrames(dest, frames);
    CheckDestChannel(destChannel, destChannels);

    for (pbInt f = 0; f < frames; ++f)
        dest[f * destChannels + destChannel] = 0.0f;
}

void pcm___SamplesChannelAdd(PCM_SAMPLE *dest, pbInt destChannel, pbInt destChannels, const PCM_SAMPLE *source,
                             pbInt sourceChannel, pbInt sourceChannels, pbInt frames)
{
    WalkChannels(pcm::loops.channelAdd, dest, destChannel, destChannels, source, sourceChannel, sourceChannels, frames);
}

void pcm___SamplesChannelMul(PCM_SAMPLE *dest, pbInt destChannel, pbInt destChannels, const PCM_SAMPLE *source,
                             pbInt sourceChannel, pbInt sourceChannels, pbInt frames)
{
    WalkChannels(pcm::loops.channelMul, dest, destChannel, destChannels, source, sourceChannel, sourceChannels, frames);
}

void pcm___SamplesChannelScale(PCM_SAMPLE *dest, pbInt destChannel, pbInt destChannels, pbInt frames, pbReal factor)
{
    CheckFrames(dest, frames);
    CheckDestChannel(destChannel, destChannels);

    const auto gain = static_cast<PCM_SAMPLE>(factor);
    for (pbInt f = 0; f < frames; ++f)
        dest[f * destChannels + destChannel] *= gain;
}
