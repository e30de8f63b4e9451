// Noise and silence.
#include "support.h"

#include <deque>

namespace {

constexpr pbInt kLength = 8192;

/// Random numbers that a test dictates.
std::deque<pbInt> dictated;

pbInt DictatedOr(pbInt own)
{
    if (dictated.empty())
        return own;
    const pbInt next = dictated.front();
    dictated.pop_front();
    return next;
}

} // namespace

// The library calls these instead of the runtime's own.
extern "C" pbInt pbRandomInt()
{
    return DictatedOr(Runtime<decltype(pbRandomInt)>("pbRandomInt")());
}
extern "C" pbInt pbRandomNonNegativeIntRange(pbInt low, pbInt high)
{
    EXPECT_TRUE(dictated.empty() || std::pair(low, high) == std::pair(pbInt{0}, kLength)) << low << " to " << high;
    return DictatedOr(Runtime<decltype(pbRandomNonNegativeIntRange)>("pbRandomNonNegativeIntRange")(low, high));
}

TEST(Noise, TableIsTheIntegersInOrderWithTheirSignReversed)
{
    // clang-format off
    const std::pair<pbInt, PCM_SAMPLE> first[] = {
        {INT64_MIN, 1.0f}, {INT64_MAX, -1.0f}, {0, -0.0f}, {-1, 0x1p-63f},
        {(pbInt{3} << 38) + 1, -0x1.8p-24f}, {(pbInt{1} << 61) + (pbInt{3} << 37) / 2 + 1, -0x1.000002p-2f}, // rounded
    };
    // clang-format on
    Samples table(kLength, 0.5f);
    dictated.assign(kLength + 1, INT64_MIN / 2);
    for (std::size_t i = 0; i < std::size(first); ++i)
        std::tie(dictated[i], table[i]) = first[i];
    pcm___NoiseShutdown();
    EXPECT_EQ(pcm___Noise, nullptr);
    pcm___NoiseStartup();
    EXPECT_EQ(dictated.size(), 1u);
    dictated.clear();
    EXPECT_TRUE(SameBits(std::span(pcm___Noise, kLength), table));
    pcm___NoiseShutdown();
    pcm___NoiseStartup();
}

TEST(Noise, IsOneStretchOfTheTableThatWraps)
{
    Random random;
    for (const int start : {0, 1, 4000, 8191, 8192}) // the last: an inclusive bound
        for (const int count : {0, 1, 128, 8191, 8192, 8193, 24581}) {
            SCOPED_TRACE(testing::Message() << count << " from " << start);
            Samples stretch, dest(static_cast<std::size_t>(count)), sums = random.Run(count), expected = sums;
            for (pbInt i = 0; i < count; ++i) {
                stretch.push_back(pcm___Noise[(start + i) % kLength]);
                expected[static_cast<std::size_t>(i)] += stretch.back();
            }
            dictated.assign(count ? 4 : 3, start); // one more than are drawn: a packet of nothing needs none
            pcm::NoiseGatherSamples(dest);
            pcm::NoiseGatherSamplesAdd(sums);
            const auto pkt = pcm::NoiseGather(count);
            ASSERT_EQ(std::pair(std::ssize(dictated), pkt.Channels()), std::pair(1l, 1l));
            ASSERT_TRUE(Same(dest, stretch));
            ASSERT_TRUE(Same(sums, expected));
            ASSERT_TRUE(Same(SamplesOf(pkt.Get()), stretch));
            ExpectSound(pkt.Get());
            dictated.clear();
        }
}

TEST(Silence, IsPositiveZero)
{
    for (const std::size_t frames : {0, 5, 8193}) {
        Samples dest(frames, -1.0f);
        pcm::SilenceGatherSamples(dest);
        const auto pkt = pcm::SilenceGather(std::ssize(dest));
        EXPECT_EQ(pkt.Channels(), 1);
        EXPECT_TRUE(SameBits(dest, Samples(frames)));
        EXPECT_TRUE(SameBits(pkt.Samples(), Samples(frames)));
        ExpectSound(pkt.Get());
    }
}
