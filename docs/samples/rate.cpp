#include "check.h"

#include <pcm/pcm.hpp>

#include <algorithm>
#include <cmath>

// From 48000 frames per second to 16000.
class Down {
public:
    explicit Down(pbInt channels) : filter_(pcm::FilterCoefficients(PCM_FILTER_TYPE_LOWPASS_8000_AT_48000), channels) {}

    pcm::Packet Next(const pcm::Packet &pkt)
    {
        filter_.Write(pkt); // takes away what is above 8000 Hz
        const pbInt whole = filter_.Frames() / 3 * 3;
        if (whole == 0)
            return pcm::Packet(pkt.Channels());
        auto out = filter_.Gather(whole); // a rest of one or two frames waits for the next packet
        out.FramesReduce(3);              // keeps every third frame
        return out;
    }

private:
    pcm::Filter filter_;
};

// From 8000 frames per second to 48000.
class Up {
public:
    explicit Up(pbInt channels) : filter_(pcm::FilterCoefficients(PCM_FILTER_TYPE_LOWPASS_4000_AT_48000), channels) {}

    pcm::Packet Next(pcm::Packet pkt)
    {
        pkt.FramesExtend(6); // five frames of silence after each
        filter_.Write(pkt);  // takes away the images above 4000 Hz
        auto out = filter_.Read();
        out.LevelAdjust(pcm::DecibelFromGain(6.0)); // the level was spread over six frames
        return out;
    }

private:
    pcm::Filter filter_;
};

/// The peak of a tone of 500 Hz once the filter is full.
template <class Step> static float Peak(Step step, pbInt from)
{
    pcm::Tone tone(from / 500);
    pcm::Packet all(1);
    for (int i = 0; i < 20; ++i)
        all.Append(step.Next(tone.Gather(from / 100 + 1)));
    all.DelLeading(100);
    float peak = 0;
    for (const float sample : all.Samples())
        peak = std::max(peak, std::abs(sample));
    return peak;
}

int main()
{
    const pcm::Module module;
    const float down = Peak(Down(1), 48000), up = Peak(Up(1), 8000);
    CHECK(down > 0.97f && down < 1.03f);
    CHECK(up > 0.97f && up < 1.03f);
}
