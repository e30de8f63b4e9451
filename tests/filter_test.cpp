// The filter: exact whatever the framing, and private to its holder.
#include "models/filter_model.h"

#include <functional>

TEST(Filter, WeighsTheNewestFrameWithTheFirstTap)
{
    auto filter = MakeFilter({0.5f, 0.25f, -0.125f}, 2);
    filter.Write(MakePacket(2, {1.0f, 0.5f, 0.0f, 0.0f, 0.0f, 1.0f, 0.0f, 0.0f}));
    EXPECT_EQ(Gathered(filter), (Samples{0.5f, 0.25f, 0.25f, 0.125f, -0.125f, 0.4375f, 0.0f, 0.25f}));
}

TEST(Filter, ClampsTheOutputAndRemembersTheInput)
{
    auto filter = MakeFilter({1.0f, 0.5f}, 1);
    filter.Write(MakePacket(1, {3.0f, -1.0f, -5.0f, kInfinity, 0.0f, kNan, 0.25f, 0.25f}));
    EXPECT_TRUE(Same(Gathered(filter), {1.0f, 0.5f, -1.0f, 1.0f, 1.0f, kNan, kNan, 0.375f}));
}

TEST(Filter, GivesTheDefinitionsBitsForAllLengthsAndChannels)
{
    Random random;
    for (pbInt length = 1; length <= 64; ++length)
        for (pbInt channels = 1; channels <= 9; ++channels) {
            SCOPED_TRACE(testing::Message() << length << " taps, " << channels << " channels");
            const Samples taps = random.Run(length);
            const Samples input = random.Run(channels * random.From(1, 200));
            const Samples expected = Defined(taps, input, channels);

            auto whole = MakeFilter(taps, channels), cut = whole;
            whole.Write(MakePacket(channels, input));
            ASSERT_TRUE(Same(Gathered(whole), expected));
            WriteCut(cut, input, random, 120);
            ASSERT_TRUE(Same(Gathered(cut), expected));
        }
}

/// The loop's arithmetic of streams, segments and blocks, for every number of vectors and the depths around its cases.
/// The outputs of a shorter packet are the first ones of a longer.
TEST(Filter, GivesTheDefinitionsBitsForEveryNumberOfVectors)
{
    Random random;
    for (const pbInt channels : {1, 2, 3, 5, 6, 8, 12})
        for (const pbInt length : {1, 2, 15, 16, 17, 24, 33, 48, 97}) {
            const Samples taps = random.Run(length), input = random.Run((85 * 16 / channels + 200) * channels);
            const Samples expected = Defined(taps, input, channels);
            for (pbInt vectors = 1; vectors <= 80; ++vectors) {
                SCOPED_TRACE(testing::Message() << length << " taps, " << channels << " channels, " << vectors);
                const auto samples = (vectors * 16 / channels + random.From(0, 2)) * channels;
                auto filter = MakeFilter(taps, channels);
                filter.Write(MakePacket(channels, Samples(input.begin(), input.begin() + samples)));
                ASSERT_TRUE(Same(Gathered(filter), Samples(expected.begin(), expected.begin() + samples)));
            }
        }
}

TEST(Filter, GivesTheDefinitionsBitsForLongFiltersAndWideFrames)
{
    const struct {
        pbInt length, channels, before, frames, longest; // before: frames in a first packet, whose output is dropped
    } rows[] = {
        {127, 3, 0, 400, 130},     {300, 1, 1000, 700, 500}, {700, 2, 705, 900, 50}, {2049, 2, 10, 2500, 2500},
        {4096, 1, 4000, 300, 80},  {4097, 1, 4097, 900, 64}, {5000, 9, 300, 80, 20}, {12000, 1, 12005, 200, 90},
        {40000, 2, 300, 100, 100}, {3, 2048, 1, 9, 4},       {3, 2049, 1, 9, 4},     {2, 4096, 0, 5, 3},
        {5, 10000, 4, 12, 5},      {1, 5000, 0, 3, 2},       {50, 130, 20, 150, 70}, {10, 450, 3, 40, 30},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message() << row.length << " taps, " << row.channels << " channels");
        Random random;
        const Samples taps = random.Run(row.length), input = random.Run((row.before + row.frames) * row.channels);
        const auto boundary = input.begin() + row.before * row.channels;
        auto filter = MakeFilter(taps, row.channels);
        filter.Write(MakePacket(row.channels, Samples(input.begin(), boundary)));
        filter.Read();
        WriteCut(filter, Samples(boundary, input.end()), random, row.longest);
        ASSERT_TRUE(Same(Gathered(filter), Defined(taps, input, row.channels, row.before)));
    }
}

TEST(Filter, GivesTheDefinitionsBitsForSamplesOfAllKinds)
{
    Random random;
    for (int round = 0; round < 300; ++round) {
        SCOPED_TRACE(round);
        const pbInt length = random.From(1, 50), channels = random.From(1, 5);
        Samples taps, input;
        for (pbInt i = 0; i < length; ++i)
            taps.push_back(random.OneIn(4) ? random.Odd() : random.Sample());
        for (pbInt i = 0; i < channels * 150; ++i)
            input.push_back(random.OneIn(10) ? random.Odd() : random.Sample() * (round % 2 ? 1e-38f : 0.1f));
        auto filter = MakeFilter(taps, channels);
        WriteCut(filter, input, random, 150);
        ASSERT_TRUE(Same(Gathered(filter), Defined(taps, input, channels)));
    }
}

TEST(Filter, QueuesOnePacketForEachWritten)
{
    auto filter = MakeFilter({0.5f, 0.5f}, 1);
    const pcm::Packet three = MakePacket(1, {1.0f, 1.0f, 1.0f}), none(1);
    for (const auto &pkt : {three, none, three})
        filter.Write(pkt);
    EXPECT_EQ(filter.Packets(), 3);
    EXPECT_EQ(filter.Frames(), 6);
    EXPECT_EQ(SamplesOf(filter.Read().Get()), (Samples{0.5f, 1.0f, 1.0f}));
    const pcm::Packet empty = filter.Read();
    EXPECT_EQ(empty.Frames(), 0);
    EXPECT_NE(empty.Get(), none.Get());
    EXPECT_EQ(SamplesOf(filter.Gather(2).Get()), (Samples{1.0f, 1.0f}));
    Samples sum = {0.25f, 9.0f};
    filter.GatherSamplesAdd(std::span(sum).first(1));
    EXPECT_EQ(sum, (Samples{1.25f, 9.0f}));
    EXPECT_EQ(filter.Packets(), 0);
}

TEST(Filter, LendsItsCoefficientSet)
{
    const pcm::FilterCoefficients set(PCM_FILTER_TYPE_LOWPASS_8000_AT_48000);
    const pcm::Filter filter(set, 2);
    EXPECT_EQ(filter.Coefficients().Get(), set.Get());
    EXPECT_EQ(filter.Channels(), 2);
    EXPECT_EQ(pb___ObjDbgAllocationSize(pcmFilterObj(filter.Get())), 48 * 2 * 4);
}

TEST(Filter, IsPrivateToWhoeverChangesIt)
{
    Random random;
    for (int round = 0; round < 40; ++round) {
        FilterModel model(random);
        for (int step = 0; step < 100 && !HasFailure(); ++step) {
            SCOPED_TRACE(testing::Message() << "round " << round << ", step " << step);
            model.Step();
        }
    }
}

TEST(Filter, EndsTheProcessOnBadArguments)
{
    const char *const kFile = "source/pcm/pcm_filter", *const kQueue = "source/pcm/pcm_packet_queue";
    const pcm::FilterCoefficients set(PCM_FILTER_TYPE_LOWPASS_4000_AT_16000);
    EXPECT_ABORT_AT(pcmFilterCreate(nullptr, 0), kFile, "coefficients");
    EXPECT_ABORT_AT(pcmFilterCreate(set.Get(), 0), kFile, "channels > 0");
    EXPECT_ABORT_AT(pcmFilterCreate(set.Get(), pbInt(1) << 59), kFile,
                    "PB_INT_MUL_OK( filter->coefficientsLength, filter->channels )");
    EXPECT_ABORT_AT(pcmFilterCreateFrom(nullptr), kFile, "source");
    EXPECT_ABORT_AT(pcmFilterCoefficients(nullptr), kFile, "filter");
    EXPECT_ABORT_AT(pcmFilterChannels(nullptr), kFile, "filter");
    EXPECT_ABORT_AT(pcmFilterPackets(nullptr), kFile, "filter");
    EXPECT_ABORT_AT(pcmFilterFrames(nullptr), kFile, "filter");

    PCM_FILTER *none = nullptr;
    const pcm::Packet mono = MakePacket(1, {0.5f}), stereo = MakePacket(2, {0.5f, 0.5f});
    pcm::Filter filter(set, 1);
    const struct {
        const char *name;
        std::function<void(PCM_FILTER **)> operation;
    } rows[] = {
        {"reset", pcmFilterReset},
        {"write", [](PCM_FILTER **handle) { pcmFilterWrite(handle, nullptr); }},
        {"read", pcmFilterRead},
        {"gather", [](PCM_FILTER **handle) { pcmFilterGather(handle, 0); }},
        {"samples", [](PCM_FILTER **handle) { pcmFilterGatherSamples(handle, nullptr, -1); }},
        {"add", [](PCM_FILTER **handle) { pcmFilterGatherSamplesAdd(handle, nullptr, 0); }},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_ABORT_AT(row.operation(nullptr), kFile, "filter");
        EXPECT_ABORT_AT(row.operation(&none), kFile, "*filter");
    }
    EXPECT_ABORT_AT(pcmFilterWrite(filter.Address(), nullptr), kFile, "pkt");
    EXPECT_ABORT_AT(pcmFilterWrite(filter.Address(), stereo.Get()), kFile,
                    "pcmPacketChannels( pkt ) == (*filter)->channels");
    filter.Write(mono);
    EXPECT_ABORT_AT(pcmFilterGather(filter.Address(), 2), kQueue, "frames <= (*queue)->frames");
    EXPECT_ABORT_AT(pcmFilterGatherSamples(filter.Address(), nullptr, 1), kQueue, "frames == 0 || dest");
    EXPECT_ABORT_AT(pcmFilterGatherSamplesAdd(filter.Address(), nullptr, 0), kQueue, "frames > 0");
}
