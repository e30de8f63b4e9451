// Decibels.
#include "support.h"

TEST(Decibel, HoldsTheRange)
{
    // clang-format off
    const struct { pbReal gain, decibel; }
        fromGain[] = {{0, -200}, {1, 0}, {10, 20}, {0.5, -6.020599913279624}, {1e-12, -200}, {1e12, 200}, {1e10, 200}},
        toGain[] = {{1, 0}, {1, -0.0}, {10, 20}, {0.1, -20}, {1e-10, -200}, {1e-10, -1000}, {1e10, 200}, {1e10, 300}};
    // clang-format on
    for (const auto &row : fromGain)
        EXPECT_EQ(pcmDecibelFromGain(row.gain), row.decibel) << row.gain;
    for (const auto &row : toGain)
        EXPECT_EQ(pcmDecibelToGain(row.decibel), row.gain) << row.decibel;
    pcmLevelAdjustSamples(nullptr, -1, 0.0); // nothing is touched, so nothing is checked
}
