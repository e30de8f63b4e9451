// The channels of packets: how many, which, and from where.
#include "support.h"

#include <algorithm>

namespace {

constexpr pbInt kMost = INT64_MAX;

/// Samples of every kind, so that nothing but a copy keeps them all: any bits at all.
Samples AnyBits(Random &random, pbInt count)
{
    Samples samples;
    for (pbInt i = 0; i < count; ++i)
        samples.push_back(std::bit_cast<float>(static_cast<uint32_t>(random.Bits())));
    return samples;
}

/// Channel c of the result is channel from[c], or silence.
Samples Picked(const Samples &samples, pbInt channels, const std::vector<pbInt> &from)
{
    Samples picked;
    for (auto frame = samples.begin(); frame != samples.end(); frame += channels)
        for (const pbInt c : from)
            picked.push_back(c < 0 ? 0.0f : frame[c]);
    return picked;
}

Samples Summed(const Samples &samples, pbInt channels, pbInt after)
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
pbInt RandomFrames(Random &random)
{
    return random.OneIn(8) ? random.From(900, 2200) : random.From(0, 150);
}

pbInt RandomChannels(Random &random)
{
    return random.OneIn(4) ? random.From(1, 70) : random.From(1, 8);
}

} // namespace

TEST(PacketLayout, SetChannelsKeepsTheFirstAndAddsSilence)
{
    Random random;
    for (int round = 0; round < 500 && !HasFailure(); ++round) {
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
}

TEST(PacketLayout, AMaskSelectsChannelsInTheirOrder)
{
    Random random;
    for (int round = 0; round < 500 && !HasFailure(); ++round) {
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
}

TEST(PacketLayout, EveryChannelBecomesTheSumOfAllInTheirOrder)
{
    EXPECT_EQ(SamplesOf(MakePacket(2, {0.25f, 0.5f}).WithChannels(1).Get()), Samples{0.75f});
    EXPECT_EQ(SamplesOf(MakePacket(3, {0x1p24f, 1.0f, 1.0f}).WithChannels(2).Get()), (Samples{0x1p24f, 0x1p24f}));
    EXPECT_EQ(BitsOf(SamplesOf(MakePacket(1, {-0.0f}).WithChannels(2).Get())), BitsOf({0.0f, 0.0f}));
    Random random;
    for (int round = 0; round < 500 && !HasFailure(); ++round) {
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
}

TEST(PacketLayout, WritesARectangleAlsoOntoItself)
{
    Random random;
    for (int round = 0; round < 1000 && !HasFailure(); ++round) {
        const pbInt channels = RandomChannels(random), frames = random.From(1, 60);
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
}

TEST(PacketLayout, AnEmptyRectangleOnlyMakesPrivate)
{
    auto pkt = MakePacket(2, {1, 2, 3, 4});
    const auto other = pkt;
    pkt.WriteChannels(2, 0, {}, 0, kMost, kMost - 2, 0, 0);
    EXPECT_NE(pkt.Get(), other.Get());
    EXPECT_EQ(SamplesOf(pkt.Get()), (Samples{1, 2, 3, 4}));
    pcm::Packet empty(2);
    empty.WriteChannels(0, 0, empty, 0, 0, 2, 0);
    EXPECT_EQ(RefCount(empty.Get()), 1);
}

TEST(PacketLayoutDeathTest, RefusesInTheOrderOfTheArguments)
{
    static pcm::Packet pkt, source, empty;
    static PCM_PACKET *nothing = nullptr;
    pkt = MakePacket(2, {1, 2, 3, 4, 5, 6});
    source = MakePacket(3, {1, 2, 3});
    empty = pcm::Packet(2);
    const PCM_SAMPLE one = 0;
    static const PCM_SAMPLE *const array = &one;
    static const auto write = [](pbInt destChannelOffset, pbInt destFrameOffset, const PCM_SAMPLE *samples,
                                 pbInt sourceChannelOffset, pbInt sourceChannelCount, pbInt sourceFrameOffset,
                                 pbInt channels, pbInt frames) {
        pcmPacketWriteChannelsSamples(pkt.Address(), destChannelOffset, destFrameOffset, samples, sourceChannelOffset,
                                      sourceChannelCount, sourceFrameOffset, channels, frames);
    };
    // clang-format off
    const struct { const char *name; void (*call)(); const char *expression; } rows[] = {
        {"set: no handle", [] { pcmPacketSetChannels(nullptr, 0); }, "pkt"},
        {"set: no packet", [] { pcmPacketSetChannels(&nothing, 0); }, "*pkt"},
        {"set: none", [] { pkt.SetChannels(0); }, "channels > 0"},
        {"set: a frame's bytes", [] { empty.SetChannels(pbInt{1} << 61); }, "PB_INT_MUL_OK( channels, PB_SIZEOF( PCM_SAMPLE ) )"},
        {"set: bytes", [] { pkt.SetChannels(pbInt{1} << 60); }, "PB_INT_MUL_OK( frames, channels * PB_SIZEOF( PCM_SAMPLE ) )"},
        {"sum: no source", [] { pcmPacketCreateFromWithChannels(nullptr, 0); }, "source"},
        {"sum: none", [] { pkt.WithChannels(0); }, "channels > 0"},
        {"sum: a frame's bytes", [] { empty.WithChannels(pbInt{1} << 61); }, "PB_INT_MUL_OK( channels, PB_SIZEOF( PCM_SAMPLE ) )"},
        {"sum: bytes", [] { pkt.WithChannels(pbInt{1} << 60); }, "PB_INT_MUL_OK( source->frames, channels * PB_SIZEOF( PCM_SAMPLE ) )"},
        {"mask: no source", [] { pcmPacketCreateFromWithChannelMask(nullptr, 0); }, "source"},
        {"mask: none", [] { pkt.WithChannelMask(0); }, "channelMask"},
        {"mask: one too many", [] { pkt.WithChannelMask(7); }, "HighestChannel(channelMask) < source->channels"},
        {"mask: as many, but others", [] { pkt.WithChannelMask(5); }, "HighestChannel(channelMask) < source->channels"},
        {"mask: the sign", [] { pkt.WithChannelMask(INT64_MIN); }, "HighestChannel(channelMask) < source->channels"},
        {"write: no handle", [] { pcmPacketWriteChannelsSamples(nullptr, -1, -1, nullptr, -1, -1, -1, -1, -1); }, "pkt"},
        {"write: no packet", [] { pcmPacketWriteChannelsSamples(&nothing, -1, -1, nullptr, -1, -1, -1, -1, -1); }, "*pkt"},
        {"write: channel", [] { write(-1, -1, nullptr, -1, -1, -1, -1, -1); }, "destChannelOffset >= 0"},
        {"write: channel sum", [] { write(1, -1, nullptr, -1, -1, -1, kMost, -1); }, "PB_INT_ADD_OK( destChannelOffset, channels )"},
        {"write: channels", [] { write(1, -1, nullptr, -1, -1, -1, 2, -1); }, "destChannelOffset + channels <= (*pkt)->channels"},
        {"write: frame", [] { write(1, -1, nullptr, -1, -1, -1, 1, -1); }, "destFrameOffset >= 0"},
        {"write: frame sum", [] { write(1, 1, nullptr, -1, -1, -1, 1, kMost); }, "PB_INT_ADD_OK( destFrameOffset, frames )"},
        {"write: frames", [] { write(1, 1, nullptr, -1, -1, -1, 1, 3); }, "destFrameOffset + frames <= (*pkt)->frames"},
        {"write: no source", [] { write(1, 1, nullptr, -1, -1, -1, 1, 1); }, "source || !frames"},
        {"write: source channel", [] { write(1, 1, array, -1, -1, -1, 1, 1); }, "sourceChannelOffset >= 0"},
        {"write: source channel sum", [] { write(1, 1, array, kMost, -1, -1, 1, 1); }, "PB_INT_ADD_OK( sourceChannelOffset, channels )"},
        {"write: source channels", [] { write(1, 1, array, 0, 0, -1, 1, 1); }, "sourceChannelOffset + channels <= sourceChannelCount"},
        {"write: source frame", [] { write(1, 1, array, 0, 1, -1, 1, 1); }, "sourceFrameOffset >= 0"},
        {"write: source frame sum", [] { write(1, 1, array, 0, 1, kMost, 1, 1); }, "PB_INT_ADD_OK( sourceFrameOffset, frames )"},
        {"write: fewer channels than none", [] { write(1, 1, array, 0, 1, 0, -1, -1); }, "channels >= 0"},
        {"write: fewer frames than none", [] { write(1, 1, array, 0, 1, 0, 1, -1); }, "frames >= 0"},
        {"write: an array's frame too wide", [] { write(1, 1, array, 0, pbInt{1} << 61, 0, 1, 1); }, "PB_INT_MUL_OK( sourceChannelCount, PB_SIZEOF( PCM_SAMPLE ) )"},
        {"write: an array too long", [] { write(1, 1, array, 0, 2, pbInt{1} << 60, 1, 1); }, "PB_INT_MUL_OK( sourceFrameOffset + frames, sourceChannelCount * PB_SIZEOF( PCM_SAMPLE ) )"},
        {"write packet: no handle", [] { pcmPacketWriteChannels(nullptr, -1, -1, nullptr, -1, -1, -1, -1); }, "pkt"},
        {"write packet: source before packet", [] { pcmPacketWriteChannels(&nothing, -1, -1, nullptr, -1, -1, -1, -1); }, "source"},
        {"write packet: source sum", [] { pcmPacketWriteChannels(&nothing, -1, -1, source.Get(), -1, kMost, -1, 1); }, "PB_INT_ADD_OK( sourceFrameOffset, frames )"},
        {"write packet: source frames", [] { pcmPacketWriteChannels(&nothing, -1, -1, source.Get(), -1, 1, -1, 1); }, "sourceFrameOffset + frames <= source->frames"},
        {"write packet: no packet", [] { pcmPacketWriteChannels(&nothing, -1, -1, source.Get(), -1, 0, -1, 1); }, "*pkt"},
        {"write packet: source channels", [] { pkt.WriteChannels(0, 0, source, 2, 0, 2, 1); }, "sourceChannelOffset + channels <= sourceChannelCount"},
    };
    // clang-format on
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_ABORT_AT(row.call(), "source/pcm/pcm_packet", row.expression);
    }
    pkt = source = empty = pcm::Packet();
}
