// Decibels and level.
#include "support.h"

#include <cmath>
#include <limits>

namespace {

TEST(Decibel, HoldsTheRange)
{
    const struct {
        pbReal gain, decibel;
    } fromGain[] = {{0, -200}, {1, 0}, {10, 20}, {0.5, -6.020599913279624}, {1e-12, -200}, {1e12, 200}, {1e10, 200}},
      toGain[] = {{1, 0}, {1, -0.0}, {10, 20}, {0.1, -20}, {1e-10, -200}, {1e-10, -1000}, {1e10, 200}, {1e10, 300}};
    for (const auto &row : fromGain)
        EXPECT_EQ(pcmDecibelFromGain(row.gain), row.decibel) << row.gain;
    for (const auto &row : toGain)
        EXPECT_EQ(pcmDecibelToGain(row.decibel), row.gain) << row.decibel;
    const double nan = std::nan(""), infinity = std::numeric_limits<double>::infinity();
    const char *const file = "source/pcm/pcm_decibel";
    EXPECT_ABORT_AT(pcmDecibelFromGain(nan), file, "!pbRealIsNan( gain )");
    EXPECT_ABORT_AT(pcmDecibelFromGain(infinity), file, "pbRealIsFinite( gain )");
    EXPECT_ABORT_AT(pcmDecibelFromGain(-1e-300), file, "gain >= 0");
    EXPECT_ABORT_AT(pcmDecibelToGain(nan), file, "!pbRealIsNan( decibel )");
    EXPECT_ABORT_AT(pcmDecibelToGain(-infinity), file, "pbRealIsFinite( decibel )");
}

TEST(Level, ScalesByTheGainInSinglePrecision)
{
    const float nan = std::bit_cast<float>(0x7F812345u); // would turn quiet if it were multiplied
    Samples samples = {0.1f, -1.5f, nan, 1e-40f};
    pcmLevelAdjustSamples(samples.data(), 4, -0.0);
    EXPECT_EQ(BitsOf(samples), BitsOf({0.1f, -1.5f, nan, 1e-40f}));
    pcmLevelAdjustSamples(nullptr, -1, 0.0);
    pcmLevelAdjustSamples(samples.data(), 2, 20.0);
    EXPECT_EQ(samples[0], 0.1f * 10.0f);
    EXPECT_EQ(samples[1], -15.0f);
    EXPECT_ABORT(pcmLevelAdjustSamples(nullptr, 1, 1.0), "dest || !samples");
}

TEST(Level, LeavesOtherHoldersAlone)
{
    for (const pbReal decibel : {0.0, -20.0}) {
        auto pkt = MakePacket(2, {1.0f, 0.5f});
        const auto other = pkt;
        pkt.LevelAdjust(decibel);
        EXPECT_NE(pkt.Get(), other.Get());
        EXPECT_EQ(SamplesOf(other.Get()), (Samples{1.0f, 0.5f}));
        EXPECT_EQ(SamplesOf(pkt.Get())[1], decibel == 0.0 ? 0.5f : 0.5f * 0.1f);
    }
    pcm::Packet empty(3);
    empty.LevelAdjust(6.0);
    EXPECT_EQ(empty.Frames(), 0);
    PCM_PACKET *none = nullptr;
    EXPECT_ABORT_AT(pcmLevelAdjust(nullptr, 1.0), "source/pcm/pcm_level", "pkt");
    EXPECT_ABORT_AT(pcmLevelAdjust(&none, 1.0), "source/pcm/pcm_level", "*pkt");
}

} // namespace
