// What becomes of the channels and frames of packets, against its plain definition.
#pragma once

#include "support.h"

#include <algorithm>
#include <limits>

/// The average of a frame. Volatile: one rounding for each operation, in order, whatever the compiler would like.
inline PCM_SAMPLE Downmix(const Frame &frame)
{
    volatile PCM_SAMPLE sum = 0.0f;
    for (const PCM_SAMPLE sample : frame)
        sum = sum + sample;
    const volatile PCM_SAMPLE gain = static_cast<float>(1.0 / static_cast<double>(frame.size()));
    return sum * gain;
}

/// Bits, with one pattern for every NaN: which of them arithmetic yields is the processor's affair.
inline uint32_t Result(PCM_SAMPLE sample)
{
    return sample != sample ? 0x7FC00000u : std::bit_cast<uint32_t>(sample);
}

/// A packet whose samples lie at the very end of their block, which the sanitizers watch, and a second holder.
struct Subject {
    Subject(Random &random, pbInt channels, pbInt frames)
        : samples(random.OddRun(channels * frames)), pkt(samples, channels), holder(pkt.Get())
    {
    }
    ~Subject()
    {
        EXPECT_EQ(BitsOf(SamplesOf(holder.packet)), BitsOf(samples));
        EXPECT_EQ(RefCount(holder.packet), 1 + (pkt.Get() == holder.packet));
        ExpectSound(pkt.Get());
    }

    std::vector<Frame> Before() const { return Frames(holder.packet); }

    const Samples samples;
    pcm::Packet pkt;
    const Holder holder;
};

inline void CheckDownmix(Random &random, pbInt channels, pbInt wanted, bool expand, pbInt frames)
{
    Subject subject(random, channels, frames);
    if (expand)
        subject.pkt.ChannelsAdjustExpandWithDownmix(wanted);
    else
        subject.pkt.ChannelsAdjustReplaceWithDownmix(wanted);
    ASSERT_EQ(subject.pkt.Get() == subject.holder.packet, expand && wanted == channels);
    ASSERT_EQ(subject.pkt.Channels(), wanted);
    ASSERT_EQ(subject.pkt.Frames(), frames);
    const auto before = subject.Before(), after = Frames(subject.pkt.Get());
    const std::size_t kept = expand && wanted >= channels ? static_cast<std::size_t>(channels) : 0;
    for (std::size_t f = 0; f < after.size(); ++f)
        for (std::size_t c = 0; c < after[f].size(); ++c) {
            if (c < kept)
                ASSERT_EQ(std::bit_cast<uint32_t>(after[f][c]), std::bit_cast<uint32_t>(before[f][c]));
            else
                ASSERT_EQ(Result(after[f][c]), Result(Downmix(before[f]))) << f << ", " << c;
        }
}

inline void CheckRates(Random &random, pbInt channels, pbInt factor, pbInt frames)
{
    Subject extended(random, channels, frames);
    extended.pkt.FramesExtend(factor);
    ASSERT_NE(extended.pkt.Get(), extended.holder.packet);
    ASSERT_EQ(extended.pkt.Channels(), channels);
    Samples stuffed;
    for (const Frame &frame : extended.Before()) {
        stuffed.insert(stuffed.end(), frame.begin(), frame.end());
        stuffed.insert(stuffed.end(), static_cast<std::size_t>(channels * (factor - 1)), 0.0f);
    }
    ASSERT_EQ(BitsOf(SamplesOf(extended.pkt.Get())), BitsOf(stuffed));

    Subject reduced(random, channels, frames * factor);
    reduced.pkt.FramesReduce(factor);
    ASSERT_NE(reduced.pkt.Get(), reduced.holder.packet);
    ASSERT_EQ(reduced.pkt.Channels(), channels);
    Samples picked;
    const auto before = reduced.Before();
    for (std::size_t f = 0; f < before.size(); f += static_cast<std::size_t>(factor))
        picked.insert(picked.end(), before[f].begin(), before[f].end());
    ASSERT_EQ(BitsOf(SamplesOf(reduced.pkt.Get())), BitsOf(picked));
}

/// Samples of every kind, so that nothing but a copy keeps them all: any bits at all.
inline Samples AnyBits(Random &random, pbInt count)
{
    Samples samples;
    for (pbInt i = 0; i < count; ++i)
        samples.push_back(std::bit_cast<float>(static_cast<uint32_t>(random.Bits())));
    return samples;
}

/// Channel c of the result is channel from[c], or silence.
inline Samples Picked(const Samples &samples, pbInt channels, const std::vector<pbInt> &from)
{
    Samples picked;
    for (auto frame = samples.begin(); frame != samples.end(); frame += channels)
        for (const pbInt c : from)
            picked.push_back(c < 0 ? 0.0f : frame[c]);
    return picked;
}

inline Samples Summed(const Samples &samples, pbInt channels, pbInt after)
{
    Samples sums;
    for (auto frame = samples.begin(); frame != samples.end(); frame += channels) {
        float sum = 0.0f;
        for (pbInt c = 0; c < channels; ++c)
            sum += frame[c];
        sums.insert(sums.end(), static_cast<std::size_t>(after), sum);
    }
    return sums;
}

/// Lengths around the vectors, and long runs.
inline pbInt RandomFrames(Random &random)
{
    return random.OneIn(8) ? random.From(900, 2200) : random.From(0, 150);
}

inline pbInt RandomChannels(Random &random)
{
    if (random.OneIn(8))
        return random.From(63, 65); // the last that a mask can name
    return random.OneIn(4) ? random.From(1, 70) : random.From(1, random.OneIn(2) ? 4 : 8);
}

inline void CheckSetChannels(Random &random)
{
    const pbInt before = RandomChannels(random), after = RandomChannels(random), frames = RandomFrames(random);
    SCOPED_TRACE(std::to_string(before) + " to " + std::to_string(after) + ", frames " + std::to_string(frames));
    const Samples samples = AnyBits(random, before * frames);
    auto pkt = MakePacket(before, samples);
    PCM_PACKET *const object = pkt.Get();
    const Holder other(random.OneIn(2) ? object : nullptr);
    pkt.SetChannels(after);
    std::vector<pbInt> from;
    for (pbInt c = 0; c < after; ++c)
        from.push_back(c < before ? c : -1);
    EXPECT_EQ(pkt.Channels(), after);
    EXPECT_EQ(BitsOf(SamplesOf(pkt.Get())), BitsOf(Picked(samples, before, from)));
    EXPECT_EQ(pkt.Get() == object, !other.packet || before == after);
    ExpectSound(pkt.Get());
    if (other.packet) {
        EXPECT_EQ(BitsOf(SamplesOf(other.packet)), BitsOf(samples));
    }
}

inline void CheckMask(Random &random)
{
    const pbInt channels = RandomChannels(random), frames = RandomFrames(random);
    uint64_t mask = random.Bits() & (random.OneIn(2) ? random.Bits() : ~uint64_t{0});
    if (channels < 64)
        mask &= (uint64_t{1} << channels) - 1;
    mask |= uint64_t{1} << random.From(0, std::min<pbInt>(channels, 64) - 1);
    SCOPED_TRACE("mask " + std::to_string(mask) + " of " + std::to_string(channels) + ", frames " +
                 std::to_string(frames));
    const Samples samples = AnyBits(random, channels * frames);
    const auto source = MakePacket(channels, samples);
    const auto pkt = source.WithChannelMask(static_cast<pbInt>(mask));
    std::vector<pbInt> from;
    for (pbInt c = 0; c < 64; ++c)
        if (mask >> c & 1)
            from.push_back(c);
    EXPECT_EQ(pkt.Channels(), static_cast<pbInt>(from.size()));
    EXPECT_EQ(BitsOf(SamplesOf(pkt.Get())), BitsOf(Picked(samples, channels, from)));
    EXPECT_EQ(pkt.Get() == source.Get(), pkt.Channels() == channels);
    ExpectSound(pkt.Get());
}

inline void CheckSum(Random &random)
{
    const pbInt before = RandomChannels(random), after = RandomChannels(random), frames = RandomFrames(random);
    SCOPED_TRACE(std::to_string(before) + " to " + std::to_string(after) + ", frames " + std::to_string(frames));
    Samples samples = random.Run(before * frames);
    for (PCM_SAMPLE &sample : samples)
        if (random.OneIn(50))
            sample = random.OneIn(2) ? -0.0f : 1e-42f;
    const auto source = MakePacket(before, samples);
    const auto pkt = source.WithChannels(after);
    EXPECT_EQ(pkt.Channels(), after);
    if (before == after)
        EXPECT_EQ(pkt.Get(), source.Get());
    else
        EXPECT_EQ(BitsOf(SamplesOf(pkt.Get())), BitsOf(Summed(samples, before, after)));
    ExpectSound(pkt.Get());
}

inline void CheckRectangle(Random &random)
{
    const pbInt channels = RandomChannels(random), frames = random.From(1, 120);
    const bool onItself = random.OneIn(2);
    const pbInt sourceChannels = onItself ? channels : RandomChannels(random), sourceFrames = frames;
    const pbInt toChannel = random.From(0, channels), toFrame = random.From(0, frames),
                fromChannel = random.From(0, sourceChannels), fromFrame = random.From(0, sourceFrames),
                width = random.From(0, std::min(channels - toChannel, sourceChannels - fromChannel)),
                length = random.From(0, std::min(frames - toFrame, sourceFrames - fromFrame));
    SCOPED_TRACE(std::to_string(width) + " x " + std::to_string(length) + (onItself ? " onto itself" : ""));
    const Samples other = AnyBits(random, sourceChannels * sourceFrames);
    Samples expected = AnyBits(random, channels * frames);
    auto pkt = MakePacket(channels, expected);
    pkt.WriteChannels(toChannel, toFrame, onItself ? pkt.Samples() : std::span(other), fromChannel, sourceChannels,
                      fromFrame, width, length);
    const Samples &source = onItself ? expected : other; // one channel after another, each in the order of frames
    for (pbInt c = 0; c < width; ++c)
        for (pbInt f = 0; f < length; ++f)
            expected[(toFrame + f) * channels + toChannel + c] =
                source[(fromFrame + f) * sourceChannels + fromChannel + c];
    EXPECT_EQ(BitsOf(SamplesOf(pkt.Get())), BitsOf(expected));
}
