#include "check.h"

#include <pcm/pcm.hpp>

#include <algorithm>
#include <cmath>
#include <vector>

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
        auto out = filter_.Gather(whole); // one or two frames may wait for the next packet
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
        pkt.FramesExtend(6); // puts five frames of silence after each
        filter_.Write(pkt);  // takes away the images above 4000 Hz
        auto out = filter_.Read();
        out.LevelAdjust(pcm::DecibelFromGain(6.0)); // the level was spread over six frames
        return out;
    }

private:
    pcm::Filter filter_;
};

// A call between a telephone network (mu-law, 8000 frames per second) and a wideband one (L16, 16000). Each function
// takes the payload of an RTP packet and returns that of the packet to send, or an empty handle if there is none.
class Gateway {
public:
    pcm::Buffer ToWideband(const pcm::Buffer &payload)
    {
        auto pkt = pcm::Packet::TryDecode(payload, PCM_ENCODING_G711_MULAW, 1); // any number of bytes is right
        if (pkt.Frames() == 0)
            return {};
        pkt.FramesExtend(2);
        up_.Write(pkt);
        auto out = up_.Read();
        out.LevelAdjust(pcm::DecibelFromGain(2.0)); // the level was spread over two frames
        return out.Encode(kL16);
    }

    pcm::Buffer ToTelephone(const pcm::Buffer &payload)
    {
        auto pkt = pcm::Packet::TryDecode(payload, kL16, 1);
        if (!pkt) // half a sample: not from a sender of L16
            return {};
        pkt.LevelAdjust(-5.0); // headroom for the filter
        down_.Write(pkt);
        const pbInt whole = down_.Frames() / 2 * 2;
        if (whole == 0)
            return {};
        auto out = down_.Gather(whole);
        out.FramesReduce(2);
        out.LevelAdjust(5.0);
        return out.Encode(PCM_ENCODING_G711_MULAW);
    }

private:
    static constexpr PCM_ENCODING kL16 = PCM_ENCODING_INT_16 | PCM_ENCODING_BIG_ENDIAN;
    pcm::FilterCoefficients lowPass_{PCM_FILTER_TYPE_LOWPASS_4000_AT_16000};
    pcm::Filter up_{lowPass_, 1}, down_{lowPass_, 1};
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

/// A set's gain in dB at a frequency, as the library filters a sine.
static double Gain(PCM_FILTER_TYPE type, int rate, double hertz)
{
    std::vector<float> sine;
    for (int i = 0; i < rate / 10; ++i)
        sine.push_back(static_cast<float>(0.5 * std::sin(2 * M_PI * hertz * i / rate + 0.1)));
    pcm::Filter filter(pcm::FilterCoefficients(type), 1);
    filter.Write(pcm::Packet(sine, 1));
    const auto out = filter.Read();
    double in = 0, left = 0;
    for (std::size_t i = 48; i < sine.size(); ++i) {
        in += static_cast<double>(sine[i] * sine[i]);
        left += static_cast<double>(out.Samples()[i] * out.Samples()[i]);
    }
    return 10 * std::log10(left / in);
}

// The page's table of the built-in sets, with the edge and the rate of each.
static void Sets()
{
    const struct {
        int edge, rate;
        double low, high, atEdge, above, headroom;
    } rows[] = {
        {4000, 16000, -0.3, 0.4, -3.8, -31.1, 4.4},  {4000, 24000, -0.2, 0.3, -3.4, -20.4, 3.9},
        {4000, 48000, -0.2, 0.2, -3.3, -16.8, 3.6},  {6000, 24000, -0.1, 0.1, -3.3, -33.3, 4.8},
        {6000, 48000, -0.1, 0.1, -3.1, -18.3, 3.9},  {8000, 48000, -0.1, 0.1, -3.1, -19.8, 4.2},
        {12000, 48000, -0.1, 0.1, -3.1, -28.1, 5.0},
    };
    const auto is = [](double value, double row) { return std::abs(value - row) < 0.1; };
    PCM_FILTER_TYPE type = 0;
    for (const auto &row : rows) {
        double low = 0, high = 0, above = -200, sum = 0;
        for (double hertz = 50; hertz <= 0.75 * row.edge; hertz += 50) {
            low = std::min(low, Gain(type, row.rate, hertz));
            high = std::max(high, Gain(type, row.rate, hertz));
        }
        for (double hertz = 1.25 * row.edge; hertz < row.rate / 2; hertz += 50)
            above = std::max(above, Gain(type, row.rate, hertz));
        for (const float tap : pcm::FilterCoefficients(type).Taps())
            sum += static_cast<double>(std::abs(tap));
        CHECK(is(low, row.low) && is(high, row.high) && is(Gain(type, row.rate, row.edge), row.atEdge));
        CHECK(is(above, row.above) && is(20 * std::log10(sum), row.headroom));
        ++type;
    }
}

int main()
{
    const pcm::Module module;
    Sets();
    const float down = Peak(Down(1), 48000), up = Peak(Up(1), 8000);
    CHECK(down > 0.97f && down < 1.03f);
    CHECK(up > 0.97f && up < 1.03f);

    Gateway gateway;
    pcm::Tone tone(20);
    pcm::Packet back(1);
    for (int i = 0; i < 10; ++i) {
        const auto wideband = gateway.ToWideband(tone.Gather(160).Encode(PCM_ENCODING_G711_MULAW));
        CHECK(wideband.Length() == 640);
        back.Append(pcm::Packet::TryDecode(gateway.ToTelephone(wideband), PCM_ENCODING_G711_MULAW, 1));
    }
    CHECK(back.Frames() == 1600 && std::ranges::max(back.Samples().last(160)) > 0.9f);
    const pcm::Buffer none(std::span<const std::byte>{}), half(std::as_bytes(std::span("x", 1)));
    CHECK(!gateway.ToWideband(none) && !gateway.ToTelephone(none) && !gateway.ToTelephone(half));
}
