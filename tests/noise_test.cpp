// Noise and silence.
#include "support.h"

#include <algorithm>
#include <functional>
#include <limits>

namespace {

/// What the runtime's random numbers are while a test dictates them.
std::function<pbInt()> dictatedInt;
std::function<pbInt(pbInt low, pbInt high)> dictatedRange;

} // namespace

// These stand before the runtime's own, for the library too.
extern "C" pbInt pbRandomInt()
{
    return dictatedInt ? dictatedInt() : Runtime<decltype(pbRandomInt)>("pbRandomInt")();
}
extern "C" pbInt pbRandomNonNegativeIntRange(pbInt low, pbInt high)
{
    return dictatedRange ? dictatedRange(low, high)
                         : Runtime<decltype(pbRandomNonNegativeIntRange)>("pbRandomNonNegativeIntRange")(low, high);
}

namespace {

constexpr pbInt kLength = 8192;

/// Dictates where in the table the calls begin, and counts them.
struct StartsAt {
    explicit StartsAt(pbInt start)
    {
        dictatedRange = [this, start](pbInt low, pbInt high) {
            EXPECT_EQ(low, 0);
            EXPECT_EQ(high, kLength);
            ++draws;
            return start;
        };
    }
    ~StartsAt() { dictatedRange = nullptr; }

    pbInt draws = 0;
};

/// So many samples of the table from a place on, over its end to its beginning.
Samples Stretch(pbInt start, pbInt samples)
{
    Samples stretch;
    for (pbInt i = 0; i < samples; ++i)
        stretch.push_back(pcm___Noise[(start + i) % kLength]);
    return stretch;
}

} // namespace

TEST(Noise, TableIsWhiteAtFullScale)
{
    const Samples table(pcm___Noise, pcm___Noise + kLength);
    double sum = 0, squares = 0, neighbours = 0;
    for (std::size_t i = 0; i < table.size(); ++i) {
        ASSERT_GE(table[i], -1.0f);
        ASSERT_LE(table[i], 1.0f);
        sum += table[i];
        squares += table[i] * table[i];
        neighbours += table[i] * table[(i + 1) % table.size()];
    }
    // Six standard deviations of what 8192 uniform samples give.
    EXPECT_NEAR(sum / kLength, 0, 0.0383);
    EXPECT_NEAR(squares / kLength, 1.0 / 3, 0.0198);
    EXPECT_NEAR(neighbours / kLength, 0, 0.0221);
    EXPECT_LT(*std::min_element(table.begin(), table.end()), -0.99f);
    EXPECT_GT(*std::max_element(table.begin(), table.end()), 0.99f);
}

TEST(Noise, TableIsTheIntegersInOrderWithTheirSignReversed)
{
    const std::pair<pbInt, PCM_SAMPLE> first[] = {
        {INT64_MIN, 1.0f},
        {INT64_MAX, -1.0f},
        {0, -0.0f},
        {1, -0x1p-63f},
        {-1, 0x1p-63f},
        {pbInt{1} << 62, -0.5f},
        {(pbInt{1} << 62) + 1, -0.5f},                                  // rounded to single precision
        {(pbInt{3} << 38) + 1, -0x1.8p-24f},                            // rounded down,
        {(pbInt{1} << 61) + (pbInt{3} << 37) / 2 + 1, -0x1.000002p-2f}, // and up
    };
    std::size_t draws = 0;
    dictatedInt = [&] { return draws++ < std::size(first) ? first[draws - 1].first : INT64_MIN / 2; };
    pcm___NoiseShutdown();
    EXPECT_EQ(pcm___Noise, nullptr);
    pcm___NoiseStartup();
    dictatedInt = nullptr;

    EXPECT_EQ(draws, 8192u);
    for (std::size_t i = 0; i < std::size(first); ++i)
        EXPECT_EQ(BitsOf({pcm___Noise[i]}), BitsOf({first[i].second})) << i;
    for (pbInt i = std::size(first); i < kLength; ++i)
        ASSERT_EQ(pcm___Noise[i], 0.5f) << i;

    pcm___NoiseShutdown();
    pcm___NoiseStartup();
}

TEST(Noise, IsOneStretchOfTheTableThatWraps)
{
    for (const pbInt start : {pbInt{0}, pbInt{1}, pbInt{4000}, kLength - 1, kLength}) { // the last: an inclusive bound
        for (const pbInt count : {pbInt{0}, pbInt{1}, pbInt{128}, kLength - 1, kLength, kLength + 1, 3 * kLength + 5}) {
            SCOPED_TRACE(std::to_string(start) + " + " + std::to_string(count));
            Random random;
            StartsAt here(start);
            const Samples stretch = Stretch(start, count);

            Samples dest(static_cast<std::size_t>(count), 5.0f);
            pcm::NoiseGatherSamples(dest);
            ASSERT_EQ(BitsOf(dest), BitsOf(stretch));

            const Samples before = random.Run(count);
            dest = before;
            pcm::NoiseGatherSamplesAdd(dest);
            for (std::size_t i = 0; i < dest.size(); ++i)
                ASSERT_EQ(dest[i], before[i] + stretch[i]) << i;
            EXPECT_EQ(here.draws, 2); // one for each call, also for 0 samples

            const auto pkt = pcm::NoiseGather(count);
            ASSERT_EQ(pkt.Channels(), 1);
            ASSERT_EQ(BitsOf(SamplesOf(pkt.Get())), BitsOf(stretch));
            ExpectSound(pkt.Get());
        }
    }
}

TEST(Noise, BrokenPreconditionsEndTheProcess)
{
    const char *file = "source/pcm/pcm_noise";
    for (const auto gather : {pcmNoiseGatherSamples, pcmNoiseGatherSamplesAdd}) {
        EXPECT_ABORT_AT(gather(nullptr, -1), file, "samples >= 0");
        EXPECT_ABORT_AT(gather(nullptr, 1), file, "samples == 0 || dest");
    }
    EXPECT_ABORT_AT(pcmNoiseGather(-1), file, "samples >= 0");
    EXPECT_ABORT_AT(pcmNoiseGather(INT64_MAX / 2), "source/pb/pb_mem", "PB_INT_MUL_OK( count, size )");
}

TEST(Silence, IsPositiveZero)
{
    Samples dest(5, -1.0f);
    pcm::SilenceGatherSamples(std::span(dest).first(4));
    EXPECT_EQ(BitsOf(dest), BitsOf({0, 0, 0, 0, -1}));
    pcmSilenceGatherSamples(nullptr, 0);

    for (const pbInt frames : {0, 5, 8193}) {
        const auto pkt = pcm::SilenceGather(frames);
        EXPECT_EQ(pkt.Channels(), 1);
        EXPECT_EQ(BitsOf(SamplesOf(pkt.Get())), std::vector<uint32_t>(static_cast<std::size_t>(frames)));
        ExpectSound(pkt.Get());
    }

    EXPECT_ABORT(pcmSilenceGatherSamples(dest.data(), -1), "samples >= 0");
    EXPECT_ABORT(pcmSilenceGatherSamples(nullptr, 1), "dest || !samples");
    EXPECT_ABORT(pcmSilenceGather(-1), "frames >= 0");
    EXPECT_ABORT(pcmSilenceGather(INT64_MAX), "PB_INT_MUL_OK( frames, channels * PB_SIZEOF( PCM_SAMPLE ) )");
}
