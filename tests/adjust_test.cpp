// Channel adjustment and frame-rate change, against their plain definitions.
#include "packet_checks.h"

#include <functional>

TEST(Channels, HoldTheDownmixAndWhatIsKept)
{
    Random random;
    for (pbInt channels = 1; channels <= 9; ++channels)
        for (pbInt wanted = 1; wanted <= 9; ++wanted)
            for (const bool expand : {false, true})
                for (const pbInt frames : {0, 1, 2, 3, 7, 8, 15, 16, 17, 31, 33, 70, 511, 512, 513}) {
                    SCOPED_TRACE(testing::Message() << channels << " to " << wanted << (expand ? " expanded, " : ", ")
                                                    << frames << " frames");
                    CheckDownmix(random, channels, wanted, expand, frames);
                    if (HasFatalFailure())
                        return;
                }
}

TEST(Channels, AdjustToNumbersThatAnyoneCanCheck)
{
    const struct {
        const char *name;
        pbInt channels, wanted;
        bool expand;
        Samples before, after;
    } rows[] = {
        {"mono keeps all but the sign of zero", 1, 1, false, {-0.0f, -1.5f}, {0.0f, -1.5f}},
        {"stereo to three", 2, 3, false, {0.25f, 0.75f}, {0.5f, 0.5f, 0.5f}},
        {"stereo and their average", 2, 3, true, {1.0f, 0.5f}, {1.0f, 0.5f, 0.75f}},
        {"not clamped", 2, 3, true, {1.5f, 1.5f}, {1.5f, 1.5f, 1.5f}},
        {"the order counts", 3, 1, false, {1e8f, -1e8f, 3.0f, 3.0f, 1e8f, -1e8f}, {1.0f, 0.0f}},
        {"fewer is the average too", 3, 2, true, {1, 2, 6}, {3, 3}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        auto pkt = MakePacket(row.channels, row.before);
        if (row.expand)
            pkt.ChannelsAdjustExpandWithDownmix(row.wanted);
        else
            pkt.ChannelsAdjustReplaceWithDownmix(row.wanted);
        EXPECT_EQ(BitsOf(SamplesOf(pkt.Get())), BitsOf(row.after));
        EXPECT_EQ(RefCount(pkt.Get()), 1);
    }
}

TEST(Frames, AreStuffedAndPickedBitForBit)
{
    Random random;
    for (pbInt channels = 1; channels <= 9; ++channels)
        for (const pbInt factor : {2, 3, 4, 5, 6, 7})
            for (pbInt frames = 0; frames <= 70; frames += random.From(1, 3)) {
                SCOPED_TRACE(testing::Message() << channels << " channels, by " << factor << ", " << frames);
                CheckRates(random, channels, factor, frames);
                if (HasFatalFailure())
                    return;
            }
}

TEST(Adjust, MakesANewPacketAlsoOfOneThatNobodyElseHolds)
{
    for (const Samples &samples : {Samples{}, Samples{1, 2, 3, 4}}) {
        auto pkt = MakePacket(2, samples);
        const PCM_PACKET *before = pkt.Get(); // not freed before there is a new one, so addresses tell them apart
        pkt.ChannelsAdjustExpandWithDownmix(2);
        EXPECT_EQ(pkt.Get(), before);
        pkt.ChannelsAdjustReplaceWithDownmix(2);
        EXPECT_NE(pkt.Get(), before);
        before = pkt.Get();
        pkt.FramesExtend(2);
        EXPECT_NE(pkt.Get(), before);
        before = pkt.Get();
        pkt.FramesReduce(2);
        EXPECT_NE(pkt.Get(), before);
    }
}

TEST(Adjust, RefusesWhatItCannotDo)
{
    constexpr pbInt kMany = pbInt{1} << 61, kMost = INT64_MAX;
    auto pkt = MakePacket(2, {1, 2, 3, 4, 5, 6}), wide = pcm::Packet(kMany * 2), empty = pcm::Packet(2);
    PCM_PACKET *none = nullptr;
    auto **const handle = pkt.Address();
    const struct {
        const char *name, *factor;
        void (*call)(PCM_PACKET **, pbInt);
        pbInt least;
    } operations[] = {
        {"replace", "channels > 0", pcmChannelsAdjustReplaceWithDownmix, 1},
        {"expand", "channels > 0", pcmChannelsAdjustExpandWithDownmix, 1},
        {"extend", "mult > 1", pcmFramesExtend, 2},
        {"reduce", "div > 1", pcmFramesReduce, 2},
    };
    for (const auto &operation : operations) {
        SCOPED_TRACE(operation.name);
        EXPECT_ABORT(operation.call(nullptr, 0), "pkt");
        EXPECT_ABORT(operation.call(&none, 0), "*pkt");
        EXPECT_ABORT(operation.call(handle, operation.least - 1), operation.factor);
    }
    EXPECT_ABORT(pkt.ChannelsAdjustReplaceWithDownmix(kMany), "PB_INT_MUL_OK( channels, PB_SIZEOF( PCM_SAMPLE ) )");
    EXPECT_ABORT(pkt.ChannelsAdjustReplaceWithDownmix(kMany - 1),
                 "PB_INT_MUL_OK( frames, channels * PB_SIZEOF( PCM_SAMPLE ) )");
    EXPECT_ABORT_AT(pkt.ChannelsAdjustExpandWithDownmix(kMany - 1), "source/pcm/pcm_packet",
                    "PB_INT_MUL_OK( frames, channels * PB_SIZEOF( PCM_SAMPLE ) )");
    for (auto *each : {&pkt, &empty})
        EXPECT_ABORT_AT(each->ChannelsAdjustExpandWithDownmix(kMany), "source/pcm/pcm_packet",
                        "PB_INT_MUL_OK( channels, PB_SIZEOF( PCM_SAMPLE ) )");
    EXPECT_ABORT(pkt.FramesExtend(kMost), "PB_INT_MUL_OK( sourceFrames, mult )");
    EXPECT_ABORT(pkt.FramesExtend(kMost / 3), "PB_INT_MUL_OK( destFrames, sourceChannels )");
    EXPECT_ABORT(pkt.FramesExtend(kMost / 8), "PB_INT_MUL_OK( destFrames, sourceChannels * PB_SIZEOF( PCM_SAMPLE ) )");
    EXPECT_ABORT(pkt.FramesReduce(2), "sourceFrames % div == 0");

    // Without frames there is nothing that could be too large.
    wide.ChannelsAdjustReplaceWithDownmix(kMany);
    wide.FramesExtend(kMost);
    wide.FramesReduce(kMost);
    EXPECT_EQ(wide.Channels(), kMany);
    EXPECT_EQ(wide.Frames(), 0);
}
