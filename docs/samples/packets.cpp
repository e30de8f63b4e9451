#include "check.h"

#include <pcm/pcm.hpp>

#include <algorithm>
#include <cmath>
#include <vector>

static void Make()
{
    const float samples[] = {0.1f, -0.1f, 0.2f, -0.2f, 0.3f, -0.3f};
    pcm::Packet pkt(samples, 2);    // three frames of two channels, copied
    float left = pkt.Samples()[2];  // frame 1, channel 0
    pkt.MutableSamples()[3] = 0.5f; // frame 1, channel 1
    CHECK(pkt.Frames() == 3 && left == 0.2f && pkt.Samples()[3] == 0.5f);
}

static void Share()
{
    pcm::Packet a(std::vector<float>{0.5f, 0.5f}, 1);
    pcm::Packet b = a;   // one object, two handles
    b.LevelAdjust(-6.0); // b now has its own packet
    CHECK(a.Get() != b.Get());
    CHECK(a.Samples()[0] == 0.5f);
}

static void Edit()
{
    pcm::Packet a(std::vector<float>{1, 2, 3}, 1), b(std::vector<float>{7, 8, 9}, 1);
    a.Append(b);              // 1 2 3 7 8 9
    a.DelInner(1, 2);         // 1 7 8 9
    a.InsertLeading(1, b, 2); // 1 7 8 7 8 9
    a.WriteZero(0, 1);        // 0 7 8 7 8 9
    a.SetFrames(8);           // 0 7 8 7 8 9 0 0
    a.PrependTrailing(a, 3);  // 9 0 0 0 7 8 7 8 9 0 0
    CHECK(std::ranges::equal(a.Samples(), std::vector<float>{9, 0, 0, 0, 7, 8, 7, 8, 9, 0, 0}));
}

static void Channels()
{
    pcm::Packet stereo(std::vector<float>{0.25f, 0.75f}, 2);
    const auto right = stereo.WithChannelMask(0b10); // 0.75
    const auto sum = stereo.WithChannels(1);         // 1.0: added, not divided
    stereo.ChannelsAdjustExpandWithDownmix(3);       // 0.25 0.75 0.5: the average is added
    CHECK(right.Samples()[0] == 0.75f && sum.Samples()[0] == 1.0f);
    CHECK(stereo.Samples()[2] == 0.5f);
}

// The peak and the root mean square of a packet's samples, in dB of full scale, at least -200. The samples are finite.
struct Level {
    pbReal peak, rms;
};

static Level Measure(const pcm::Packet &pkt)
{
    pbReal peak = 0, squares = 0;
    for (const pbReal sample : pkt.Samples()) {
        peak = std::max(peak, std::abs(sample));
        squares += sample * sample;
    }
    const pbReal mean = squares / std::max(1.0, static_cast<pbReal>(pkt.Samples().size()));
    return {pcm::DecibelFromGain(peak), pcm::DecibelFromGain(std::sqrt(mean))};
}

int main()
{
    const pcm::Module module;
    Make();
    Share();
    Edit();
    Channels();
    const auto level = Measure(pcm::Packet(std::vector<float>{0.5f, 0, 0, 0}, 1));
    CHECK(std::abs(level.peak - -6.02) < 0.01 && std::abs(level.rms - -12.04) < 0.01);
    CHECK(Measure(pcm::Packet(1)).peak == -200);
}
