// Tones, dual tones and modulated tones: published values. How they go on is checked by the model.
#include "models/tone_model.h"

TEST(Tone, SamplesOfACycleAreWhatAnyoneCanLookUp)
{
    constexpr float kSixty = 0.8660254f, kPi = 1.2246468e-16f; // sines: of 60 degrees, of pi in double precision
    // clang-format off
    const struct { int generator; pbInt period; Samples samples; } rows[] = {
        {0, 1, {0, 0, 0}},
        {0, 4, {0, 1, kPi, -1, 0, 1, kPi, -1}},
        {0, 12, {0, 0.5f, kSixty, 1, kSixty, 0.5f, kPi, -0.5f, -kSixty, -1, -kSixty, -0.5f, 0, 0.5f}},
        {1, 4, {0, 1, kPi, -1, 0}},
        {2, 4, {0, 1, kPi * kPi, 1, 0}},
    };
    // clang-format on
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message() << kGenerators[row.generator].name << " of " << row.period);
        pcm::Tone a(row.period), b(row.period);
        Samples samples(row.samples.size());
        kGenerators[row.generator].gatherSamples(a, b, samples);
        EXPECT_EQ(samples, row.samples);
    }
}

TEST(Tone, AFrequencyBecomesTheNearestPeriod)
{
    // clang-format off
    const struct { pbInt frameRate, hertz, period; /* 0: none */ } rows[] = {
        {8000, 440, 18},   {8000, 697, 11},   {8000, 8000, 1},           {8000, 15999, 1}, {8000, 16001, 0},
        {48000, 1477, 32}, {7, 2, 4},         {1, INT64_MAX, 0},         {1, 1, 1},        {INT64_MAX, INT64_MAX, 1},
        {44100, 1, 44100}, {11025, 1000, 11}, {INT64_MAX, 1, INT64_MAX},
    };
    // clang-format on
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message() << row.hertz << " of " << row.frameRate);
        auto tone = pcm::Tone::TryCreateWithFrequency(row.frameRate, row.hertz);
        ASSERT_EQ(static_cast<bool>(tone), row.period != 0);
        const Samples samples = tone ? SamplesOf(tone.Gather(200).Get()) : Samples();
        EXPECT_EQ(samples, tone ? Wave{row.period}.Next(200) : Samples());
    }
}
