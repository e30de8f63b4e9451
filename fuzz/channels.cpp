// Channels, rates and levels of packets of any samples, against their plain definitions.
#include "../tests/packet_checks.h"
#include "fuzz.h"

namespace {

void CheckLevel(Random &random)
{
    const pbReal decibel = static_cast<pbReal>(random.From(-300000, 300000)) / 1000;
    const auto gain = static_cast<float>(pcm::DecibelToGain(decibel));
    const Samples samples = AnyBits(random, random.From(0, 70));
    auto pkt = MakePacket(1, samples);
    const Holder holder(random.OneIn(2) ? pkt.Get() : nullptr);
    pkt.LevelAdjust(decibel);
    const Samples after = SamplesOf(pkt.Get());
    for (std::size_t i = 0; i < samples.size(); ++i)
        ASSERT_EQ(Result(after[i]), Result(samples[i] * gain)) << i;
    if (holder.packet)
        ASSERT_EQ(BitsOf(SamplesOf(holder.packet)), BitsOf(samples));
}

} // namespace

void Drive(Random &random)
{
    while (!random.Done()) {
        const pbInt channels = random.From(1, 70), wanted = random.From(1, 20), frames = random.From(0, 140);
        switch (random.From(0, 6)) {
        case 0: CheckDownmix(random, channels, wanted, random.OneIn(2), frames); break;
        case 1: CheckRates(random, channels, 1 + wanted, frames); break;
        case 2: CheckSetChannels(random); break;
        case 3: CheckMask(random); break;
        case 4: CheckSum(random); break;
        case 5: CheckRectangle(random); break;
        default: CheckLevel(random);
        }
    }
}
