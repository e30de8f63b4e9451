// Channel adjustment and frame-rate change, against their plain definitions.
#include "support.h"

#include <functional>
#include <limits>

namespace {

/// Samples among which all that are not ordinary numbers appear.
Samples OddRun(Random &random, pbInt count)
{
    using Limits = std::numeric_limits<float>;
    const Samples odd = {0.0f,
                         -0.0f,
                         Limits::infinity(),
                         -Limits::infinity(),
                         Limits::quiet_NaN(),
                         std::bit_cast<float>(0xFFC12345u),
                         Limits::denorm_min(),
                         Limits::max(),
                         1.5f};
    Samples samples = random.Run(count);
    for (PCM_SAMPLE &sample : samples)
        if (random.OneIn(6))
            sample = odd[static_cast<std::size_t>(random.From(0, static_cast<pbInt>(odd.size()) - 1))];
    return samples;
}

/// The average of a frame. Volatile: one rounding for each operation, in order, whatever the compiler would like.
PCM_SAMPLE Downmix(const Frame &frame)
{
    volatile PCM_SAMPLE sum = 0.0f;
    for (const PCM_SAMPLE sample : frame)
        sum = sum + sample;
    const volatile PCM_SAMPLE gain = static_cast<float>(1.0 / static_cast<double>(frame.size()));
    return sum * gain;
}

/// Bits, with one pattern for every NaN: which of them arithmetic yields is the processor's affair.
uint32_t Result(PCM_SAMPLE sample)
{
    return sample != sample ? 0x7FC00000u : std::bit_cast<uint32_t>(sample);
}

/// A packet whose samples lie at the very end of their block, which the sanitizers watch, and a second holder.
struct Subject {
    Subject(Random &random, pbInt channels, pbInt frames)
        : samples(OddRun(random, channels * frames)), pkt(samples, channels), holder(pkt.Get())
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

} // namespace

TEST(Channels, HoldTheDownmixAndWhatIsKept)
{
    Random random;
    for (pbInt channels = 1; channels <= 9; ++channels)
        for (pbInt wanted = 1; wanted <= 9; ++wanted)
            for (const bool expand : {false, true})
                for (const pbInt frames : {0, 1, 2, 3, 7, 8, 15, 16, 17, 31, 33, 70, 511, 512, 513}) {
                    SCOPED_TRACE(testing::Message() << channels << " to " << wanted << (expand ? " expanded, " : ", ")
                                                    << frames << " frames");
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
    auto pkt = MakePacket(2, {1, 2, 3, 4, 5, 6}), wide = pcm::Packet(kMany * 2);
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
    EXPECT_ABORT(pkt.ChannelsAdjustExpandWithDownmix(kMany - 1),
                 "PB_INT_MUL_OK( frames, channels * PB_SIZEOF( PCM_SAMPLE ) )");
    EXPECT_ABORT(pcm::Packet(2).ChannelsAdjustExpandWithDownmix(kMany),
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
