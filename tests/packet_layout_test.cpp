// The channels of packets: how many, which, and from where.
#include "packet_checks.h"

#include <utility>

namespace {

constexpr pbInt kMost = INT64_MAX;

/// What others do while the library copies a packet, once.
std::function<void()> meanwhile;

/// What the library last told an account.
struct {
    pbInt count, size;
} account;

} // namespace

// These stand before the runtime's own, for the library too.
extern "C" void pbMemCopy(void *dest, const void *source, pbInt bytes)
{
    Runtime<decltype(pbMemCopy)>("pbMemCopy")(dest, source, bytes);
    if (meanwhile)
        std::exchange(meanwhile, nullptr)();
}
extern "C" void pb___ObjDbgSetAllocationSizeN(PB_OBJ *obj, pbInt count, pbInt size)
{
    account = {count, size};
    Runtime<decltype(pb___ObjDbgSetAllocationSizeN)>("pb___ObjDbgSetAllocationSizeN")(obj, count, size);
}

TEST(PacketLayout, WithoutFramesThereIsNoBlockAndAnAccountOfNoFrames)
{
    // clang-format off
    const struct { const char *name; void (*call)(pcm::Packet &pkt); pbInt channels; } rows[] = {
        {"use", [](auto &pkt) { pkt = pcm::Packet::Adopt(pcmPacketCreateFromSamplesUse(nullptr, 5, 0)); }, 5},
        {"clear", [](auto &pkt) { pkt = MakePacket(2, {1, 2}); pkt.Clear(); }, 2},
        {"set", [](auto &pkt) { pkt.SetChannels(7); }, 7},
        {"sum", [](auto &pkt) { pkt = pkt.WithChannels(1); }, 1},
        {"sum, as wide as can be", [](auto &pkt) { pkt = pkt.WithChannels(kMost); }, kMost},
        {"mask", [](auto &pkt) { pkt = pkt.WithChannelMask(5); }, 2},
        {"expand", [](auto &pkt) { pkt.ChannelsAdjustExpandWithDownmix(9); }, 9},
    };
    // clang-format on
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        account = {-1, -1};
        pcm::Packet pkt(3);
        row.call(pkt);
        EXPECT_EQ(pkt.Channels(), row.channels);
        EXPECT_EQ(pcmPacketBacking(pkt.Get()), nullptr);
        EXPECT_EQ(account.count, 0);
        EXPECT_EQ(account.size, std::min(row.channels, kMost / 4) * 4);
    }
}

TEST(PacketLayout, SamplesOfThePacketItselfAreReadAsTheyWereOnlyIfItIsShared)
{
    for (const bool shared : {false, true}) {
        auto pkt = MakePacket(2, {1, 2, 3, 4, 5, 6}), other = shared ? pkt : pcm::Packet();
        meanwhile = [&] { other = pcm::Packet(); }; // the old samples are now the call's alone
        pcmPacketWriteChannelsSamples(pkt.Address(), 0, 1, pkt.Samples().data(), 0, 2, 0, 1, 2);
        EXPECT_EQ(SamplesOf(pkt.Get()), shared ? (Samples{1, 2, 1, 4, 3, 6}) : (Samples{1, 2, 1, 4, 1, 6}));
        meanwhile = nullptr;
    }
}

TEST(PacketLayout, SetChannelsKeepsTheFirstAndAddsSilence)
{
    Random random;
    for (int round = 0; round < 500 && !HasFailure(); ++round)
        CheckSetChannels(random);
}

TEST(PacketLayout, AMaskSelectsChannelsInTheirOrder)
{
    Random random;
    for (int round = 0; round < 500 && !HasFailure(); ++round)
        CheckMask(random);
}

TEST(PacketLayout, EveryChannelBecomesTheSumOfAllInTheirOrder)
{
    EXPECT_EQ(SamplesOf(MakePacket(2, {0.25f, 0.5f}).WithChannels(1).Get()), Samples{0.75f});
    EXPECT_EQ(SamplesOf(MakePacket(3, {0x1p24f, 1.0f, 1.0f}).WithChannels(2).Get()), (Samples{0x1p24f, 0x1p24f}));
    EXPECT_EQ(BitsOf(SamplesOf(MakePacket(1, {-0.0f}).WithChannels(2).Get())), BitsOf({0.0f, 0.0f}));
    Random random;
    for (int round = 0; round < 500 && !HasFailure(); ++round)
        CheckSum(random);
}

TEST(PacketLayout, WritesARectangleAlsoOntoItself)
{
    Random random;
    for (int round = 0; round < 2000 && !HasFailure(); ++round)
        CheckRectangle(random);
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
        {"sum: a frame's bytes", [] { pkt.WithChannels(pbInt{1} << 61); }, "PB_INT_MUL_OK( channels, PB_SIZEOF( PCM_SAMPLE ) )"},
        {"sum: bytes", [] { pkt.WithChannels(pbInt{1} << 60); }, "PB_INT_MUL_OK( frames, channels * PB_SIZEOF( PCM_SAMPLE ) )"},
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
        {"write: frames too far apart", [] { write(1, 1, array, 0, kMost, 1, 1, 2); }, "PB_INT_MUL_OK( lastFrame, sourceChannelCount )"},
        {"write: a last frame too long", [] { write(1, 1, array, 0, kMost, 0, 1, 2); }, "PB_INT_ADD_OK( lastFrame * sourceChannelCount, end )"},
        {"write: an array too long", [] { write(1, 1, array, kMost / 4, kMost, 0, 1, 1); }, "PB_INT_MUL_OK( lastFrame * sourceChannelCount + end, PB_SIZEOF( PCM_SAMPLE ) )"},
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
    write(1, 1, array, 0, kMost, 0, 1, 1); // as far as the sample is, and no farther
    pkt = source = empty = pcm::Packet();
}
