// The packet object: construction, sharing, privacy.
#include "support.h"

TEST(Packet, MutableBackingCopiesWhatSomebodyElseHolds)
{
    auto pkt = MakePacket(2, {0.25f, 0.5f, -0.25f, -0.5f});
    const auto other = pkt;
    pkt.MutableSamples()[0] = 1.0f;
    EXPECT_NE(pkt.Get(), other.Get());
    EXPECT_EQ(SamplesOf(other.Get()), (Samples{0.25f, 0.5f, -0.25f, -0.5f}));
    EXPECT_EQ(SamplesOf(pkt.Get()), (Samples{1.0f, 0.5f, -0.25f, -0.5f}));
    ExpectSound(pkt.Get());
    EXPECT_ABORT(pcmPacketCreate(0), "channels > 0");
}
