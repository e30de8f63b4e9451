// Tones, alone, two at once and one shaping another.
#include "machines/tone_machine.h"

#include <cstring>
#include <sys/mman.h>

TEST(Tone, SamplesOfACycleAreWhatAnyoneCanLookUp)
{
    const float thirtyDegrees = 0.5f, sixtyDegrees = 0.8660254f;
    const struct {
        pbInt period;
        Samples samples;
    } rows[] = {
        {1, {0, 0, 0}},
        {4, {0, 1, 1.2246468e-16f, -1, 0, 1, 1.2246468e-16f, -1}},
        {12,
         {0, thirtyDegrees, sixtyDegrees, 1, sixtyDegrees, thirtyDegrees, 1.2246468e-16f, -thirtyDegrees, -sixtyDegrees,
          -1, -sixtyDegrees, -thirtyDegrees, 0, thirtyDegrees}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.period);
        Samples samples(row.samples.size());
        pcm::Tone(row.period).GatherSamples(samples);
        EXPECT_EQ(samples, row.samples);
    }
}

TEST(Tone, GoesOnWhereItStoppedHoweverItIsGathered)
{
    Random random;
    for (int round = 0; round < 60; ++round) {
        ToneMachine machine(random);
        for (int step = 0; step < 60 && !HasFailure(); ++step) {
            SCOPED_TRACE(testing::Message() << "round " << round << ", step " << step);
            machine.Step();
        }
    }
}

TEST(Tone, AddingRoundsOnceAndClampsNothing)
{
    pcm::Tone tone(4);
    Samples dest = {3, 0x1p24f, -0x1p24f, -5};
    tone.GatherSamplesAdd(dest);
    EXPECT_EQ(dest, (Samples{3, 0x1p24f, -0x1p24f, -6})); // 2^24 + 1 is a tie, and goes to the even one
}

TEST(Tone, AGatherOfNothingDoesNotTouchIt)
{
    constexpr std::size_t kSize = sizeof(PB_OBJ) + 24; // of a tone
    void *const page = mmap(nullptr, kSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    auto *const tone = static_cast<PCM_TONE *>(std::memcpy(page, pcm::Tone(5).Get(), kSize));
    ASSERT_EQ(mprotect(page, kSize, PROT_READ), 0); // a write would end the process
    for (const auto gather : {pcmToneGatherSamples, pcmToneGatherSamplesAdd})
        gather(tone, nullptr, 0);
    for (const Pair &pair : kPairs)
        for (const auto gather : {pair.gatherSamples, pair.gatherSamplesAdd})
            gather(tone, tone, nullptr, 0);
    munmap(page, kSize);
}

TEST(Tone, AFrequencyBecomesTheNearestPeriod)
{
    const struct {
        pbInt frameRate, hertz, period; // 0: none
    } rows[] = {
        {8000, 440, 18},   {8000, 697, 11},   {8000, 8000, 1},           {8000, 15999, 1}, {8000, 16001, 0},
        {48000, 1477, 32}, {7, 2, 4},         {1, INT64_MAX, 0},         {1, 1, 1},        {INT64_MAX, INT64_MAX, 1},
        {44100, 1, 44100}, {11025, 1000, 11}, {INT64_MAX, 1, INT64_MAX},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(std::to_string(row.frameRate) + " / " + std::to_string(row.hertz));
        auto tone = pcm::Tone::TryCreateWithFrequency(row.frameRate, row.hertz);
        ASSERT_EQ(static_cast<bool>(tone), row.period != 0);
        if (!tone)
            continue;
        Samples samples(200);
        tone.GatherSamples(samples);
        EXPECT_EQ(BitsOf(samples), BitsOf(Wave{row.period}.Run(200)));
    }
}

TEST(Tone, BrokenPreconditionsEndTheProcess)
{
    pcm::Tone tone(5);
    PCM_SAMPLE sample = 0;
    const char *file = "source/pcm/pcm_tone";
    EXPECT_ABORT_AT(pcmToneCreate(0), file, "period > 0");
    EXPECT_ABORT_AT(pcmToneCreate(INT64_MIN), file, "period > 0");
    EXPECT_ABORT_AT(pcmToneTryCreateWithFrequency(0, 0), file, "frameRate > 0");
    EXPECT_ABORT_AT(pcmToneTryCreateWithFrequency(8000, -1), file, "hertz > 0");
    for (const auto gather : {pcmToneGatherSamples, pcmToneGatherSamplesAdd}) {
        EXPECT_ABORT_AT(gather(nullptr, nullptr, -1), file, "tone");
        EXPECT_ABORT_AT(gather(tone.Get(), nullptr, -1), file, "samples >= 0");
        EXPECT_ABORT_AT(gather(tone.Get(), &sample, INT64_MIN), file, "samples >= 0");
        EXPECT_ABORT_AT(gather(tone.Get(), nullptr, 1), file, "samples == 0 || dest");
    }
    EXPECT_ABORT_AT(pcmToneGather(nullptr, -1), file, "tone");
    EXPECT_ABORT_AT(pcmToneGather(tone.Get(), -1), file, "samples >= 0");
    EXPECT_ABORT_AT(pcmToneGather(tone.Get(), INT64_MAX), "source/pb/pb_mem", "PB_INT_MUL_OK( count, size )");
}

TEST(Tone, IsASortOfItsOwn)
{
    pcm::Tone tone(5), same(5);
    pcm::Packet pkt(1);
    EXPECT_STREQ(pcmToneSort()->name, "PCM_TONE");
    EXPECT_EQ(pcmToneFrom(pcmToneObj(tone.Get())), tone.Get());
    EXPECT_TRUE(pcmToneEquals(tone.Get(), tone.Get()));
    EXPECT_FALSE(pcmToneEquals(tone.Get(), same.Get())); // equal is the same object: the next sample may differ
    EXPECT_ABORT_IN(pcmToneFrom(pcmPacketObj(pkt.Get())), "stdfunc from",
                    "!obj || pbObjSort(obj)==&pcm___sort_PCM_TONE");
}

TEST(ToneOfTwo, CombinesEachSampleOfOneWithTheOthers)
{
    const struct {
        const Pair &pair;
        Samples samples;
    } rows[] = {
        {kPairs[0], {0, 1, 1.2246468e-16f, -1, 0}},
        {kPairs[1], {0, 1, 1.2246468e-16f * 1.2246468e-16f, 1, 0}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.pair.name);
        pcm::Tone a(4), b(4);
        Samples samples(5);
        row.pair.gatherSamples(a.Get(), b.Get(), samples.data(), 5);
        EXPECT_EQ(samples, row.samples);
    }
}

TEST(ToneOfTwo, BrokenPreconditionsEndTheProcess)
{
    pcm::Tone handleA(5), handleB(6);
    PCM_TONE *a = handleA.Get(), *b = handleB.Get();
    for (const Pair &pair : kPairs) {
        SCOPED_TRACE(pair.name);
        const std::string file = std::string("source/pcm/pcm_").append(pair.name) + "_tone";
        for (const auto gather : {pair.gatherSamples, pair.gatherSamplesAdd}) {
            EXPECT_ABORT_AT(gather(nullptr, nullptr, nullptr, -1), file, "toneA");
            EXPECT_ABORT_AT(gather(a, nullptr, nullptr, -1), file, "toneB");
            EXPECT_ABORT_AT(gather(a, b, nullptr, -1), file, "samples >= 0");
            EXPECT_ABORT_AT(gather(a, b, nullptr, 1), file, "samples == 0 || dest");
        }
        EXPECT_ABORT_AT(pair.gather(nullptr, nullptr, -1), file, "toneA");
        EXPECT_ABORT_AT(pair.gather(a, nullptr, -1), file, "toneB");
        EXPECT_ABORT_AT(pair.gather(a, b, -1), file, "samples >= 0");
        EXPECT_ABORT_AT(pair.gather(a, b, INT64_MAX), "source/pb/pb_mem", "PB_INT_MUL_OK( count, size )");
    }
}

TEST(ToneOfTwo, ReadsTheSameFromTheCppFace)
{
    pcm::Tone a(18), b(23);
    Wave waveA{18}, waveB{23};
    Samples dest(10);
    pcm::DualToneGatherSamples(a, b, dest);
    EXPECT_EQ(dest, kPairs[0].Combine(waveA.Run(10), waveB.Run(10)));
    Samples before = dest;
    pcm::ModulatedToneGatherSamplesAdd(a, b, dest);
    EXPECT_EQ(dest, Sums(before, kPairs[1].Combine(waveA.Run(10), waveB.Run(10))));
    pcm::ModulatedToneGatherSamples(a, b, dest);
    EXPECT_EQ(dest, kPairs[1].Combine(waveA.Run(10), waveB.Run(10)));
    before = dest;
    pcm::DualToneGatherSamplesAdd(a, b, dest);
    EXPECT_EQ(dest, Sums(before, kPairs[0].Combine(waveA.Run(10), waveB.Run(10))));
    EXPECT_EQ(SamplesOf(pcm::DualToneGather(a, b, 5).Get()), kPairs[0].Combine(waveA.Run(5), waveB.Run(5)));
    EXPECT_EQ(SamplesOf(pcm::ModulatedToneGather(a, b, 5).Get()), kPairs[1].Combine(waveA.Run(5), waveB.Run(5)));
}
